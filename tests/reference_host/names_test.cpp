// Names that mean something to LLVM, to C, to an assembler or to the runtime mean nothing special in a program.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <llvm/IR/Intrinsics.h>

#include <map>
#include <set>

#include "process_symbols.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/language/lexer.h"
#include "workspace.h"

using orva::compiler::activeContext;

/// The names of methods, by the full names of their classes.
using Classes = std::map<std::string, std::set<std::string>>;

namespace {

enum class From { source, object };

}  // namespace

/// Adds the class and the method that a dotted name stands for, if a class can have such a name.
static void addMethod(Classes& classes, const std::string& name) {
  const std::size_t dot = name.rfind('.');
  if (dot != std::string::npos && orva::language::isQualifiedName(name)) {
    classes[name.substr(0, dot)].insert(name.substr(dot + 1));
  }
}

/// A class whose methods each return their own name, from a handler.
static std::string textOf(const std::string& fullName, const std::set<std::string>& methods) {
  const std::size_t dot = fullName.rfind('.');
  const std::string package = dot == std::string::npos ? "" : "package " + fullName.substr(0, dot) + "; ";
  std::string text = package + "class " + fullName.substr(dot + 1) + " {\n";
  for (const std::string& method : methods) {
    text += "  static String " + method + "() {\n    try { throw new Exception(\"" + fullName + "." + method +
            "\"); } catch (Exception e) { return e.message(); }\n  }\n";
  }
  return text + "}\n";
}

static void expectThatEachIsItself(const Classes& classes, From from) {
  for (const auto& [fullName, methods] : classes) {
    const std::string text = textOf(fullName, methods);
    const std::string path = fullName + ".ov";
    writeFile(path, text);
    if (from == From::source) {
      activeContext().loader.load(path, orva::runtime::Origin::named);
    } else {
      activeContext().loader.precompile(path);
      activeContext().loader.loadBundle({fullName + ".o"}, {orva::compiler::sourceIdentity(text)});
    }
    for (const std::string& method : methods) EXPECT_EQ(callText(fullName, method), fullName + "." + method);
  }
}

/// The names of LLVM's intrinsics that have two or three parts; those of two parts also with a type added.
static Classes intrinsics() {
  Classes classes;
  for (unsigned id = 1; id < llvm::Intrinsic::num_intrinsics; ++id) {
    const std::string name = llvm::Intrinsic::getBaseName(id).str();
    const auto dots = std::count(name.begin(), name.end(), '.');
    if (dots <= 2) addMethod(classes, name);
    if (dots == 1) addMethod(classes, name + ".i64");
  }
  return classes;
}

/// The functions and variables of C, as the methods of one class; some of them as classes too.
static Classes namesOfC() {
  Classes classes;
  Dl_info library{};
  EXPECT_NE(dladdr(reinterpret_cast<const void*>(&std::fputs), &library), 0);
  for (const std::string& symbol : dynamicSymbols(library.dli_fname)) addMethod(classes, "c." + symbol);
  for (const char* name : {"memcpy", "memset", "abort", "exit", "malloc", "main", "printf", "sqrt", "environ"}) {
    for (const char* method : {"memcpy", "memset", "abort", "main", name}) {
      addMethod(classes, name + std::string(".") + method);
    }
  }
  return classes;
}

/// Names that the runtime and the code generator use, and assembler keywords.
static Classes namesOfGeneratedCode() {
  Classes classes;
  for (const char* name : {"DW.ref.__gxx_personality_v0", "orva.initialise.A", "orvart_raise.orvart_raise",
                           "orva_Console_print.print", "A.orva_Console_print", "A._GLOBAL_OFFSET_TABLE_",
                           "A.__gxx_personality_v0", "A._Unwind_Resume", "__gxx_personality_v0._Unwind_Resume"}) {
    addMethod(classes, name);
  }
  for (const char* name :
       {"orva.header", "orva.header.a", "orva.unit",    "A.orvart_raise", "A._start", "L.Ltmp0",      "text.A",
        "data.A",      "bss.A",         "init_array.A", "rax.eax",        "byte.ptr", "dword.offset", "st.xmm0",
        "A.rip",       "eh_frame.A",    "method.A",     "invoke.A",       "link.A",   "slot.A",       "initialise.A",
        "A.method",    "A.invoke",      "A.initialise", "_Z1fv._ZN1A1BE"}) {
    addMethod(classes, name);
  }
  return classes;
}

TEST(Names, OfIntrinsicsAreAnyOthersInSources) {
  const Workspace workspace;
  const Classes classes = intrinsics();
  EXPECT_GT(classes.at("llvm").size(), 50U);
  expectThatEachIsItself(classes, From::source);
}

TEST(Names, OfIntrinsicsAreAnyOthersInObjects) {
  const Workspace workspace;
  expectThatEachIsItself(intrinsics(), From::object);
}

TEST(Names, OfCAreAnyOthersInSources) {
  const Workspace workspace;
  const Classes classes = namesOfC();
  EXPECT_GT(classes.at("c").size(), 1000U);
  expectThatEachIsItself(classes, From::source);
}

TEST(Names, OfCAreAnyOthersInObjects) {
  const Workspace workspace;
  expectThatEachIsItself(namesOfC(), From::object);
}

TEST(Names, OfGeneratedCodeAreAnyOthersInSources) {
  const Workspace workspace;
  expectThatEachIsItself(namesOfGeneratedCode(), From::source);
}

TEST(Names, OfGeneratedCodeAreAnyOthersInObjects) {
  const Workspace workspace;
  expectThatEachIsItself(namesOfGeneratedCode(), From::object);
}
