// Native methods are bound by name and must be declared as they are defined; objects see nothing else of the process.
#include <gtest/gtest.h>

#include <set>

#include "changed_object.h"
#include "process_symbols.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/language/parser.h"
#include "workspace.h"

using orva::compiler::activeContext;
using orva::language::MethodDeclaration;
using orva::runtime::MethodSignature;

namespace {

struct NativeMethod {
  std::string className;
  MethodSignature signature;

  std::string symbol() const { return "orva_" + className + "_" + signature.name; }
};

}  // namespace

/// The native methods that the standard library declares. Their types are spelled as in the declarations.
static std::vector<NativeMethod> standardNatives() {
  std::vector<NativeMethod> natives;
  for (const auto& entry : std::filesystem::directory_iterator(std::string(STANDARD_LIBRARY) + "/orva")) {
    const auto file = orva::language::parseSource({entry.path(), readFile(entry.path())});
    for (const MethodDeclaration& method : file.classes.front().methods) {
      if (!method.isNative) continue;
      MethodSignature signature{method.name, method.isStatic, {}, method.result.text()};
      for (const auto& parameter : method.parameters) signature.parameters.push_back(parameter.type.text());
      natives.push_back({file.classes.front().name, signature});
    }
  }
  return natives;
}

static const std::vector<std::string>& types() {
  static const std::vector<std::string> all = {"int",       "boolean", "String",           "Type", "ArrayList<String>",
                                               "Exception", "Another", "SystemClassLoader"};
  return all;
}

/// All signatures that differ from one in a single place.
static std::vector<MethodSignature> variantsOf(const MethodSignature& signature) {
  std::vector<MethodSignature> variants;
  const auto add = [&](const auto& change) {
    variants.push_back(signature);
    change(variants.back());
    if (variants.back() == signature) variants.pop_back();
  };
  add([](MethodSignature& each) { each.isStatic = !each.isStatic; });
  add([](MethodSignature& each) { each.result = "void"; });
  for (const std::string& type : types()) {
    add([&](MethodSignature& each) { each.result = type; });
    add([&](MethodSignature& each) { each.parameters.push_back(type); });
    for (std::size_t i = 0; i < signature.parameters.size(); ++i) {
      add([&](MethodSignature& each) { each.parameters[i] = type; });
    }
  }
  if (!signature.parameters.empty()) add([](MethodSignature& each) { each.parameters.pop_back(); });
  return variants;
}

/// How messages spell the signature of a method in a package's class: with the full names of all classes.
static std::string spelled(MethodSignature signature, const std::string& className, const std::string& package) {
  const auto qualify = [&](std::string& type) {
    const bool isNear = type == "Another" || type == className;
    if (isNear || type == "SystemClassLoader") type = (isNear ? package : "orva") + "." + type;
  };
  qualify(signature.result);
  for (std::string& parameter : signature.parameters) qualify(parameter);
  return describe(signature);
}

/// The column of a method's name in the line that declares it.
static std::string columnOf(const std::string& package, const std::string& method) {
  const std::string text = readFile(package + ".ov");
  return std::to_string(text.find(" " + method + "(") - text.find('\n') + 1);
}

/// Writes a class with one native method to a file and a package of its own, which have one name; returns that name.
static std::string writeClass(const NativeMethod& native) {
  const MethodSignature& signature = native.signature;
  static int count = 0;
  const std::string package = "p" + std::to_string(count++);
  std::string parameters;
  for (const std::string& type : signature.parameters) {
    parameters += (parameters.empty() ? "" : ", ") + type + " a" + std::to_string(parameters.size());
  }
  writeFile(package + ".ov", "package " + package + ";\nclass " + native.className + " { " +
                                 (signature.isStatic ? "static " : "") + "native " + signature.result + " " +
                                 signature.name + "(" + parameters + "); }\nclass Another { }\n");
  return package;
}

/// The first line of the error from loading the source of a package.
static std::string sourceFailure(const std::string& package) {
  const std::string failure =
      failureOf([&] { activeContext().loader.load(package + ".ov", orva::runtime::Origin::named); });
  return failure.substr(0, failure.find('\n'));
}

static std::string objectFailure(const std::string& package) {
  activeContext().loader.precompile(package + ".ov");
  const std::string identity = orva::compiler::sourceIdentity(readFile(package + ".ov"));
  return failureOf([&] { activeContext().loader.loadBundle({package + ".o"}, {identity}); });
}

/// Expects that a native method is refused, in a source and in an object, and that nothing is registered.
static void expectRefused(const NativeMethod& native, const std::string& package, const std::string& problem) {
  const std::string method = package + "." + native.className + "." + native.signature.name;
  EXPECT_EQ(sourceFailure(package), package + ".ov:2:" + columnOf(package, native.signature.name) +
                                        ": error: native method '" + method + "' " + problem);
  EXPECT_EQ(objectFailure(package), package + ".o: a native method " + problem);
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{0, 0}));
}

/// Classes and methods that a symbol may stand for.
static std::vector<std::pair<std::string, std::string>> readings(const std::string& symbol) {
  std::vector<std::pair<std::string, std::string>> all;
  for (std::size_t at = symbol.find('_', 5); at != std::string::npos; at = symbol.find('_', at + 1)) {
    all.emplace_back(symbol.substr(5, at - 5), symbol.substr(at + 1));
  }
  return all;
}

