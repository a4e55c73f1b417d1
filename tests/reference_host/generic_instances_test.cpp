// The sources of generic instances: where they are written, and what stands in them.
#include "reference_host/compiler/generic_instances.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "classloader/natives.h"
#include "reference_host/compiler/context.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "runtime_api/compiler.h"
#include "temporary_folder.h"
#include "workspace.h"

namespace fs = std::filesystem;

/// An instance that must be one; without a name when it is none.
static orva::compiler::GenericInstance materialize(const std::string& typeName) {
  return orva::compiler::activeContext().generics.materialize(typeName).value_or(orva::compiler::GenericInstance{});
}

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

TEST(GenericInstances, ReplaceTheParametersAndNothingElse) {
  const Workspace workspace;
  writeClasses();
  const auto instance = materialize(" c.Pair <g.Circle,\tint> ");
  EXPECT_EQ(instance.name, "c.Pair<g.Circle,int>");
  EXPECT_EQ(instance.genericSource, "./c/Pair.ov");
  EXPECT_EQ(readFile(instance.sourceFile),
            "package c;\n\n\n"
            "public class Pair<g.Circle, int> { // A and B\n"
            "  g.Circle a(int b) { return x.A.B(\"A\", b); }\n"
            "}\n"
            "// c.Pair<g.Circle,int>, generated from ./c/Pair.ov\n");
}

TEST(GenericInstances, HaveAFileForEachArgumentsAndTheSameForTheSame) {
  const Workspace workspace;
  writeClasses();
  auto& generics = orva::compiler::activeContext().generics;
  const auto file = [&](const std::string& name) { return materialize(name).sourceFile; };
  EXPECT_EQ(file("c.Pair<g.Circle,int>"), file("c.Pair< g.Circle , int >"));
  EXPECT_NE(file("c.Pair<g.Circle,int>"), file("c.Pair<int,g.Circle>"));
  EXPECT_TRUE(generics.isGenerated(file("c.Pair<int,int>")));
  EXPECT_FALSE(generics.isGenerated("./c/Pair.ov"));
}

TEST(GenericInstances, LieInAPrivateFolder) {
  const Workspace workspace;
  writeClasses();
  const auto instance = materialize("c.Pair<int,int>");
  struct stat status{};
  ASSERT_EQ(stat(fs::path(instance.sourceFile).parent_path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFDIR | S_IRWXU));
  EXPECT_EQ(status.st_uid, geteuid());
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

TEST(GenericInstances, ThatCannotBeWrittenAreFailures) {
  const Workspace workspace;
  writeClasses();
  setenv("TMPDIR", "/dev/null", 1);
  EXPECT_NE(failureOf([] { orva::compiler::activeContext().generics.materialize("c.Pair<int,int>"); }), "nothing");
  fs::create_directory("temporary");
  fs::permissions("temporary", static_cast<fs::perms>(0555));
  setenv("TMPDIR", (workspace.path() / "temporary").c_str(), 1);
  fs::permissions(".", fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  {
    const WithoutRights nobody;
    const std::string failure =
        failureOf([] { orva::compiler::activeContext().generics.materialize("c.Pair<int,int>"); });
    // The system fills in what tells the directory from others.
    const std::string begin = "Cannot make the directory '" + (workspace.path() / "temporary/orva-host-").string();
    EXPECT_EQ(failure, begin + failure.substr(begin.size(), 6) + "': Permission denied");
  }
  fs::permissions("temporary", fs::perms::owner_all);
  EXPECT_TRUE(orva::compiler::activeContext().generics.materialize("c.Pair<int,int>").has_value());
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

TEST(GenericInstances, HaveNoNatives) {
  const Workspace workspace;
  writeFile("Thrower.ov", "class Thrower<T> { static native boolean truth(int value); }");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Thrower<int>"), nullptr);
  const auto pending = orva::runtime::takePendingException().value_or(orva::runtime::PendingException{});
  EXPECT_NE(pending.message.find(":1:44: error: a generic class cannot have native methods\n"), std::string::npos)
      << pending.message;
}

TEST(GenericInstances, OfNothingKnownAreNothing) {
  const Workspace workspace;
  writeClasses();
  std::string name = "untouched";
  std::string file = "untouched";
  auto context = orva::compiler::Compiler::activeRuntimeContext();
  for (const char* text : {"", "<", ">", "<>", "c.Pair", "c.Pair<", "c.Pair<>", "c.Pair<int,>", "c.Pair<int,int>>",
                           "c.Pair<int,Nope>", "c.Pair<int,void>", "Pair<int,int>", "c.Nope<int>", "c.Pair<int;int>"}) {
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
