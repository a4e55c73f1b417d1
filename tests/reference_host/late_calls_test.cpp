// Calls of classes and methods that did not exist when their callers were compiled: they do the same as other calls, or
// raise the error that the compiler would have reported.
#include <gtest/gtest.h>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "workspace.h"

namespace fs = std::filesystem;
using orva::compiler::activeContext;
using orva::runtime::Origin;

/// The class that is written late. Its methods return values of all types.
static const char* const lateClass =
    "package late;\n"
    "class Thrower {\n"
    "  static int number() { return 3; }\n"
    "  static boolean truth() { return true; }\n"
    "  static String text() { return \"text\"; }\n"
    "  static String noText() { return null; }\n"
    "  static ArrayList<String> list() { return [\"a\", \"b\"]; }\n"
    "  static Type type() { return ClassLoader.getTypeByName(\"late.Thrower\"); }\n"
    "  static Exception exception() { try { throw new Told(\"so\"); } catch (Exception e) { return e; } }\n"
    "  static native Thrower own();\n"
    "  static Thrower noObject() { return null; }\n"
    "  static void nothing() { }\n"
    "  static String taken(int number) { return \"taken \" + number; }\n"
    "  String describe(int number, String text) { return text + number; }\n"
    "}\n";

static const std::vector<std::pair<std::string, std::string>>& resultTypes() {
  static const std::vector<std::pair<std::string, std::string>> types = {
      {"number", "int"},   {"truth", "boolean"},        {"text", "String"},      {"noText", "String"},
      {"type", "Type"},    {"exception", "Exception"},  {"own", "late.Thrower"}, {"list", "ArrayList<String>"},
      {"nothing", "void"}, {"noObject", "late.Thrower"}};
  return types;
}

/// Expressions in which `$` stands for a call of the late class.
static std::vector<std::string> expressions() {
  std::vector<std::string> all = {"$", "$ + $ + $", "$ == $", "$ != $", "($ + 1) + \"t\"", "($ == null) + \"\""};
  for (const std::string operand : {"1", "true", "\"text\"", "null", "[\"a\"]"}) {
    for (const std::string sign : {" + ", " == ", " != "}) {
      all.push_back("$" + sign + operand);
      all.push_back(operand + sign + "$");
    }
  }
  for (const std::string member :
       {"size()", "get(0)", "get(2)", "get(\"0\")", "get()", "add(\"c\")", "name()", "source()", "call(\"text\")",
        "call()", "call(1)", "call(\"taken\", 7)", "className()", "message()", "describe(1, \"t\")", "describe(1)",
        "describe(\"t\", 1)", "text()", "absent(1)"}) {
    all.push_back("$." + member);
  }
  for (const char* use :
       {"[\"a\", \"b\", \"c\", \"d\"].get($ + 0)", "[\"a\"].get($)", "[$].size()", "[$ + \"t\"].get(0)",
        "Early.taken($)", "Early.taken($ + 1)", "late.Thrower.taken($)", "late.Thrower.taken($ + 1)",
        "Early.type().call($)", "Early.type().call($ + \"\")", "Early.type().call(\"taken\", $)"}) {
    all.emplace_back(use);
  }
  return all;
}

/// Bodies of methods in which `%` stands for an expression.
static const std::vector<std::string>& places() {
  static const std::vector<std::string> all = {
      "int r = %; return \"\" + r;",
      "boolean r = true; r = %; return \"\" + r;",
      "String r = %; return r;",
      "return %;",
      "ArrayList<String> r = %; return r.get(0);",
      "Type r = %; return r.name();",
      "Exception r = %; return r.message();",
      "if (%) { return \"yes\"; } return \"no\";",
      "if (% == %) { return \"yes\"; } return \"no\";",
      "boolean r = % != %; return \"\" + r;",
      "%; return \"done\";",
      "throw new Told(%);",
      "try { throw new Told(\"\" + (%)); } catch (Told e) { return e.message(); }",
      "Console.print(%); return \"printed\";"};
  return all;
}

static std::string filled(std::string text, char hole, const std::string& value) {
  for (std::size_t at = text.find(hole); at != std::string::npos; at = text.find(hole, at + value.size())) {
    text.replace(at, 1, value);
  }
  return text;
}

/// Every expression in one place, and some in all of them, with a method of the late class.
static std::vector<std::string> bodiesWith(const std::string& method) {
  std::vector<std::string> bodies;
  const std::string call = "late.Thrower." + method + "()";
  for (const std::string& each : expressions()) bodies.push_back("return \"\" + (" + filled(each, '$', call) + ");");
  for (const std::string& place : places()) {
    for (const std::string each : {"$", "$ + 1"}) {
      bodies.push_back(filled(place, '%', filled(each, '$', call)));
    }
  }
  return bodies;
}

