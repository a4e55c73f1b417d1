// Generic instances: the files that stand for them, and what their names mean.
#include "reference_host/compiler/generic_instances.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "classloader/natives.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "runtime_api/compiler.h"
#include "tests/scripted_host/temporary_folder.h"
#include "workspace.h"

namespace fs = std::filesystem;

/// Materialises an instance; the result has no name if there is none.
static orva::compiler::GenericInstance materialize(const std::string& typeName) {
  return orva::compiler::activeContext().generics.materialize(typeName).value_or(orva::compiler::GenericInstance{});
}

static void activeFindOrLoad(const std::string& name) { orva::compiler::activeContext().findOrLoad(name); }

static void writeClasses() {
  writeFile("c/Pair.ov",
            "// Two of a kind.\n"
            "package c;\n"
            "class Before { }\n"
            "public class Pair<A, B> { // A and B\n"
            "  A a(B b) { return x.A.B(\"A\", b); }\n"
            "}\n"
            "class After { }\n");
  writeFile("g/Circle.ov", "package g; class Circle { }");
}

TEST(GenericInstances, AreNamedInFull) {
  const Workspace workspace;
  writeClasses();
  const auto instance = materialize(" c.Pair <g.Circle,\tint> ");
  EXPECT_EQ(instance.name, "c.Pair<g.Circle,int>");
  EXPECT_EQ(instance.genericSource, "./c/Pair.ov");
}

TEST(GenericInstances, AreLoadedWhateverTheFoldersAreCalled) {
  const Workspace workspace;
  const std::vector<std::string> folders = {"new\nline", "\n", "blank and \t tab", "quote\"s'", "$(x)", "\x01\xFF",
                                            "-",         "*"};
  for (std::size_t i = 0; i < folders.size(); ++i) {
    const std::string name = "Generic" + std::to_string(i);
    writeFile(folders[i] + "/" + name + ".ov", "class " + name + "<T> { static T same(T value) { return value; } }");
    ASSERT_TRUE(orva::compiler::activeContext().classPath.add(folders[i]));
    ASSERT_NE(orva_ClassLoader_getTypeByName((name + "<int>").c_str()), nullptr);
    EXPECT_EQ(orva::runtime::findTypeByFullName(name + "<int>")->source, folders[i] + "/" + name + ".ov");
    EXPECT_EQ(callMethod(name + "<int>", "same", {7}), 7);
  }
}

TEST(GenericInstances, HaveAFileForEachArgumentsAndTheSameForTheSame) {
  const Workspace workspace;
  writeClasses();
  auto& generics = orva::compiler::activeContext().generics;
  const auto file = [&](const std::string& name) { return materialize(name).sourceFile; };
  EXPECT_EQ(file("c.Pair<g.Circle,int>"), file("c.Pair< g.Circle , int >"));
  EXPECT_NE(file("c.Pair<g.Circle,int>"), file("c.Pair<int,g.Circle>"));
  EXPECT_TRUE(generics.instanceOf(file("c.Pair<int,int>")).has_value());
  EXPECT_FALSE(generics.instanceOf("./c/Pair.ov").has_value());
  // It is written once.
  writeFile(file("c.Pair<int,int>"), "as it was");
  EXPECT_EQ(readFile(file("c.Pair<int,int>")), "as it was");
}

