// The calls in the trace of an exception: each with its place, however deep they are and whatever was thrown before.
#include <gtest/gtest.h>

#include "reference_host/compiler/context.h"
#include "reference_host/runtime/call_stack.h"
#include "workspace.h"

namespace rt = orva::runtime;
using Lines = std::vector<std::string>;

static void load(const std::string& name, const std::string& text) {
  writeFile(name + ".ov", text);
  orva::compiler::activeContext().loader.load(name + ".ov", orva::runtime::Origin::classPath);
}

static void addLines(Lines& lines, const std::vector<rt::Place>& places) {
  for (const rt::Place& place : places) {
    lines.push_back(place.location == nullptr ? std::string("C++ ") + place.method
                                              : std::to_string(place.location->line) + " " + place.method);
  }
}

/// The trace of what a call throws: `LINE METHOD` for each place, and the number of those that are not known.
static Lines traceOf(const std::string& name, const std::string& method, const std::vector<int64_t>& arguments = {}) {
  Lines lines;
  try {
    callMethod(name, method, arguments);
  } catch (const rt::Thrown& thrown) {
    if (thrown.exception->trace == nullptr) return {"none"};
    const rt::FullTrace trace = rt::completeTrace(*thrown.exception->trace);
    addLines(lines, trace.innermost);
    if (trace.omitted > 0) lines.push_back("omitted " + std::to_string(trace.omitted));
    addLines(lines, trace.outermost);
  }
  return lines;
}

/// Methods `m0` to `m<last>`, one per line, each of which calls the next; the last one throws.
static std::string chainOf(const std::string& name, int last) {
  std::string text = "class " + name + " {\n";
  for (int i = 0; i < last; ++i) {
    text += "  static void m" + std::to_string(i) + "() { " + name + ".m" + std::to_string(i + 1) + "(); }\n";
  }
  return text + "  static void m" + std::to_string(last) + "() { throw new Deep(\"\"); }\n}\n";
}

TEST(CallTrace, ShowsEveryCallOfAShortChainAndBothEndsOfALongOne) {
  const Workspace workspace;
  for (const int last : {0, 1, 2, 62, 63, 64, 65, 100, 300}) {
    const std::string name = "Chain" + std::to_string(last);
    load(name, chainOf(name, last));
    Lines expected;
    for (int i = last; i >= 0; --i) expected.push_back(std::to_string(i + 2) + " " + name + ".m" + std::to_string(i));
    if (last >= 64) {
      expected.erase(expected.begin() + 32, expected.end() - 32);
      expected.insert(expected.begin() + 32, "omitted " + std::to_string(last + 1 - 64));
    }
    EXPECT_EQ(traceOf(name, "m0"), expected) << last;
  }
}

/// Methods `f0` to `f<period - 1>` that call each other in turn, `depth` times in all; the last call throws.
static std::string cycleOf(const std::string& name, int period, int depth) {
  std::string text = "class " + name + " {\n";
  for (int i = 0; i < period; ++i) {
    text += "  static void f" + std::to_string(i) + "(int n) {\n    if (n == " + std::to_string(depth) +
            ") { throw new Deep(\"\"); }\n    " + name + ".f" + std::to_string((i + 1) % period) + "(n + 1);\n  }\n";
  }
  return text + "  static void start() { " + name + ".f0(0); }\n}\n";
}

TEST(CallTrace, FindsOutWhatRecursionOfEachPeriodHasLeftOut) {
  const Workspace workspace;
  for (const int period : {1, 2, 3, 5, 8, 13, 30}) {
    for (const int depth : {61, 62, 63, 64, 500, 1001}) {
      const std::string name = "Cycle" + std::to_string(period) + "x" + std::to_string(depth);
      load(name, cycleOf(name, period, depth));
      Lines expected;
      for (int n = depth; n >= 0; --n) {
        const int line = 2 + 4 * (n % period) + (n == depth ? 1 : 2);
        expected.push_back(std::to_string(line) + " " + name + ".f" + std::to_string(n % period));
      }
      expected.push_back(std::to_string(2 + 4 * period) + " " + name + ".start");
      EXPECT_EQ(traceOf(name, "start"), expected) << name;
    }
  }
}

