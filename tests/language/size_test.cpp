// Very deep sources are refused before they exhaust the stack; very long ones parse and are destroyed.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "reference_host/language/parser.h"
#include "refusals.h"

namespace orva::language {
static const char* const tooDeep = "this is nested too deeply: expected at most 200 levels";

static std::string repeated(std::size_t count, const std::string& text) {
  std::string joined;
  joined.reserve(count * text.size());
  for (; count > 0; --count) joined += text;
  return joined;
}

namespace {

/// A source with any number of nested levels; `core` contains the mark of the place that is too deep.
struct Nest {
  std::string before, open, core, close, after;

  std::string marked(std::size_t levels) const {
    return before + repeated(levels, open) + core + repeated(levels, close) + after;
  }
};

}  // namespace

/// A nest among the statements of a method.
static Nest inMethod(const Nest& nest) {
  return {"class A { void m() { " + nest.before, nest.open, nest.core, nest.close, nest.after + " } }"};
}

/// Succeeds when `levels` levels parse and one more is refused.
static testing::AssertionResult isDeepest(std::size_t levels, const Nest& nest) {
  std::string text = nest.marked(levels);
  text.erase(text.find('^'), 1);
  try {
    parseSource({"Main.ov", text});
  } catch (const SourceError& error) {
    return testing::AssertionFailure() << levels << " levels are refused: " << error.what();
  }
  return refuses(nest.marked(levels + 1), tooDeep);
}

// A method's body is the first level of its statements, and a whole expression in it the second.
TEST(Nesting, IsLimited) {
  const std::vector<Nest> statements = {
      {"return ", "(", "^x", ")", ";"},
      {"", "(", "^x", ")", ";"},
      {"x = ", "a + (", "^x", ") == b", ";"},
      {"return ", "[", "^[]", "]", ";"},
      {"return ", "a.m(", "^x", ")", ";"},
      {"throw new E(", "a.b.m(", "^x", ", 1).n()", ");"},
      {"", "try {", "try ^{} catch (E e) {}", "} catch (E e) {}", ""},
      {"", "try {} catch (E e) {", "try ^{} catch (E e) {}", "}", ""},
      {"", "if (a) {", "if (^a) {}", "}", ""},
      {"", "B<", "^C", ">", " x = null;"},
  };
  for (const Nest& nest : statements) EXPECT_TRUE(isDeepest(198, inMethod(nest)));
  EXPECT_TRUE(isDeepest(199, {"class A { ", "a.B<", "^C", ">", " m() {} }"}));
  EXPECT_TRUE(isDeepest(199, {"class A { void m(int i, ", "B<", "^C", ", D>", " x) {} }"}));
}

TEST(Nesting, IsLimitedWhereDeclarationsAreTold) {
  const std::string before = repeated(199, "B<");
  EXPECT_TRUE(refuses("class A { void m() { " + before + "^" + repeated(200, "B<") + "C x = 1;", tooDeep));
}

TEST(Nesting, IsLimitedForTypeNames) {
  const auto nested = [](std::size_t levels) { return repeated(levels, "B<") + "C" + repeated(levels, ">"); };
  EXPECT_EQ(nested(199), parseTypeName(nested(199)).text());
  try {
    parseTypeName(nested(200));
    FAIL() << "no error";
  } catch (const SourceError& error) {
    EXPECT_EQ("type name:1:401: error: " + std::string(tooDeep) + "\n  …" + repeated(30, "B<") + "C" +
                  repeated(59, ">") + "…\n  " + std::string(61, ' ') + "^",
              error.what());
  }
}

TEST(Nesting, CountsEveryRuleThatIsOpen) {
  EXPECT_TRUE(isDeepest(98, inMethod({"", "try {",
                                      "x = " + repeated(50, "(a + ") + repeated(50, "[") + "^y" + repeated(50, "]") +
                                          repeated(50, ")") + ";",
                                      "} catch (E e) {}", ""})));
  EXPECT_TRUE(isDeepest(99, inMethod({"", "try {", repeated(99, "B<") + "^C" + repeated(99, ">") + " x = null;",
                                      "} catch (E e) {}", ""})));
}

TEST(Nesting, CountsOnlyWhatIsStillOpen) {
  const std::string deep = repeated(198, "(") + "x" + repeated(198, ")");
  const std::string text = "class A { void m() { x = " + repeated(3, deep + " + ") + "1; x = " + deep + "; } }";
  EXPECT_NO_THROW(parseSource({"Main.ov", text}));
}

TEST(Nesting, OfAnyDepthIsRefusedWithoutExhaustingTheStack) {
  constexpr std::size_t deep = 100000;
  const auto isRefused = [](const std::string& text) {
    EXPECT_THROW(parseSource({"Main.ov", text}), SourceError) << text.substr(0, 60);
  };
  isRefused("class A { void m() { return " + repeated(deep, "("));
  isRefused("class A { void m() { " + repeated(deep, "["));
  isRefused("class A { void m() { " + repeated(deep, "a.m("));
  isRefused("class A { void m() { " + repeated(deep, "try {"));
  isRefused("class A { void m() { " + repeated(deep, "A<"));
  isRefused("class A { " + repeated(deep, "A<"));
  isRefused("class " + repeated(deep, "A<"));
  EXPECT_THROW(parseTypeName(repeated(deep, "A<")), SourceError);
}

static constexpr std::size_t many = 100000;

static SourceFile parsedBody(const std::string& statements) {
  return parseSource({"Main.ov", "class A { void m() { " + statements + " } }"});
}

static const Block& bodyOf(const SourceFile& file) { return file.classes.at(0).methods.at(0).body; }

static const Expression& returnedBy(const SourceFile& file) {
  return std::get<Return>(bodyOf(file).at(0).form).value.value();
}

TEST(Length, IsLimitedForParameters) {
  const auto parameters = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "int p" + std::to_string(i) + ", ";
    return text;
  };
  EXPECT_NO_THROW(parseSource({"Main.ov", "class A { void m(" + parameters(254) + "int last) {} }"}));
  EXPECT_TRUE(
      refuses("class A { void m(" + parameters(255) + "int ^last) {} }", "too many parameters: expected at most 255"));
}

