// Which methods can end without returning, tried with all small bodies.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "reference_host/compiler/context.h"
#include "workspace.h"

namespace {

struct Body {
  std::string text;
  bool canEnd;
  bool canThrow;
};

}  // namespace

using Bodies = std::vector<Body>;

static Bodies simple() {
  return {{"", true, false},
          {"return 1; ", false, false},
          {"throw new A(\"a\"); ", false, true},
          {"Console.print(\"\"); ", true, true}};
}

static Body sequence(const Body& first, const Body& second) {
  return {first.text + second.text, first.canEnd && second.canEnd, first.canThrow || (first.canEnd && second.canThrow)};
}

static Body branch(const Body& then, const Body& otherwise) {
  return {"if (b) { " + then.text + "} else { " + otherwise.text + "} ", then.canEnd || otherwise.canEnd,
          then.canThrow || otherwise.canThrow};
}

static Body tried(const Body& body, const Body& handler, bool catchesAll) {
  const std::string variable = "e" + std::to_string(body.text.size() + handler.text.size());
  return {
      "try { " + body.text + "} catch (" + (catchesAll ? "Exception " : "A ") + variable + ") { " + handler.text + "} ",
      body.canEnd || (body.canThrow && handler.canEnd), body.canThrow && (!catchesAll || handler.canThrow)};
}

static Bodies pairs(const Bodies& firsts, const Bodies& seconds) {
  Bodies all;
  for (const Body& first : firsts) {
    for (const Body& second : seconds) {
      all.push_back(sequence(first, second));
      all.push_back(branch(first, second));
      for (const bool catchesAll : {false, true}) all.push_back(tried(first, second, catchesAll));
    }
  }
  return all;
}

static std::string classOf(const Bodies& bodies, std::size_t first, std::size_t end) {
  std::string text = "class M {\n";
  for (std::size_t i = first; i < end; ++i) {
    text += "static int m" + std::to_string(i) + "(boolean b) { " + bodies[i].text + "}\n";
  }
  return text + "}\n";
}

static std::string failureOfCompiling(const std::string& text) {
  writeFile("M.ov", text);
  return failureOf([] { orva::compiler::activeContext().loader.precompile("M.ov"); });
}

TEST(Methods, AreRefusedExactlyIfTheyCanEndWithoutReturning) {
  const Workspace workspace;
  const Bodies deep = pairs(simple(), simple());
  Bodies returning;
  Bodies ending;
  for (const Bodies& bodies : {pairs(deep, simple()), pairs(simple(), deep)}) {
    for (const Body& body : bodies) (body.canEnd ? ending : returning).push_back(body);
  }
  EXPECT_EQ(failureOfCompiling(classOf(returning, 0, returning.size())), "nothing");
  constexpr std::size_t mostErrors = 20;
  for (std::size_t first = 0; first < ending.size(); first += mostErrors) {
    const std::size_t end = std::min(first + mostErrors, ending.size());
    const std::string failure = failureOfCompiling(classOf(ending, first, end));
    for (std::size_t i = first; i < end; ++i) {
      const std::string message = "method 'm" + std::to_string(i) + "' can end without returning a value: expected int";
      EXPECT_NE(failure.find(message), std::string::npos) << ending[i].text << "\n" << failure;
    }
  }
}
