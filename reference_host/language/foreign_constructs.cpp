// One table of words and symbols, by place.
#include "reference_host/language/foreign_constructs.h"

#include <algorithm>
#include <array>

namespace orva::language {

namespace {

/// Words that get the same message, in which `{}` stands for the word.
struct Advice {
  Place place;
  std::string_view words;  ///< separated by blanks
  std::string_view message;
};

constexpr std::array advices = {
    Advice{Place::file, "import using include require from use",
           "there is no '{}': use the full name of a class in another package, such as 'shop.Cart'"},
    Advice{Place::file, "interface enum struct record trait object module namespace union annotation protocol",
           "there is no '{}': a file contains only classes"},
    Advice{Place::file, "private protected internal abstract final sealed open data partial export",
           "there is no '{}': a class can only be public"},
    Advice{Place::file, "void int boolean String def fun func function fn let var const",
           "expected 'class', found '{}': methods belong in classes"},

    Advice{Place::member,
           "private protected internal abstract final synchronized override virtual const volatile transient default "
           "strictfp async inline extern sealed open unsigned mutable",
           "there is no '{}': a method can be public, static or native"},
    Advice{Place::member, "def fun func function fn sub proc",
           "there is no '{}': a method begins with its return type, such as 'void'"},
    Advice{Place::member, "var let val", "there are no fields: a class contains only methods"},
    Advice{Place::member, "class interface enum struct record trait object import using package",
           "there is no '{}' within a class: a class contains only methods"},

    Advice{Place::statement, "while for foreach do loop until repeat", "there is no '{}' loop: use recursion"},
    Advice{Place::statement, "break continue", "there is no '{}': there are no loops, and 'return' ends a method"},
    Advice{Place::statement, "switch match case default when unless elif elsif elseif",
           "there is no '{}': use 'if' and 'else'"},
    Advice{Place::statement, "finally", "there is no '{}': a 'try' has only a 'catch'"},
    Advice{Place::statement, "var let val const auto final mut",
           "there is no '{}': declare a variable with its type and a value, as in 'int count = 0;'"},
    Advice{Place::statement, "raise", "there is no '{}': expected 'throw new Name(\"message\");'"},
    Advice{Place::statement, "print println printf echo puts", "there is no '{}': expected 'Console.print(…);'"},
    Advice{Place::statement, "import using require",
           "there is no '{}': use the full name of a class in another package, such as 'shop.Cart'"},
    Advice{Place::statement, "def fun func function fn", "there is no '{}' within a method: methods belong in classes"},
    Advice{Place::statement, "class interface enum struct record",
           "there is no '{}' within a method: declare classes at the top level of a file"},
    Advice{Place::statement,
           "assert yield goto with synchronized await async defer del delete pass lock unsafe typedef begin end",
           "there is no statement '{}'"},

    Advice{Place::call, "print println printf echo puts", "there is no '{}': expected 'Console.print(…)'"},
    Advice{Place::call, "this super", "there is no '{}(…)': classes have no constructors"},
    Advice{Place::call, "switch match when", "there is no '{}': use 'if' and 'else'"},

    Advice{Place::inClassHead, "package", "'package' can appear only once, at the start of the file"},
    Advice{Place::inClassHead, "extends implements permits", "there is no '{}': a class has no base class"},
    Advice{Place::inMethodHead, "public static native", "'{}' goes before the return type"},
    Advice{Place::inMethodHead, "throws", "there is no '{}': a method does not declare what it throws"},
    Advice{Place::inStatement, "instanceof is", "there is no '{}': a value always has its declared type"},
    Advice{Place::inStatement, "and or not", "there is no '{}': use nested 'if' statements"},
    Advice{Place::inStatement, "finally", "there is no '{}': expected 'catch' after the block of 'try'"},
    Advice{Place::inStatement, "catch", "'catch' can appear only after the block of 'try', and only once"},
    Advice{Place::inStatement, "else", "'else' can appear only after the block of 'if'"},
    Advice{Place::inStatement, "else_if", "there is no 'else if': expected 'else { if (…) { … } }'"},
    Advice{Place::inStatement, "new",
           "'new' can appear only in 'throw new Name(\"message\");': native methods create all other objects"},
    Advice{Place::inStatement, "public static native", "'{}' can appear only before a class or a method"},

    Advice{Place::symbol,
           "- -- -= * ** *= / /= % %= & &= | |= ^ ^= ~ << <<= >> >>=", "there is no '{}': integers can only be added"},
    Advice{Place::symbol, "&& ||", "there is no '{}': use nested 'if' statements"},
    Advice{Place::symbol, "!", "there is no '{}': compare with 'false', as in 'done == false'"},
    Advice{Place::symbol, "< > <= >= <> <=> === !==", "there is no '{}': compare values with '==' and '!='"},
    Advice{Place::symbol, "++ +=", "there is no '{}': expected 'name = name + 1;'"},
    Advice{Place::symbol, "? ?: ?. ??", "there is no '{}': use 'if' and 'else'"},
    Advice{Place::symbol, ":: := :", "there is no '{}' in this language"},
    Advice{Place::symbol, "-> =>", "there is no '{}': every method has a name and belongs to a class"},
    Advice{Place::symbol, "[", "there are no arrays: use an 'ArrayList<String>' and its method 'get'"},
    Advice{Place::symbol, "=", "unexpected '=': assign only to a variable, as in 'count = 1;', or compare with '=='"},

    Advice{Place::character, "' ` ‘ ’ “ ” „ « »", "unexpected character '{}': expected '\"' around text"},
    Advice{Place::character, "@", "there is no '{}': methods and classes have no annotations"},
    Advice{Place::character, "#", "unexpected character '{}': comments begin with '//'"},
    Advice{Place::character, "$",
           "unexpected character '{}': names consist of the letters a to z and A to Z, digits and '_'"},

    Advice{Place::typeName, "bool Boolean", ": expected 'boolean'"},
    Advice{Place::typeName, "string str Str text char Character", ": expected 'String'"},
    Advice{Place::typeName, "Integer Int integer long Long short Short byte Byte i32 i64 number size_t",
           ": expected 'int'"},
    Advice{Place::typeName, "float Float double Double decimal", ": numbers are integers, of type 'int'"},
    Advice{Place::typeName, "ArrayList List list Vector Array array", ": expected 'ArrayList<String>'"},
    Advice{Place::typeName, "var let val auto const final",
           ": declare a variable with its type and a value, as in 'int count = 0;'"},
    Advice{Place::typeName, "Object object any Any dynamic", ": there is no type that all objects share"},
    Advice{Place::typeName, "Void", ": expected 'void'"},
    Advice{Place::typeName, "def fun func function fn sub proc",
           ": a method begins with its return type, such as 'void'"},

    Advice{Place::variableName, "this self super", ": a method cannot refer to its own object"},
    Advice{Place::variableName, "break continue", ": there are no loops, and 'return' ends a method"},
    Advice{Place::variableName, "nil None NULL Null nullptr undefined", ": expected 'null'"},
    Advice{Place::variableName, "True TRUE", ": expected 'true'"},
    Advice{Place::variableName, "False FALSE", ": expected 'false'"},
};

bool isOneOf(std::string_view word, std::string_view words) {
  for (;;) {
    const std::size_t blank = words.find(' ');
    if (words.substr(0, blank) == word) return true;
    if (blank == std::string_view::npos) return false;
    words.remove_prefix(blank + 1);
  }
}

}  // namespace

std::string adviceOn(Place place, std::string_view spelling) {
  const auto* advice = std::find_if(advices.begin(), advices.end(), [&](const Advice& each) {
    return each.place == place && isOneOf(spelling, each.words);
  });
  if (advice == advices.end()) return {};
  std::string message(advice->message);
  const std::size_t hole = message.find("{}");
  if (hole != std::string::npos) message.replace(hole, 2, spelling);
  return message;
}

std::string_view foreignSymbol(std::string_view text) {
  constexpr std::size_t longest = 3;
  for (std::size_t size = std::min(longest, text.size()); size > 0; --size) {
    if (!adviceOn(Place::symbol, text.substr(0, size)).empty()) return text.substr(0, size);
  }
  return {};
}

std::string unknownType(const std::string& spelling, const std::string& name) {
  return "unknown type '" + spelling + "'" + adviceOn(Place::typeName, name);
}

std::string unknownVariable(const std::string& name) {
  return "unknown variable '" + name + "'" + adviceOn(Place::variableName, name);
}

}  // namespace orva::language