/// A line from the list of the library's natives, without the names of the parameters.
static std::string withoutNames(const std::string& line) {
  std::string text;
  for (const char byte : line) {
    const std::size_t beforeName = text.find_last_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz");
    if ((byte == ',' || byte == ')') && text[beforeName] == ' ') text.resize(beforeName);
    text += byte;
  }
  return text;
}

/// The C type for values of a language type.
static std::string typeInC(const std::string& type) {
  if (type == "void") return "void";
  if (type == "int" || type == "boolean") return "int64_t";
  return type == "String" ? "const char*" : "void*";
}

/// The same line, derived from a native's declaration.
static std::string listed(const NativeMethod& native) {
  std::string parameters = native.signature.isStatic ? "" : "void*";
  for (const std::string& type : native.signature.parameters) {
    parameters += (parameters.empty() ? "" : ", ") + typeInC(type);
  }
  return native.symbol() + (native.signature.isStatic ? " static " : " instance ") + typeInC(native.signature.result) +
         " (" + (parameters.empty() ? "void" : parameters) + ")";
}

TEST(NativeMethods, AreRefusedWhenTheyAreDeclaredOtherwiseInAnyPlace) {
  const Workspace workspace(STANDARD_LIBRARY);
  for (const NativeMethod& native : standardNatives()) {
    for (const MethodSignature& variant : variantsOf(native.signature)) {
      const NativeMethod declared{native.className, variant};
      const std::string package = writeClass(declared);
      expectRefused(declared, package,
                    "is declared as '" + spelled(variant, native.className, package) + "': expected '" +
                        spelled(native.signature, "", "orva") + "' for the symbol '" + native.symbol() + "'");
    }
  }
}

TEST(NativeMethods, AreBelievedWhenTheyAreDeclaredAsTheyAre) {
  const Workspace workspace(STANDARD_LIBRARY);
  for (const NativeMethod& native : standardNatives()) {
    EXPECT_EQ(sourceFailure(writeClass(native)), "nothing") << native.symbol();
    EXPECT_EQ(objectFailure(writeClass(native)), "nothing") << native.symbol();
  }
}

TEST(NativeMethods, OfTheLibraryAreDeclaredAsItDefinesThem) {
  std::multiset<std::string> declared;
  for (const NativeMethod& native : standardNatives()) {
    if (native.className == "ClassLoader" || native.className == "SystemClassLoader") declared.insert(listed(native));
  }
  std::multiset<std::string> defined;
#define ORVA_NATIVE(symbol, className, method, kind, result, parameters) \
  defined.insert(withoutNames(#symbol " " #kind " " #result " " #parameters));
#include "classloader/native_list.inc"
#undef ORVA_NATIVE
  EXPECT_EQ(declared, defined);
}

TEST(NativeMethods, AreCheckedForEverySymbolThatTheHostExports) {
  const Workspace workspace(STANDARD_LIBRARY);
  std::set<std::string> refused;
  std::vector<std::string> symbols = dynamicSymbols(ORVA_HOST);
  for (const std::string& symbol : dynamicSymbols(ORVA_LIBRARY_OF_HOST)) symbols.push_back(symbol);
  for (const std::string& symbol : symbols) {
    if (symbol.rfind("orva_", 0) != 0) continue;
    for (const auto& [className, method] : readings(symbol)) {
      const std::string failure =
          sourceFailure(writeClass({className, {method, true, {"Exception", "Exception"}, "Exception"}}));
      const bool isTold =
          failure.find(" is declared as ") != std::string::npos || failure.find(", not a native") != std::string::npos;
      EXPECT_TRUE(isTold) << failure;
      refused.insert(symbol);
    }
  }
  // Those of the standard library, and the two that read lists.
  EXPECT_EQ(refused.size(), standardNatives().size() + 2);
}

TEST(NativeMethods, AreNoEntryPointsOfTheRuntime) {
  const Workspace workspace;
  const NativeMethod size{"collections_ArrayList", {"size", true, {"ArrayList<String>"}, "int"}};
  const NativeMethod index{"collections", {"ArrayList_operator_index", true, {"int"}, "int"}};
  for (const NativeMethod& native : {size, index}) {
    expectRefused(native, writeClass(native),
                  "needs the symbol '" + native.symbol() + "', which is an entry point of the runtime, not a native");
  }
}

/// Replaces a name that occurs once in an object by one that is not longer.
static void rename(const std::string& path, const std::string& from, const std::string& to) {
  changeObject(path, from, to + std::string(from.size() - to.size(), from.back() == '"' ? ' ' : '\0'));
}

TEST(NativeMethods, NothingElseOfTheProcessIsSeenByObjects) {
  const Workspace workspace;
  for (const char* symbol : {"abort", "exit", "memcpy", "malloc", "puts", "environ", "dlsym", "Orva_raise",
                             "Orva_typeByName", "orva_Console_print", "gTypes", "__cxa_throw", "orvart_nothing"}) {
    writeFile("A.ov", "class A { }");
    activeContext().loader.precompile("A.ov");
    rename("A.o", "orvart_registerType", symbol);
    EXPECT_EQ(loadingFails(readFile("A.ov")), refersTo(symbol));
  }
}

TEST(NativeMethods, OfAnObjectAreThoseThatItsHeaderNames) {
  const Workspace workspace;
  writeFile("A.ov", "class Thrower { static native boolean truth(int value); }");
  activeContext().loader.precompile("A.ov");
  rename("A.o", "\"orva_Thrower_truth\":\"", "\"orva_Thrower_fail\":\"");
  EXPECT_EQ(loadingFails(readFile("A.ov")), refersTo("orva_Thrower_truth"));
}
