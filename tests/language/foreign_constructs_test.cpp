// Programs in the style of other languages: the message for each construct says what the dialect offers instead.
#include "reference_host/language/foreign_constructs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "refusals.h"

namespace orva::language {
using Words = std::vector<std::string>;

/// A form with each `W` replaced by a word.
static std::string with(std::string form, const std::string& word) {
  for (std::size_t at = form.find('W'); at != std::string::npos; at = form.find('W', at + word.size())) {
    form.replace(at, 1, word);
  }
  return form;
}

/// Expects that each form is refused for each word, at its mark.
static void expectStatements(const Words& words, const Words& forms, const std::string& message) {
  for (const std::string& word : words) {
    for (const std::string& form : forms) EXPECT_TRUE(refusesBody(with(form, word), with(message, word)));
  }
}

static void expectSources(const Words& words, const Words& forms, const std::string& message) {
  for (const std::string& word : words) {
    for (const std::string& form : forms) EXPECT_TRUE(refuses(with(form, word), with(message, word)));
  }
}

TEST(ForeignStatement, Repeats) {
  expectStatements({"while", "for", "foreach", "do", "loop", "until", "repeat"},
                   {"^W (i == 1) { }", "^W (int i = 0; i < 3; i++) { }", "^W (a && b) { }", "^W (String s : list) { }",
                    "^W i == 1 { }", "^W { i = i + 1; }", "^W i in list { }", "^W (;;) { }", "int i = 0; ^W (i - 1);",
                    "if (a) { ^W (b) { } }", "try { ^W (b) { } } catch (E e) { }"},
                   "there is no 'W' loop: use recursion");
}

TEST(ForeignStatement, Chooses) {
  expectStatements({"switch", "match", "unless", "elif", "elsif", "when"},
                   {"^W (x) { }", "^W x { }", "^W (x - 1) { }", "^W x: y"}, "there is no 'W': use 'if' and 'else'");
  expectStatements({"case", "default"}, {"^W 1: x;", "^W \"a\" -> x;"}, "there is no 'W': use 'if' and 'else'");
  EXPECT_TRUE(refusesBody("if (a) { } else ^if (b) { }", "there is no 'else if': expected 'else { if (…) { … } }'"));
  EXPECT_TRUE(refusesBody("^else { }", "'else' can appear only after the block of 'if'"));
}

TEST(ForeignStatement, DeclaresOtherwise) {
  expectStatements({"var", "let", "val", "const", "auto", "final", "mut"},
                   {"^W int x = 1;", "^W x;", "^W String s = \"\";", "^W x: int = 1;", "^W x = 1 - 2;"},
                   "there is no 'W': declare a variable with its type and a value, as in 'int count = 0;'");
  expectStatements({"int", "String", "a.B", "ArrayList<String>"}, {"W x^;"},
                   "expected '=' and a value for variable 'x', found ';'");
  expectStatements({"int", "String"}, {"W x^, y;"}, "expected '=' and a value for variable 'x', found ','");
}

TEST(ForeignStatement, IsOfAnotherKind) {
  expectStatements({"assert", "yield", "goto", "await", "delete", "lock"}, {"^W x;", "^W (x) { }"},
                   "there is no statement 'W'");
  expectStatements({"break", "continue"}, {"^W outer;"},
                   "there is no 'W': there are no loops, and 'return' ends a method");
  expectStatements({"raise"}, {"^W Error(\"x\");", "^W e;"},
                   "there is no 'W': expected 'throw new Name(\"message\");'");
  expectStatements({"print", "println", "printf", "echo", "puts"}, {"^W(\"x\");", "^W \"x\";", "^W(a, b);"},
                   "there is no 'W': expected 'Console.print(…);'");
  expectStatements({"def", "fun", "function", "fn"}, {"^W f() { }"},
                   "there is no 'W' within a method: methods belong in classes");
  EXPECT_TRUE(refusesBody("try { } ^finally { }", "there is no 'finally': expected 'catch' after the block of 'try'"));
  EXPECT_TRUE(refusesBody("try { } catch (E e) { } ^finally { }", "there is no 'finally': a 'try' has only a 'catch'"));
}

TEST(ForeignStatement, IsANameOfTheProgramWhereItIsUsedAsOne) {
  const std::string body = "int while = 1; while = 2; String s = for.each(); do.it(); var x = null; switch;";
  EXPECT_NO_THROW(parseSource({"Main.ov", "class A { void m() { " + body + " } void while() { } }"}));
  EXPECT_TRUE(refusesBody("while = 1 ^2;", "expected ';', found '2'"));
}

TEST(ForeignExpression, CallsWithoutAClass) {
  for (const std::string form : {"^f();", "^f(x, 1);", "int x = ^f(1) + 2;", "return ^f();", "a.m(^f());",
                                 "x = [^f()];", "if (^f()) { }", "x = a + ^f();", "(^f()).m();"}) {
    EXPECT_TRUE(refusesBody(form, "expected a class before 'f': methods are called as 'Class.f(…)'"));
  }
  EXPECT_TRUE(refusesBody("x = ^print(1);", "there is no 'print': expected 'Console.print(…)'"));
  EXPECT_TRUE(refusesBody("^super(1);", "there is no 'super(…)': classes have no constructors"));
}

TEST(ForeignExpression, Computes) {
  expectStatements({"-", "*", "/", "%", "&", "|", "<<", ">>", "**"},
                   {"x = a ^W b;", "if (a ^W b) { }", "a.m(1, b ^W c);", "return (a ^W b);", "x = [a, b ^W c];"},
                   "there is no 'W': integers can only be added");
  expectStatements({"-", "~"}, {"x = ^W1;", "a.m(^W b);", "return ^W(a);"},
                   "there is no 'W': integers can only be added");
  expectStatements({"--", "-=", "*=", "/=", "%=", "|=", "<<=", ">>="}, {"x ^W 1;"},
                   "there is no 'W': integers can only be added");
  expectStatements({"++"}, {"x^W;", "^Wx;", "a.m(x^W);", "y = x^W;"}, "there is no 'W': expected 'name = name + 1;'");
  expectStatements({"+="}, {"x ^W 1;", "x^W1;", "int i = 0; i ^W i;"}, "there is no 'W': expected 'name = name + 1;'");
}

TEST(ForeignExpression, Compares) {
  expectStatements({"<", ">", "<=", ">=", "<>", "===", "!==", "<=>"},
                   {"x = a ^W b;", "if (a ^W 1) { }", "a.m(1, b ^W \"c\");", "return (a.n() ^W b);"},
                   "there is no 'W': compare values with '==' and '!='");
  expectStatements({"&&", "||"}, {"x = a ^W b;", "if (a == 1 ^W b == 2) { }", "return a ^W b;"},
                   "there is no 'W': use nested 'if' statements");
  expectStatements({"and", "or"}, {"x = a ^W b;", "if (a == 1 ^W b == 2) { }"},
                   "there is no 'W': use nested 'if' statements");
  expectStatements({"instanceof", "is"}, {"x = a ^W b;", "if (a.m() ^W b) { }"},
                   "there is no 'W': a value always has its declared type");
  expectStatements({"="}, {"if (a ^W b) { }", "a.b ^W 1;", "x = y ^W 1;", "a.m(x ^W 1);"},
                   "unexpected '=': assign only to a variable, as in 'count = 1;', or compare with '=='");
  EXPECT_TRUE(refusesBody("x = ^!a;", "there is no '!': compare with 'false', as in 'done == false'"));
}

TEST(ForeignExpression, IsOfAnotherKind) {
  expectStatements({"if", "try", "return", "throw", "class"}, {"x = ^W;", "a.m(^W);", "return 1 + ^W;"},
                   "expected an expression, found 'W'");
  expectStatements({"?", "?.", "??", "?:"}, {"x = a ^W b : c;", "return a ^W b;"},
                   "there is no 'W': use 'if' and 'else'");
  expectStatements({"->"}, {"x = a ^W b;", "a.m(b ^W c);"},
                   "there is no 'W': every method has a name and belongs to a class");
  expectStatements({"=>"}, {"x ^W b;"}, "there is no 'W': every method has a name and belongs to a class");
  expectStatements({"::"}, {"x = a^Wb;", "a^Wb();"}, "there is no 'W' in this language");
  expectStatements({"a", "String", "int", "list"}, {"x = W^[0];", "W^[] x = null;", "W^[1] = 2;"},
                   "there are no arrays: use an 'ArrayList<String>' and its method 'get'");
  expectStatements({"'", "`", "“", "«", "‘"}, {"x = ^Wa';", "a.m(^Wb');"},
                   "unexpected character 'W': expected '\"' around text");
  expectStatements({"1.5", "0.1", "3.14159"}, {"x = ^W;", "a.m(^W);", "return 1 + ^W;"},
                   "there are no fractions: expected an integer");
  expectStatements({"A", "ArrayList<String>", "a.B"}, {"x = ^new W(1);", "^new W();", "a.m(^new W());"},
                   "'new' can appear only in 'throw new Name(\"message\");': native methods create all other objects");
  expectStatements({"Box", "a.Box", "a.b.Box"}, {"W^<c.D>.m();", "x = W^<c.D>.m(1);", "return 1 + W^<D>.m();"},
                   "call a method of a generic class through its type, as in 'type.call(\"method\")'");
  EXPECT_TRUE(
      refusesBody("throw ^e;", "expected 'new' and an exception, as in 'throw new Name(\"message\");', found 'e'"));
  EXPECT_TRUE(refusesBody("throw new E(^);", "expected the message of the exception, found ')'"));
}

TEST(ForeignMember, IsNotPublicStaticOrNative) {
  expectSources({"private", "protected", "final", "abstract", "synchronized", "override", "virtual", "const", "async"},
                {"class A { ^W void m() { } }", "class A { public ^W static int m() { } }", "class A { ^W int x; }",
                 "class A { static ^W int x = 1; }", "class A { void m() { } ^W String s = \"a\" - 1; }"},
                "there is no 'W': a method can be public, static or native");
}

TEST(ForeignMember, IsNoMethod) {
  expectSources(
      {"int", "String", "ArrayList<String>", "a.B"},
      {"class A { W ^x; }", "class A { static W ^x = 1; }", "class A { void m() { } public static W ^x = 1; }"},
      "there are no fields: a class contains only methods");
  expectSources({"class", "interface", "enum", "struct", "record", "import"},
                {"class A { ^W B { } }", "class A { static ^W B; }"},
                "there is no 'W' within a class: a class contains only methods");
  expectSources({"def", "fun", "function", "fn"}, {"class A { ^W m(x) { } }", "class A { static ^W m() -> int { } }"},
                "there is no 'W': a method begins with its return type, such as 'void'");
  expectSources({"A", "main", "m"}, {"class A { ^W() { } }", "class A { public static ^W(int i) { } }"},
                "expected a return type, such as 'void', before 'W'");
  expectSources({"public", "static", "native"}, {"class A { void ^W m() { } }", "class A { int m() ^W { } }"},
                "'W' goes before the return type");
  EXPECT_TRUE(
      refuses("class A { ^@Override void m() { } }", "there is no '@': methods and classes have no annotations"));
  EXPECT_TRUE(refuses("class A { static void main(String^[] args) { } }",
                      "there are no arrays: use an 'ArrayList<String>' and its method 'get'"));
  EXPECT_TRUE(
      refuses("class A { void m() ^throws E { } }", "there is no 'throws': a method does not declare what it throws"));
}

TEST(ForeignFile, HoldsOtherThings) {
  expectSources({"import", "using", "include", "require", "from"},
                {"^W a.b.C;", "package p; ^W a.*; class A { }", "class A { } ^W \"a\";", "^W <a>"},
                "there is no 'W': use the full name of a class in another package, such as 'shop.Cart'");
  expectSources({"interface", "enum", "struct", "record", "trait"}, {"^W A { }", "public ^W A { }", "class A { } ^W B"},
                "there is no 'W': a file contains only classes");
  expectSources({"private", "abstract", "final"}, {"^W class A { }", "public ^W class A { }"},
                "there is no 'W': a class can only be public");
  expectSources({"void", "int", "def", "function"}, {"^W main() { }", "class A { } ^W x;"},
                "expected 'class', found 'W': methods belong in classes");
  expectSources({"public", "static", "native"}, {"class A ^W void m() { } }", "class A<T> ^W void m() { } }"},
                "expected '{', found 'W'");
  expectSources({"extends", "implements"}, {"class A ^W B { }", "class A<T> ^W B { }", "class A<T ^W B> { }"},
                "there is no 'W': a class has no base class");
  expectSources({"-", "*", "?", "&"}, {"class A ^W B { }", "class A { void m ^W }"}, "unexpected character 'W'");
  EXPECT_TRUE(refuses("^#include <x>", "unexpected character '#': comments begin with '//'"));
}

TEST(ForeignFile, IsRefusedInTheOrderOfTheText) {
  EXPECT_TRUE(refusesBody("^while (a) { x = 1 - 1; } '", "there is no 'while' loop: use recursion"));
  EXPECT_TRUE(refusesBody("x = 1 ^- 1; while (a) { }", "there is no '-': integers can only be added"));
}

TEST(UnknownNames, SayWhatWasMeant) {
  EXPECT_EQ("unknown type 'Cart'", unknownType("Cart", "Cart"));
  EXPECT_EQ("unknown type 'bool': expected 'boolean'", unknownType("bool", "bool"));
  EXPECT_EQ("unknown type 'List<int>': expected 'ArrayList<String>'", unknownType("List<int>", "List"));
  EXPECT_EQ("unknown type 'var': declare a variable with its type and a value, as in 'int count = 0;'",
            unknownType("var", "var"));
  EXPECT_EQ("unknown type 'def': a method begins with its return type, such as 'void'", unknownType("def", "def"));
  EXPECT_EQ("unknown variable 'x'", unknownVariable("x"));
  EXPECT_EQ("unknown variable 'this': a method cannot refer to its own object", unknownVariable("this"));
  EXPECT_EQ("unknown variable 'nil': expected 'null'", unknownVariable("nil"));
}

TEST(ForeignSymbol, IsTheLongestThatTheTextBeginsWith) {
  EXPECT_EQ("<<=", foreignSymbol("<<=="));
  EXPECT_EQ("<", foreignSymbol("< ="));
  EXPECT_EQ("!", foreignSymbol("!\n"));
  for (const std::string text : {"", "+", "x", "(<", "\xE2"}) EXPECT_EQ("", foreignSymbol(text));
}
}  // namespace orva::language