TEST(Length, HasNoLimitForOperands) {
  const SourceFile sum = parsedBody("return 1" + repeated(many, " + 1") + ";");
  EXPECT_EQ(many + 1, std::get<Operation>(returnedBy(sum).form).operands.size());
  const SourceFile comparison = parsedBody("return 1" + repeated(many, " == 1") + ";");
  EXPECT_EQ(many, std::get<Operation>(returnedBy(comparison).form).operators.size());
}

TEST(Length, HasNoLimitForMembers) {
  const SourceFile names = parsedBody("return a" + repeated(many, ".b") + ";");
  EXPECT_EQ(many, std::get<MemberChain>(returnedBy(names).form).members.size());
  const SourceFile calls = parsedBody("return a" + repeated(many, ".m(1)") + ";");
  EXPECT_EQ(many, std::get<MemberChain>(returnedBy(calls).form).members.size());
}

TEST(Length, HasNoLimitForStatements) {
  EXPECT_EQ(many, bodyOf(parsedBody(repeated(many, "x = 1; "))).size());
  EXPECT_EQ(many, bodyOf(parsedBody(repeated(many, "a.B<C> x = 1;\n"))).size());
  EXPECT_EQ(many, bodyOf(parsedBody(repeated(many, "if (a) {} else {}"))).size());
}

TEST(Length, HasNoLimitForElementsAndArguments) {
  const SourceFile list = parsedBody("return [1" + repeated(many, ", 1") + "];");
  EXPECT_EQ(many + 1, std::get<ListLiteral>(returnedBy(list).form).elements.size());
  const SourceFile call = parsedBody("return a.m(1" + repeated(many, ", 1") + ");");
  EXPECT_EQ(many + 1, std::get<MemberChain>(returnedBy(call).form).members.at(0).arguments.size());
}

TEST(Length, HasNoLimitForTypes) {
  const TypeName type = parseTypeName("A<B" + repeated(many, ",B") + ">");
  EXPECT_EQ(many + 1, type.arguments.size());
  EXPECT_EQ(1 + 2 * many, parseTypeName("a" + repeated(many, ".b")).name.size());
}

TEST(Length, HasNoLimitForTokens) {
  const std::string text(many, 'x');
  const SourceFile file = parsedBody("return \"" + text + "\";" + "/*" + text + "*/ " + text + ";");
  EXPECT_EQ(text, std::get<StringLiteral>(returnedBy(file).form).text);
}
}  // namespace orva::language
