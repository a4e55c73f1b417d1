// What crosses compiled frames: C++ exceptions, language exceptions and the pending exception of a native.
#include <gtest/gtest.h>

#include <future>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/values.h"
#include "runtime_api/runtime.h"
#include "workspace.h"

namespace rt = orva::runtime;

static void loadThrower() {
  writeFile("Thrower.ov",
            "class Thrower {\n"
            "  static native void fail(int kind);\n"
            "  static native void raiseTwice();\n"
            "  static native int raiseAndReturn();\n"
            "  static native boolean truth(int value);\n"
            "  static native Thrower own();\n"
            "  static String tries(int kind) {\n"
            "    try { Thrower.inner(kind); } catch (Exception e) { return \"caught\"; }\n"
            "    return \"returned\";\n"
            "  }\n"
            "  static void inner(int kind) {\n"
            "    try { Thrower.fail(kind); } catch (RuntimeException e) { }\n"
            "  }\n"
            "  static String text() { return \"\" + Thrower.truth(256) + (Thrower.truth(2) == true); }\n"
            "  static int deep(int left) { return Thrower.deep(left + 1); }\n"
            "  static void misused() { Thrower.own().text(); }\n"
            "}\n");
  orva::compiler::activeContext().loader.load("Thrower.ov", orva::runtime::Origin::classPath);
}

/// The class, message and line of the language exception that a call throws.
static std::string thrownBy(const std::string& method, const std::vector<int64_t>& arguments = {}) {
  try {
    callMethod("Thrower", method, arguments);
  } catch (const rt::Thrown& thrown) {
    const rt::Exception& exception = *thrown.exception;
    const std::string line = exception.location == nullptr ? "" : std::to_string(exception.location->line);
    return std::string(exception.className) + ":" + exception.message + ":" + line;
  }
  return "nothing";
}

TEST(CompiledCode, WhatIsNoLanguageExceptionCrossesHandlersUncaught) {
  const Workspace workspace;
  loadThrower();
  EXPECT_EQ(failureOf([] { callText("Thrower", "tries", {0}); }), "thrown by a native");
  int caught = 0;
  try {
    callText("Thrower", "tries", {1});
  } catch (int thrown) {
    caught = thrown;
  }
  EXPECT_EQ(caught, 42);
  EXPECT_EQ(failureOf([] { callText("Thrower", "tries", {0}); }), "thrown by a native");
}

TEST(CompiledCode, TheExceptionRaisedLastIsThrownWhenTheNativeReturns) {
  const Workspace workspace;
  loadThrower();
  EXPECT_EQ(thrownBy("raiseTwice"), "SecondException:second:");
  EXPECT_EQ(rt::takePendingException().has_value(), false);
  // An empty message is one too.
  EXPECT_EQ(thrownBy("raiseAndReturn"), "RaisedException::");
  // What was pending before is forgotten.
  Orva_raise("Stale", "left by other code");
  EXPECT_EQ(callMethod("Thrower", "truth", {0}), 0);
  EXPECT_EQ(rt::takePendingException().has_value(), false);
}

TEST(CompiledCode, EveryTruthOfANativeIsOne) {
  const Workspace workspace;
  loadThrower();
  EXPECT_EQ(callMethod("Thrower", "truth", {256}), 1);
  EXPECT_EQ(callText("Thrower", "text"), "truetrue");
}

TEST(CompiledCode, AStaticMethodIsNotCalledOnAnObject) {
  const Workspace workspace;
  loadThrower();
  EXPECT_EQ(thrownBy("misused"), "Exception:Method 'Thrower.text' is static:16");
}

TEST(CompiledCode, CallsTakeAtMost255Arguments) {
  const Workspace workspace;
  std::string arguments = "0";
  for (int i = 1; i < 255; ++i) arguments += ",0";
  const auto load = [](const std::string& name, const std::string& given) {
    writeFile(name + ".ov", "class " + name + " { static void call() { Nowhere.method(" + given + "); } }");
    orva::compiler::activeContext().loader.load(name + ".ov", orva::runtime::Origin::classPath);
  };
  load("Most", arguments);
  const std::string failure = failureOf([&] { load("TooMany", arguments + ",0"); });
  EXPECT_EQ(failure.substr(0, failure.find('\n')), "TooMany.ov:1:46: error: too many arguments: expected at most 255");
}

