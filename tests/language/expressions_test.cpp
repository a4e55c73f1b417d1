// Expressions: how operands, members and literals join, and which are refused.
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
namespace {

const char* const notThroughItsType =
    "a method of a generic class is called through its type, as in 'type.call(\"method\")'";

TEST(Expression, IsALiteralOrAName) {
  EXPECT_EQ("\"a\nb\"", parsedExpression(R"("a\nb")"));
  EXPECT_EQ("\"\xC3\xA9\xFF\"", parsedExpression("\"\xC3\xA9\xFF\""));
  EXPECT_EQ("9223372036854775807", parsedExpression("9223372036854775807"));
  EXPECT_EQ("true", parsedExpression("true"));
  EXPECT_EQ("false", parsedExpression("false"));
  EXPECT_EQ("null", parsedExpression("null"));
  EXPECT_EQ("name", parsedExpression("name"));
}

TEST(Expression, IsAListOfAnyElements) {
  EXPECT_EQ("[list]", parsedExpression("[]"));
  EXPECT_EQ("[list \"a\" null [list b] (c + d)]", parsedExpression("[\"a\", null, [b], c + d]"));
}

TEST(Expression, RefusesOtherLists) {
  EXPECT_TRUE(refusesBody("x = [^,];", "expected an expression, found ','"));
  EXPECT_TRUE(refusesBody("x = [a,^];", "expected an expression, found ']'"));
  EXPECT_TRUE(refusesBody("x = [a ^b];", "expected ']', found 'b'"));
  EXPECT_TRUE(refusesBody("x = [a^;", "expected ']', found ';'"));
  EXPECT_TRUE(
      refusesBody("x = a^[1];", "there are no arrays: expected an 'ArrayList<String>', whose elements 'get' reads"));
}

TEST(Expression, JoinsOperandsFromTheLeft) {
  EXPECT_EQ("(a + 1 + \"b\")", parsedExpression("a + 1 + \"b\""));
  EXPECT_EQ("(a == b != c)", parsedExpression("a == b != c"));
  EXPECT_EQ("(a != b)", parsedExpression("a!=b"));
}

TEST(Expression, AddsBeforeItCompares) {
  EXPECT_EQ("((a + b) == (c + d + e) != f)", parsedExpression("a + b == c + d + e != f"));
}

TEST(Expression, KeepsWhatParenthesesJoin) {
  EXPECT_EQ("(a + (b == c))", parsedExpression("a + (b == c)"));
  EXPECT_EQ("(a + (b + c))", parsedExpression("a + (b + c)"));
  EXPECT_EQ("((a + b) + c)", parsedExpression("(a + b) + c"));
  EXPECT_EQ("a", parsedExpression("((a))"));
}

TEST(Expression, RefusesOperatorsWithoutOperands) {
  EXPECT_TRUE(refusesBody("x = a +^;", "expected an expression, found ';'"));
  EXPECT_TRUE(refusesBody("x = ^+ a;", "expected an expression, found '+'"));
  EXPECT_TRUE(refusesBody("x = a + ^+ b;", "expected an expression, found '+'"));
  EXPECT_TRUE(refusesBody("x = a == ^== b;", "expected an expression, found '=='"));
  EXPECT_TRUE(refusesBody("x = a ^b;", "expected ';', found 'b'"));
  EXPECT_TRUE(refusesBody("x = ^-1;", "there is no '-': integers can only be added"));
  EXPECT_TRUE(refusesBody("x = ^!a;", "there is no '!': compare with 'false', as in 'done == false'"));
  EXPECT_TRUE(refusesBody("x = a ^< b;", "there is no '<': values are compared with '==' and '!='"));
}

TEST(Expression, RefusesParenthesesThatDoNotMatch) {
  EXPECT_TRUE(refusesBody("x = (^);", "expected an expression, found ')'"));
  EXPECT_TRUE(refusesBody("x = (a^;", "expected ')', found ';'"));
  EXPECT_TRUE(refusesBody("x = a^);", "expected ';', found ')'"));
  EXPECT_TRUE(refusesBody("x = (a^, b);", "expected ')', found ','"));
}

TEST(Expression, HasMembers) {
  EXPECT_EQ("<a .b .c>", parsedExpression("a.b . c"));
  EXPECT_EQ("<a .b .C .method(x) .size()>", parsedExpression("a.b.C.method(x).size()"));
  EXPECT_EQ("<a .m(1, (b + c), <d .n()>)>", parsedExpression("a.m(1, b + c, d.n())"));
  EXPECT_EQ("(<a .b> + <c .d()>)", parsedExpression("a.b + c.d()"));
}

TEST(Expression, HasMembersAfterAnyPrimary) {
  EXPECT_EQ("<\"a\" .size()>", parsedExpression("\"a\".size()"));
  EXPECT_EQ("<[list \"a\"] .get(0)>", parsedExpression("[\"a\"].get(0)"));
  EXPECT_EQ("<(a + b) .size()>", parsedExpression("(a + b).size()"));
  EXPECT_EQ("<<a .b> .c>", parsedExpression("(a.b).c"));
  EXPECT_EQ("<1 .name()>", parsedExpression("1.name()"));
  EXPECT_EQ("<null .name()>", parsedExpression("null.name()"));
}

TEST(Expression, RefusesOtherMembers) {
  EXPECT_TRUE(refusesBody("a.^;", "expected a name after '.', found ';'"));
  EXPECT_TRUE(refusesBody("a.^1;", "expected a name after '.', found '1'"));
  EXPECT_TRUE(refusesBody("a.^class;", "expected a name after '.', found 'class'"));
  EXPECT_TRUE(refusesBody("a.^.b;", "expected a name after '.', found '.'"));
  EXPECT_TRUE(refusesBody("^.b;", "expected a statement, found '.'"));
}

TEST(Expression, RefusesOtherCalls) {
  EXPECT_TRUE(refusesBody("^m();", "methods are called as 'Class.m(…)': expected a class before 'm'"));
  EXPECT_TRUE(refusesBody("a.m()^();", "expected ';', found '('"));
  EXPECT_TRUE(refusesBody("(a.m)^();", "expected ';', found '('"));
  EXPECT_TRUE(refusesBody("a.m(^,);", "expected an expression, found ','"));
  EXPECT_TRUE(refusesBody("a.m(b,^);", "expected an expression, found ')'"));
  EXPECT_TRUE(refusesBody("a.m(b^;", "expected ')', found ';'"));
  EXPECT_TRUE(refusesBody("a.m(int ^b);", "expected ')', found 'b'"));
}

TEST(Expression, IsNoGenericClassInAWrittenSource) {
  EXPECT_TRUE(refusesBody("Box^<c.D>.m();", notThroughItsType));
  EXPECT_TRUE(refusesBody("a.b.Box^<c.D>.m();", notThroughItsType));
  EXPECT_TRUE(refusesBody("return a.b.Box^<c.D>.m();", notThroughItsType));
}

TEST(Expression, TellsWhereItAndItsMembersStand) {
  const SourceFile file = parseSource({"Main.ov", "class A { void m() {\nreturn  (a + b) == c.d\n .e(); } }"});
  const Statement& statement = file.classes.at(0).methods.at(0).body.at(0);
  const Expression& value = std::get<Return>(statement.form).value.value();
  EXPECT_EQ(2U, value.position.line);
  EXPECT_EQ(10U, value.position.column);
  const Expression& second = std::get<Operation>(value.form).operands.at(1);
  EXPECT_EQ(20U, second.position.column);
  const auto& chain = std::get<MemberChain>(second.form);
  EXPECT_EQ(22U, chain.members.at(0).position.column);
  EXPECT_EQ(3U, chain.members.at(1).position.line);
  EXPECT_EQ(3U, chain.members.at(1).position.column);
}

}  // namespace
}  // namespace orva::language