/// What a method returns, or the message of the exception that it throws.
static std::string outcomeOf(const std::string& className, const std::string& method) {
  try {
    const auto* text = reinterpret_cast<const char*>(callMethod(className, method));
    return "returns " + (text == nullptr ? std::string("null") : text);
  } catch (const orva::runtime::Thrown& thrown) {
    return thrown.exception->message;
  }
}

/// The first error that the compiler reports for a source, without its place; empty when the source is loaded.
static std::string complaintOf(const std::string& file) {
  const std::string text = failureOf([&] { activeContext().loader.load(file, Origin::named); });
  if (text == "nothing") return {};
  const std::string begin = ": error: ";
  const std::size_t at = text.find(begin) + begin.size();
  return text.substr(at, text.find('\n') - at);
}

/// The outcome of a method that is compiled when the late class exists.
static std::string outcomeWhenKnown(const std::string& className, const std::string& body) {
  writeFile(className + ".ov", "class " + className + " { static String run() { " + body + " } }");
  const std::string complaint = complaintOf(className + ".ov");
  return complaint.empty() ? outcomeOf(className, "run") : complaint;
}

/// Expects two outcomes to be the same. A late call may name the method whose result does not fit.
static void expectSame(const std::string& late, const std::string& known, const std::string& method,
                       const std::string& type, const std::string& body) {
  const std::string nothing = "' returns nothing";
  const bool isVoid = late.size() > nothing.size() && late.substr(late.size() - nothing.size()) == nothing;
  if (isVoid || late.rfind("Method 'late.Thrower." + method + "' returns " + type + ", not ", 0) == 0) {
    EXPECT_NE(known.rfind("returns ", 0), 0U) << body << " -> " << known;
  } else {
    EXPECT_EQ(late, known) << body;
  }
}

TEST(LateCalls, DoWhatCallsOfKnownClassesDo) {
  const Workspace workspace(STANDARD_LIBRARY);
  std::string early =
      "class Early {\n"
      "  static String taken(int number) { return \"taken \" + number; }\n"
      "  static Type type() { return ClassLoader.getTypeByName(\"late.Thrower\"); }\n";
  for (const auto& [method, type] : resultTypes()) {
    int number = 0;
    for (const std::string& body : bodiesWith(method)) {
      early += "  static String " + method + std::to_string(number++) + "() { " + body + " }\n";
    }
  }
  writeFile("Early.ov", early + "}\n");
  ASSERT_EQ(complaintOf("Early.ov"), "");
  writeFile("late/Thrower.ov", lateClass);
  for (const auto& [method, type] : resultTypes()) {
    int number = 0;
    for (const std::string& body : bodiesWith(method)) {
      const std::string name = method + std::to_string(number++);
      const std::string late = outcomeOf("Early", name);
      expectSame(late, outcomeWhenKnown("K" + name, body), method, type, body);
    }
  }
}

/// Compiles a caller of `E.h()` when `E` has the methods `before`, runs it when `E` has the methods `now` or is gone
/// (if empty), and expects the outcome of a caller that is compiled then.
static void expectFreshVerdict(const std::string& name, const std::string& before, const std::string& now) {
  const std::string file = name + "/E.ov";
  const auto textOf = [&](const std::string& methods) { return "package " + name + "; class E { " + methods + " }"; };
  const auto caller = [&](const std::string& prefix) {
    return "class " + prefix + name + " { static String run() { return \"\" + (" + name + ".E.h() + 1); } }";
  };
  const std::string stale = "Stale" + name;
  const std::string fresh = "Fresh" + name;
  writeFile(file, textOf(before));
  writeFile(stale + ".ov", caller("Stale"));
  activeContext().loader.precompile(stale + ".ov");
  fs::remove(file);
  if (!now.empty()) writeFile(file, textOf(now));
  activeContext().loader.loadBundle({stale + ".o"}, {orva::compiler::sourceIdentity(caller("Stale"))});
  writeFile(fresh + ".ov", caller("Fresh"));
  const std::string complaint = complaintOf(fresh + ".ov");
  EXPECT_EQ(outcomeOf(stale, "run"), complaint.empty() ? outcomeOf(fresh, "run") : complaint) << before << ", " << now;
}

TEST(LateCalls, AreJudgedByTheClassThatIsThereWhenTheyAreMade) {
  const Workspace workspace;
  const std::vector<std::string> unfit = {"static int g() { return 1; }", "static int h(int a) { return a; }",
                                          "int h() { return 1; }"};
  std::vector<std::string> all = unfit;
  for (const char* each : {"static int h() { return 7; }", "static String h() { return \"text\"; }",
                           "static boolean h() { return true; }", ""}) {
    all.emplace_back(each);
  }
  int number = 0;
  for (const std::string& before : unfit) {
    for (const std::string& now : all) expectFreshVerdict("q" + std::to_string(number++), before, now);
  }
}
