// The names of built-in types mean only those types: no class can have one, and no class is looked up by one.
#include <gtest/gtest.h>

#include "classloader/natives.h"
#include "reference_host/compiler/context.h"
#include "reference_host/runtime/values.h"
#include "workspace.h"

using orva::compiler::activeContext;
using orva::runtime::Origin;

static const std::vector<std::string>& names() {
  static const std::vector<std::string> all = {"void", "int", "boolean", "String", "Type", "Exception", "ArrayList"};
  return all;
}

/// Expects one error, at a line and a column, for a source and for its object, and that nothing is registered.
static void expectRefused(const std::string& path, int line, std::size_t column, const std::string& problem) {
  const std::string begin =
      path + ":" + std::to_string(line) + ":" + std::to_string(column) + ": error: " + problem + "\n";
  for (const std::string& failure : {failureOf([&] { activeContext().loader.load(path, Origin::named); }),
                                     failureOf([&] { activeContext().loader.precompile(path); })}) {
    EXPECT_EQ(failure.substr(0, begin.size()), begin);
    EXPECT_EQ(failure.find(": error: ", begin.size()), std::string::npos) << failure;
  }
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{0, 0}));
}

/// The message of the exception that a call throws.
static std::string messageOf(const std::string& className, const std::string& method) {
  try {
    return callText(className, method);
  } catch (const orva::runtime::Thrown& thrown) {
    return thrown.exception->message;
  }
}

TEST(BuiltInNames, AreNoNamesOfClasses) {
  const Workspace workspace;
  const std::string body = " { static int d() { ArrayList<String> x = []; String s = \"\"; return 1; } }\n";
  for (const std::string& name : names()) {
    const std::string problem = "'" + name + "' is a built-in type: choose another name for the class";
    for (const std::string parameters : {"", "<T>", "<T, U>"}) {
      writeFile(name + ".ov", "class " + name + parameters + body);
      expectRefused(name + ".ov", 1, 7, problem);
      writeFile("p/" + name + ".ov", "package p;\nclass " + name + parameters + body);
      expectRefused("p/" + name + ".ov", 2, 7, problem);
      writeFile("Other.ov", "class Other" + body + "class " + name + parameters + body);
      expectRefused("Other.ov", 2, 7, problem);
    }
  }
}

TEST(BuiltInNames, AreNoNamesOfTypeParameters) {
  const Workspace workspace;
  for (const std::string& name : names()) {
    for (const std::string& parameters : {name, "T, " + name, name + ", T"}) {
      const std::string head = "class Holder<";
      writeFile("Holder.ov", head + parameters + "> { static String text() { return \"\"; } }\n");
      const std::size_t column = head.size() + parameters.find(name) + 1;
      expectRefused("Holder.ov", 1, column,
                    "'" + name + "' is a built-in type: choose another name for the type parameter");
    }
  }
}

TEST(BuiltInNames, CallNoClassThatHasThem) {
  const Workspace workspace(STANDARD_LIBRARY);
  writeFile("Holder.ov", "class Holder<T> { static String text() { return T.describe(); } }\n");
  for (const std::string& name : names()) {
    writeFile(name + ".ov", "class " + name + " { static String describe() { return \"of a class\"; } }\n");
    const std::string caller = "Calls" + name;
    writeFile(caller + ".ov", "class " + caller + " { static String run() { return " + name + ".describe(); } }");
    activeContext().loader.load(caller + ".ov", Origin::named);
    EXPECT_EQ(messageOf(caller, "run"), "Built-in type '" + name + "' has no static methods");
    if (name == "void") continue;
    const std::string type = name == "ArrayList" ? "ArrayList<String>" : name;
    ASSERT_NE(orva_ClassLoader_getTypeByName(("Holder<" + type + ">").c_str()), nullptr);
    EXPECT_EQ(messageOf("Holder<" + type + ">", "text"), "Built-in type '" + type + "' has no static methods");
  }
}

TEST(BuiltInNames, HaveNoMethodsOfAClassThatHasThem) {
  const Workspace workspace(STANDARD_LIBRARY);
  const std::string value = "static String run(String s, Type t, Exception e, ArrayList<String> l) { return ";
  const std::vector<std::pair<std::string, std::string>> all = {
      {"s", "String"}, {"t", "Type"}, {"e", "Exception"}, {"l", "ArrayList<String>"}};
  for (const auto& [variable, type] : all) {
    const std::string name = type.substr(0, type.find('<'));
    writeFile(name + ".ov", "class " + name + " { String other() { return \"of a class\"; } }\n");
    writeFile("Uses" + name + ".ov", "class Uses" + name + " { " + value + variable +
                                         ".other(); } static String call() { return Uses" + name +
                                         ".run(\"\", ClassLoader.getTypeByName(\"Uses" + name + "\"), Uses" + name +
                                         ".exception(), []); } static Exception exception() { try { " +
                                         "throw new E(\"\"); } catch (Exception e) { return e; } } }");
    activeContext().loader.load("Uses" + name + ".ov", Origin::named);
    EXPECT_EQ(messageOf("Uses" + name, "call"), "Type '" + type + "' has no method 'other'");
  }
}
