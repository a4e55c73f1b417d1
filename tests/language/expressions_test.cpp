// Expressions: how operands, members and literals join, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
TEST(Expression, HasItsTree) {
  const Table trees = {
      {R"("a\nb")", "\"a\nb\""},
      {"\"\xC3\xA9\xFF\"", "\"\xC3\xA9\xFF\""},
      {"9223372036854775807", "9223372036854775807"},
      {"true", "true"},
      {"false", "false"},
      {"null", "null"},
      {"name", "name"},
      {"[]", "[list]"},
      {"[\"a\", null, [b], c + d]", "[list \"a\" null [list b] (c + d)]"},
      {"a + 1 + \"b\"", "(a + 1 + \"b\")"},
      {"a == b != c", "(a == b != c)"},
      {"a!=b", "(a != b)"},
      {"a + b == c + d + e != f", "((a + b) == (c + d + e) != f)"},
      {"a + (b == c)", "(a + (b == c))"},
      {"a + (b + c)", "(a + (b + c))"},
      {"(a + b) + c", "((a + b) + c)"},
      {"((a))", "a"},
      {"a.b . c", "<a .b .c>"},
      {"a.b.C.method(x).size()", "<a .b .C .method(x) .size()>"},
      {"a.m(1, b + c, d.n())", "<a .m(1, (b + c), <d .n()>)>"},
      {"a.b + c.d()", "(<a .b> + <c .d()>)"},
      {"\"a\".size()", "<\"a\" .size()>"},
      {"[\"a\"].get(0)", "<[list \"a\"] .get(0)>"},
      {"(a + b).size()", "<(a + b) .size()>"},
      {"(a.b).c", "<<a .b> .c>"},
      {"1.name()", "<1 .name()>"},
      {"null.name()", "<null .name()>"},
  };
  for (const auto& [text, tree] : trees) EXPECT_EQ(tree, parsedExpression(text));
}

TEST(Expression, IsRefusedWhereItGoesWrong) {
  const Table refusals = {
      {"x = [^,];", "expected an expression, found ','"},
      {"x = [a,^];", "expected an expression, found ']'"},
      {"x = [a ^b];", "expected ']', found 'b'"},
      {"x = [a^;", "expected ']', found ';'"},
      {"x = a +^;", "expected an expression, found ';'"},
      {"x = ^+ a;", "expected an expression, found '+'"},
      {"x = a + ^+ b;", "expected an expression, found '+'"},
      {"x = a == ^== b;", "expected an expression, found '=='"},
      {"x = a ^b;", "expected ';', found 'b'"},
      {"x = (^);", "expected an expression, found ')'"},
      {"x = (a^;", "expected ')', found ';'"},
      {"x = a^);", "expected ';', found ')'"},
      {"x = (a^, b);", "expected ')', found ','"},
      {"a.^;", "expected a name after '.', found ';'"},
      {"a.^1;", "expected a name after '.', found '1'"},
      {"a.^.b;", "expected a name after '.', found '.'"},
      {"^.b;", "expected a statement, found '.'"},
      {"a.m()^();", "expected ';', found '('"},
      {"(a.m)^();", "expected ';', found '('"},
      {"a.m(^,);", "expected an expression, found ','"},
      {"a.m(b,^);", "expected an expression, found ')'"},
      {"a.m(b^;", "expected ')', found ';'"},
      {"a.m(int ^b);", "expected ')', found 'b'"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refusesBody(marked, message));
}

TEST(TreeText, SaysWhenAnOperatorHasNoOperand) {
  Operation broken;
  broken.operands.push_back({{}, NameUse{"a"}});
  broken.operators.emplace_back("+");
  EXPECT_EQ("(a operators left over)", treeText(Expression{{}, std::move(broken)}));
}

TEST(Expression, TellsWhereItAndItsMembersStand) {
  const SourceFile file = parseSource({"Main.ov", "class A { void m() {\nreturn  (a + b) == c.d\n .e(); } }"});
  const Statement& statement = file.classes.at(0).methods.at(0).body.at(0);
  const Expression& value = std::get<Return>(statement.form).value.value();
  EXPECT_EQ("2:10", placeText(value.position));
  const Expression& second = std::get<Operation>(value.form).operands.at(1);
  EXPECT_EQ("2:20", placeText(second.position));
  const auto& chain = std::get<MemberChain>(second.form);
  EXPECT_EQ("2:22", placeText(chain.members.at(0).position));
  EXPECT_EQ("3:3", placeText(chain.members.at(1).position));
}
}  // namespace orva::language