/// A chain of methods, the last of which throws; the first catches that.
static std::string chainOf(const std::string& name, int count) {
  std::string text = "class " + name + " {\n  static String start() {\n    try { return " + name +
                     ".m0(0); } catch (Exception e) { return e.message(); }\n  }\n";
  for (int i = 0; i < count; ++i) {
    text += "  static String m" + std::to_string(i) + "(int a) { return " + name + ".m" + std::to_string(i + 1) +
            "(a + 1); }\n";
  }
  return text + "  static String m" + std::to_string(count) +
         "(int a) { throw new Exception(\"thrown at \" + a); }\n}\n";
}

TEST(CompiledCode, ManyMethodsOfOneClassCallEachOtherAndThrow) {
  const Workspace workspace;
  writeFile("Sourced.ov", chainOf("Sourced", 500));
  orva::compiler::activeContext().loader.load("Sourced.ov", orva::runtime::Origin::classPath);
  EXPECT_EQ(callText("Sourced", "start"), "thrown at 500");
  writeFile("Built.ov", chainOf("Built", 500) + chainOf("Near", 500));
  orva::compiler::activeContext().loader.precompile("Built.ov");
  orva::compiler::activeContext().loader.loadBundle({"Built.o"},
                                                    {orva::compiler::sourceIdentity(readFile("Built.ov"))});
  EXPECT_EQ(callText("Built", "start"), "thrown at 500");
  EXPECT_EQ(callText("Near", "start"), "thrown at 500");
}

TEST(CompiledCode, RecursionIsStoppedOnEveryThread) {
  const Workspace workspace;
  loadThrower();
  const auto tooDeep = [] { return thrownBy("deep", {0}); };
  const std::string expected = "Exception:Recursion too deep in 'Thrower.deep':15";
  EXPECT_EQ(std::async(std::launch::async, tooDeep).get(), expected);
  EXPECT_EQ(tooDeep(), expected);
  EXPECT_EQ(tooDeep(), expected);
}

TEST(Context, IsNotThereBeforeTheHostIsStarted) {
  EXPECT_EQ(failureOf([] { orva::compiler::activeContext(); }), "The host has not been started");
}

TEST(EntryPoints, AllocateObjectsOfLoadedClassesOnly) {
  const Workspace workspace;
  loadThrower();
  auto* object = static_cast<rt::Object*>(Orva_allocObject("Thrower"));
  EXPECT_EQ(object->type->fullName, "Thrower");
  EXPECT_NE(Orva_allocObject("Thrower"), object);
  EXPECT_EQ(failureOf([] { Orva_allocObject("Nowhere"); }),
            "Cannot allocate an object: no single class is named 'Nowhere'");
}

TEST(EntryPoints, AllocateTheStandardLibrarysClassWhateverElseSharesItsName) {
  const Workspace workspace;
  for (const std::string package : {"own", "orva"}) {
    writeFile(package + ".ov", "package " + package + "; class SystemClassLoader { }");
    orva::compiler::activeContext().loader.load(package + ".ov", orva::runtime::Origin::named);
  }
  const auto* object = static_cast<rt::Object*>(Orva_allocObject("SystemClassLoader"));
  EXPECT_EQ(object->type->fullName, "orva.SystemClassLoader");
}

TEST(EntryPoints, LookUpLoadsNothing) {
  const Workspace workspace;
  writeFile("Thrower.ov", "class Thrower { }");
  for (const char* name : {"Thrower", "", "<", ">", "<>", "Thrower<", ",", "<<<,>", "Thrower<Thrower>"}) {
    EXPECT_EQ(Orva_typeByName(name), nullptr) << name;
  }
  EXPECT_EQ(Orva_typeByName(nullptr), nullptr);
}