TEST(CallTrace, DoesNotTakeOtherCallsForRecursion) {
  const Workspace workspace;
  // Both ends are calls of `a`, and one call of `b` is among those that are omitted.
  load("Odd",
       "class Odd {\n"
       "  static void a(int n) {\n"
       "    if (n == 300) { throw new Deep(\"\"); }\n"
       "    if (n == 150) { Odd.b(n + 1); }\n"
       "    Odd.a(n + 1);\n"
       "  }\n"
       "  static void b(int n) { Odd.a(n); }\n"
       "}\n");
  const Lines lines = traceOf("Odd", "a", {0});
  ASSERT_EQ(lines.size(), 65U);
  EXPECT_EQ(lines[32], "omitted 238");
}

static constexpr const char* catcher =
    "class Catcher {\n"
    "  static void fails(int n) {\n"
    "    if (n == 0) { throw new Sour(\"\"); }\n"
    "    Nowhere.at(n);\n"
    "  }\n"
    "  static void deep(int n) {\n"
    "    if (n == 50) { Catcher.fails(0); }\n"
    "    Catcher.deep(n + 1);\n"
    "  }\n"
    "  static void forgets() {\n"
    "    try { Catcher.deep(0); } catch (Exception e) { }\n"
    "    Catcher.fails(0);\n"
    "  }\n"
    "  static void inHandler() {\n"
    "    try { Catcher.deep(0); } catch (Sour e) { Catcher.fails(0); }\n"
    "  }\n"
    "  static void passes() {\n"
    "    try { Catcher.fails(0); } catch (Sweet e) { }\n"
    "  }\n"
    "  static int early(int n) {\n"
    "    try { if (n == 0) { return 1; } } catch (Exception e) { }\n"
    "    return 2;\n"
    "  }\n"
    "  static void returns() {\n"
    "    int n = Catcher.early(0) + Catcher.early(1);\n"
    "    Catcher.fails(n);\n"
    "  }\n"
    "  static void onNull() {\n"
    "    Catcher none = null;\n"
    "    none.instance();\n"
    "  }\n"
    "  void instance() { }\n"
    "  static void byNative() {\n"
    "    ClassLoader.addSourceRoot(\"\");\n"
    "  }\n"
    "  static void byType() {\n"
    "    ClassLoader.getTypeByName(\"Catcher\").call(\"fails\", 0);\n"
    "  }\n"
    "}\n";

TEST(CallTrace, IsThatOfTheCallsWhichHaveNotEnded) {
  const Workspace workspace(STANDARD_LIBRARY);
  load("Catcher", catcher);
  const auto trace = [](const std::string& method) { return traceOf("Catcher", method); };
  EXPECT_EQ(trace("forgets"), (Lines{"3 Catcher.fails", "12 Catcher.forgets"}));
  EXPECT_EQ(trace("inHandler"), (Lines{"3 Catcher.fails", "15 Catcher.inHandler"}));
  EXPECT_EQ(trace("passes"), (Lines{"3 Catcher.fails", "18 Catcher.passes"}));
  EXPECT_EQ(trace("returns"), (Lines{"4 Catcher.fails", "26 Catcher.returns"}));
  EXPECT_EQ(trace("onNull"), (Lines{"30 Catcher.onNull"}));
  EXPECT_EQ(trace("byNative"), (Lines{"34 Catcher.byNative"}));
  EXPECT_EQ(trace("byType"), (Lines{"3 Catcher.fails", "37 Catcher.byType"}));
  // What was thrown through C++ leaves nothing behind either.
  EXPECT_EQ(traceOf("Catcher", "fails", {0}), (Lines{"3 Catcher.fails"}));
}