TEST(GenericInstances, AreGoneWhenTheProcessHasEnded) {
  const Workspace workspace;
  writeClasses();
  const std::string temporary = (workspace.path() / "temporary").string();
  fs::create_directory(temporary);
  const pid_t child = fork();
  if (child == 0) {
    setenv("TMPDIR", temporary.c_str(), 1);
    const auto instance = materialize("c.Pair<int,int>");
    std::exit(fs::path(instance.sourceFile).parent_path().parent_path() == temporary ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(fs::is_empty(temporary));
}

TEST(GenericInstances, HaveFilesThatTheirUserCanReadWhateverTheUmask) {
  const Workspace workspace;
  writeClasses();
  fs::create_directory("temporary");
  fs::permissions("temporary", fs::perms::all);
  for (const char* folder : {".", "c", "g"}) {
    fs::permissions(folder, fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  }
  setenv("TMPDIR", (workspace.path() / "temporary").c_str(), 1);
  const WithoutRights nobody;
  for (const mode_t mask : {0000U, 0022U, 0077U, 0177U, 0277U, 0377U, 0477U, 0577U, 0677U, 0777U}) {
    const mode_t before = umask(mask);
    orva::compiler::GenericInstance instance;
    EXPECT_EQ(failureOf([&] { instance = materialize("c.Pair<int,g.Circle>"); }), "nothing") << std::oct << mask;
    umask(before);
    ASSERT_TRUE(orva::compiler::activeContext().generics.instanceOf(instance.sourceFile)) << std::oct << mask;
    EXPECT_EQ(fs::status(instance.sourceFile).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(fs::status(fs::path(instance.sourceFile).parent_path()).permissions(), fs::perms::owner_all);
    orva::compiler::removePrivateFolder();
  }
  EXPECT_TRUE(fs::is_empty("temporary"));
}

TEST(GenericInstances, MayHaveInstancesOfSeveralArgumentsAsParameters) {
  const Workspace workspace;
  writeClasses();
  writeFile("Box.ov", "class Box<T> { static int of(T value, int number) { return number; } }");
  ASSERT_NE(orva_ClassLoader_getTypeByName("Box<c.Pair<g.Circle,int>>"), nullptr);
  const auto* type = orva::runtime::findTypeByFullName("Box<c.Pair<g.Circle,int>>");
  ASSERT_NE(type, nullptr);
  EXPECT_EQ(type->find("of")->signature.parameters, (std::vector<std::string>{"c.Pair<g.Circle,int>", "int"}));
}

namespace {

/// One way in which a generic class, its neighbour, its argument and a variable may share names.
struct Naming {
  std::string package;     ///< of the generic class and its neighbour
  std::string argument;    ///< full name of the argument
  std::string parameter;   ///< name of the type parameter
  std::string variable;    ///< name of a method's parameter
  bool isNeighbourLoaded;  ///< before the instance is asked for

  std::string text() const { return package + " " + argument + " " + parameter + " " + variable; }
  std::string generic() const { return package + ".Cap<" + argument + ">"; }
};

}  // namespace

/// All combinations of arguments, parameters and variables that share parts of their names.
static std::vector<Naming> namings() {
  std::vector<Naming> all;
  for (const char* argument : {"Helper", "shop.Helper", "shop.Cap", "Cap", "shop.Item", "Console"}) {
    for (const char* parameter : {"T", "Other", "Item", "Console", "shop"}) {
      for (const char* variable : {"text", "shop", "h", "T", "Helper"}) {
        for (const bool isLoaded : {false, true}) {
          all.push_back({"g" + std::to_string(all.size()), argument, parameter, variable, isLoaded});
        }
      }
    }
  }
  return all;
}

static void writeNaming(const Naming& naming) {
  const std::string package = "package " + naming.package + "; ";
  // A variable hides a class of the same name, so the neighbour is called in a method without variables.
  writeFile(naming.package + "/Cap.ov",
            package + "class Cap<" + naming.parameter + "> {\n" +
                "  static String neighbours() { return Helper.h() + \" \" + Other.h(); }\n" +
                "  static String argument() { return " + naming.parameter + ".h(); }\n" +
                "  static int one() { return 1; }\n" +
                "  static String own() { return Cap.argument() + (Cap.one() + 1); }\n" +
                "  static String given(String " + naming.variable + ") { return " + naming.variable + "; }\n}\n");
  for (const char* neighbour : {"Helper", "Other", "Item"}) {
    writeFile(naming.package + "/" + neighbour + ".ov", package + "class " + neighbour +
                                                            " { static String h() { return \"" + naming.package + "." +
                                                            neighbour + "\"; } }");
  }
}

TEST(GenericInstances, MeanTheirOwnNeighboursAndTheArgumentsOfTheRequest) {
  const Workspace workspace;
  for (const std::string name : {"Helper", "shop.Helper", "shop.Cap", "Cap", "shop.Item", "Console"}) {
    const std::size_t dot = name.find('.');
    const std::string package = dot == std::string::npos ? "" : "package shop; ";
    const std::string file = dot == std::string::npos ? name : "shop/" + name.substr(dot + 1);
    writeFile(file + ".ov", package + "class " + name.substr(dot + 1) + " { static String h() { return \"argument " +
                                name + "\"; } }");
  }
  for (const Naming& naming : namings()) {
    SCOPED_TRACE(naming.text());
    writeNaming(naming);
    if (naming.isNeighbourLoaded) orva_ClassLoader_getTypeByName((naming.package + ".Helper").c_str());
    ASSERT_NE(orva_ClassLoader_getTypeByName(naming.generic().c_str()), nullptr);
    const std::string argument = "argument " + naming.argument;
    const std::string other = naming.parameter == "Other" ? argument : naming.package + ".Other";
    EXPECT_EQ(callText(naming.generic(), "neighbours"), naming.package + ".Helper " + other);
    EXPECT_EQ(callText(naming.generic(), "argument"), argument);
    EXPECT_EQ(callText(naming.generic(), "own"), argument + "2");
    EXPECT_EQ(callText(naming.generic(), "given", {reinterpret_cast<int64_t>("text")}), "text");
  }
}

TEST(GenericInstances, TakeAFullNameBeforeTheShortNameOfALoadedType) {
  const Workspace workspace;
  writeClasses();
  writeFile("p/Item.ov", "package p; class Item { }");
  writeFile("p/Box.ov", "package p; class Box<T> { }");
  writeFile("Item.ov", "class Item { }");
  writeFile("Box.ov", "class Box<T> { }");
  ASSERT_NE(orva_ClassLoader_getTypeByName("p.Item"), nullptr);
  ASSERT_NE(orva_ClassLoader_getTypeByName("p.Box"), nullptr);
  EXPECT_EQ(materialize("c.Pair<Item,int>").name, "c.Pair<Item,int>");
  EXPECT_EQ(materialize("Box<Item>").name, "Box<Item>");
  EXPECT_EQ(materialize("p.Box<Box<Item>>").name, "p.Box<Box<Item>>");
  fs::remove("Item.ov");
  fs::remove("Box.ov");
  EXPECT_EQ(materialize("Box<Item>").name, "p.Box<p.Item>");
}

TEST(GenericInstances, MeanTheSameWhateverInstancesThereAre) {
  const Workspace workspace;
  writeFile("p/Item.ov", "package p; class Item { static String h() { return \"p\"; } }");
  writeFile("p/Box.ov", "package p; class Box<T> { static String h() { return T.h(); } }");
  writeFile("Item.ov", "class Item { static String h() { return \"root\"; } }");
  const auto called = [](const std::string& name) {
    const auto* type = static_cast<const orva::runtime::Type*>(orva_ClassLoader_getTypeByName(name.c_str()));
    return type == nullptr ? "nothing" : type->fullName + " " + callText(type->fullName, "h");
  };
  EXPECT_EQ(called("p.Box<p.Item>"), "p.Box<p.Item> p");
  EXPECT_EQ(called("p.Box<Item>"), "p.Box<Item> root");
  EXPECT_EQ(called("Box< p . Item >"), "p.Box<p.Item> p");
  writeFile("Box.ov", "class Box<T> { static String h() { return \"root box of \" + T.h(); } }");
  EXPECT_EQ(called("Box<p.Item>"), "Box<p.Item> root box of p");
  EXPECT_EQ(called("Box<Box<Item>>"), "Box<Box<Item>> root box of root box of root");
  EXPECT_EQ(called("p.Box<Box<p.Item>>"), "p.Box<Box<p.Item>> root box of p");
}

TEST(GenericInstances, ThatAreLoadedAreArgumentsWithoutTheirSources) {
  const Workspace workspace;
  writeFile("g/Circle.ov", "package g; class Circle { }");
  writeFile("x/G.ov", "package x; class G<T> { }");
  writeFile("y/G.ov", "package y; class G<T> { }");
  ASSERT_NE(nullptr, orva_ClassLoader_getTypeByName("g.Circle"));
  ASSERT_NE(nullptr, orva_ClassLoader_getTypeByName("y.G<g.Circle>"));
  fs::remove("y/G.ov");
  EXPECT_EQ("x.G<y.G<g.Circle>>", materialize("x.G<y.G<g.Circle>>").name);
  for (const char* spelling : {"y.G<g.Circle>", "y.G<Circle>", "y . G < Circle >"}) {
    EXPECT_NE(nullptr, orva_ClassLoader_getTypeByName(spelling)) << spelling;
  }
  EXPECT_EQ(nullptr, orva_ClassLoader_getTypeByName("y.G<int>")) << "this one is not loaded";
}

TEST(GenericInstances, OfAnAmbiguousNameAreFailures) {
  const Workspace workspace;
  writeClasses();
  for (const std::string package : {"p", "q"}) {
    writeFile(package + "/Item.ov", "package " + package + "; class Item { }");
    writeFile(package + "/Box.ov", "package " + package + "; class Box<T> { }");
    ASSERT_NE(orva_ClassLoader_getTypeByName((package + ".Item").c_str()), nullptr);
    ASSERT_NE(orva_ClassLoader_getTypeByName((package + ".Box").c_str()), nullptr);
  }
  const std::string item = "Ambiguous plugin entry type 'Item'; use its fully qualified name";
  const std::string box = "Ambiguous plugin entry type 'Box'; use its fully qualified name";
  // The names are ambiguous whatever instances exist.
  for (const char* instance : {"c.Pair<p.Item,int>", "c.Pair<q.Item,int>", "p.Box<int>", "q.Box<int>"}) {
    ASSERT_NE(orva_ClassLoader_getTypeByName(instance), nullptr);
  }
  for (const auto& [name, message] : {std::pair{"c.Pair<Item,int>", item},
                                      {"c.Pair<int,Item>", item},
                                      {"p.Box<q.Box<Item>>", item},
                                      {"Box<int>", box},
                                      {"p.Box<Box<int>>", box}}) {
    EXPECT_EQ(orva_ClassLoader_getTypeByName(name), nullptr);
    const auto pending = orva::runtime::takePendingException().value_or(orva::runtime::PendingException{});
    EXPECT_EQ(pending.className + ": " + pending.message, "ClassNotFoundException: " + message) << name;
  }
  // A name that is looked up by itself is refused with the same message.
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Item"), nullptr);
  EXPECT_EQ(orva::runtime::takePendingException().value_or(orva::runtime::PendingException{}).message, item);
}

TEST(GenericInstances, NameTheGenericsFileAndTheInstanceInErrors) {
  const Workspace workspace;
  writeClasses();
  writeFile("c/Wrong.ov",
            "package c;\n// first\nclass Wrong<T> {\n  static int f(T value) {\n    return value;\n  }\n}\n");
  EXPECT_EQ(failureOf([] { activeFindOrLoad("c.Wrong<g.Circle>"); }),
            "./c/Wrong.ov:5:12: error: expected int, found g.Circle, in c.Wrong<g.Circle>\n      return value;\n       "
            "      ^");
  EXPECT_EQ(failureOf([] { activeFindOrLoad("c.Wrong<int>"); }), "nothing");
}

TEST(GenericInstances, MayHaveParametersInTypesOfTheRuntime) {
  const Workspace workspace;
  writeFile("Lists.ov",
            "class Lists<T> { static int size() { ArrayList<T> list = [\"a\", \"b\"]; return list.size(); } }");
  ASSERT_NE(orva_ClassLoader_getTypeByName("Lists<String>"), nullptr);
  EXPECT_EQ(callMethod("Lists<String>", "size"), 2);
  EXPECT_NE(failureOf([] {
              activeFindOrLoad("Lists<int>");
            }).find("unknown type 'ArrayList<T>': expected 'ArrayList<String>', in Lists<int>"),
            std::string::npos);
}

TEST(GenericInstances, HaveNoNatives) {
  const Workspace workspace;
  writeFile("Thrower.ov", "class Thrower<T> { static native boolean truth(int value); }");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Thrower<int>"), nullptr);
  const auto pending = orva::runtime::takePendingException().value_or(orva::runtime::PendingException{});
  EXPECT_NE(
      pending.message.find("./Thrower.ov:1:42: error: a generic class cannot have native methods, in Thrower<int>\n"),
      std::string::npos)
      << pending.message;
}

TEST(GenericInstances, OfNothingKnownAreNothing) {
  const Workspace workspace;
  writeClasses();
  std::string name = "untouched";
  std::string file = "untouched";
  auto context = orva::compiler::Compiler::activeRuntimeContext();
  for (const char* text : {"", "<", ">", "<>", "c.Pair", "c.Pair<", "c.Pair<>", "c.Pair<int,>", "c.Pair<int,int>>",
                           "c.Pair<int,Nope>", "c.Pair<int,void>", "Pair<int,int>", "c.Nope<int>", "c.Pair<int;int>",
                           "c.Pair<int,/**/int>", "c.Pair<int,int>//"}) {
    EXPECT_FALSE(orva::compiler::ClassLoader::materializeRuntimeGenericType(text, name, file, context)) << text;
  }
  EXPECT_EQ(name + " " + file, "untouched untouched");
}

TEST(GenericInstances, OfTheWrongShapeAreFailures) {
  const Workspace workspace;
  writeClasses();
  auto& generics = orva::compiler::activeContext().generics;
  EXPECT_EQ(failureOf([&] { generics.materialize("c.Pair<int>"); }),
            "'c.Pair<int>' has 1 type argument: class 'c.Pair' takes 2");
  EXPECT_EQ(failureOf([&] { generics.materialize("g.Circle<int>"); }),
            "'g.Circle<int>' has 1 type argument: class 'g.Circle' takes 0");
  writeFile("c/Empty.ov", "package c; class Other<T> { }");
  EXPECT_EQ(failureOf([&] { generics.materialize("c.Empty<int>"); }), "'./c/Empty.ov' declares no class 'c.Empty'");
}

TEST(GenericInstances, ThatDoNotCompileLeaveNoTypeAndLoadWhenRepaired) {
  const Workspace workspace;
  writeFile("Box.ov", "class Box<T> { static int of(T value) { return value; } }");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Box<String>"), nullptr);
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Box<int>") == nullptr, false);
  EXPECT_EQ(callMethod("Box<int>", "of", {5}), 5);
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{2, 2}));
  writeFile("Box.ov", "class Box<T> { static T of(T value) { return value; } }");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Box<String>") == nullptr, false);
  EXPECT_EQ(callText("Box<String>", "of", {reinterpret_cast<int64_t>("text")}), "text");
}

TEST(GenericInstances, OfAFileThatChangedBringNoFurtherClass) {
  const Workspace workspace;
  writeFile("p/G.ov", "package p; class G<T> { } class H { }");
  activeFindOrLoad("p.G<int>");
  writeFile("p/G.ov", "package p; class G<T> { static String d() { return N.d(); } } class N { }");
  EXPECT_EQ(
      failureOf([] { activeFindOrLoad("p.G<String>"); }),
      "'./p/G.ov' was loaded earlier and has changed since: its class 'p.N' is not loaded, because a file is loaded "
      "only once");
  writeFile("p/G.ov", "package p; class G<T> { static int more() { return 2; } }");
  activeFindOrLoad("p.G<String>");
  EXPECT_EQ(callMethod("p.G<String>", "more", {}), 2);
}

/// Otherwise the time for the instances of a file's classes would be quadratic in their number.
TEST(GenericInstances, OfOneFileParseItOnce) {
  const Workspace workspace;
  writeClasses();
  auto& generics = orva::compiler::activeContext().generics;
  const auto first = generics.parsedSource("c/Pair.ov");
  EXPECT_EQ(generics.parsedSource("c/Pair.ov"), first);
  writeFile("c/Pair.ov", "package c; class Pair<A> { }");
  EXPECT_EQ(generics.parsedSource("c/Pair.ov")->file.classes.size(), 1U);
  EXPECT_EQ(first->file.classes.size(), 3U);
}
