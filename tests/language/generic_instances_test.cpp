// Sources generated for generic instances: what they alone may write, and what stays refused in them.
#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "reference_host/language/parser.h"
#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
namespace {

std::string parsedInstance(const std::string& text) {
  return treeText(parseSource({"Main.ov", text}, Origin::instance));
}

testing::AssertionResult refusesInstance(const std::string& marked, const std::string& message) {
  return refuses(marked, message, Origin::instance);
}

testing::AssertionResult refusesInstanceBody(const std::string& marked, const std::string& message) {
  return refusesInstance("class Main { void main() {\n" + marked + "\n} }", message);
}

TEST(InstanceSource, NamesItsClassAsTheInstance) {
  EXPECT_EQ("package 'p' class Box<a.B> {}", parsedInstance("package p; class Box<a.B> {}"));
  EXPECT_EQ("package '' class Map<int,a.B<c.D,E>> {a.B m(int i) {}}",
            parsedInstance("public class Map<int, a.B<c.D, E>> { a.B m(int i) {} }"));
  EXPECT_EQ("package '' class Plain {}", parsedInstance("class Plain {}"));
}

TEST(InstanceSource, HasNoTypeParameters) {
  const SourceFile file = parseSource({"Main.ov", "class Box<T> { void T() {} }"}, Origin::instance);
  EXPECT_TRUE(file.classes.at(0).typeParameters.empty());
  EXPECT_EQ("Box<T>", file.classes.at(0).name.text());
}

TEST(InstanceSource, MayRepeatAnArgument) {
  EXPECT_EQ("package '' class Pair<a.B,a.B> {}", parsedInstance("class Pair<a.B, a.B> {}"));
  EXPECT_EQ("package '' class Box<Box> {}", parsedInstance("class Box<Box> {}"));
}

TEST(InstanceSource, MayHoldOrdinaryClassesToo) {
  EXPECT_EQ("package '' class Box<a> {} class Plain {}", parsedInstance("class Box<a> {} class Plain {}"));
}

TEST(InstanceSource, RefusesArgumentsThatAreNoTypes) {
  EXPECT_TRUE(refusesInstance("class Box<^> {}", "expected a type, found '>'"));
  EXPECT_TRUE(refusesInstance("class Box<a.^> {}", "expected a name after '.', found '>'"));
  EXPECT_TRUE(refusesInstance("class Box<a,^> {}", "expected a type, found '>'"));
  EXPECT_TRUE(refusesInstance("class Box<a ^{}", "expected '>', found '{'"));
  EXPECT_TRUE(refusesInstance("class p^.Box<a> {}", "expected '{', found '.'"));
  EXPECT_TRUE(refusesInstance("class Box<a> {} class ^Box<b> {}", "class 'Box' is declared twice"));
}

TEST(InstanceSource, CallsMethodsOfGenericClasses) {
  EXPECT_EQ("<{class Box<c.D>} .m()>", parsedExpression("Box<c.D>.m()", Origin::instance));
  EXPECT_EQ("<{class a.b.Box<c.D>} .m(1) .size()>", parsedExpression("a.b.Box<c.D>.m(1).size()", Origin::instance));
  EXPECT_EQ("(<{class Box<A<B>,int>} .m(<{class Box<C>} .n()>)> + x)",
            parsedExpression("Box<A<B>, int>.m(Box<C>.n()) + x", Origin::instance));
  EXPECT_EQ("<a .b .c()>", parsedExpression("a.b.c()", Origin::instance));
}

TEST(InstanceSource, TellsDeclarationsFromCalls) {
  EXPECT_EQ("(do <{class a.Box<c.D>} .m()>)", parsedStatements("a.Box<c.D>.m();", Origin::instance));
  EXPECT_EQ("(let a.Box<c.D> x <{class a.Box<c.D>} .m()>)",
            parsedStatements("a.Box<c.D> x = a.Box<c.D>.m();", Origin::instance));
}

TEST(InstanceSource, TellsWhereAGenericClassStands) {
  const SourceFile file = parseSource({"Main.ov", "class A { void m() {\n a.b.Box<c.D>.m(); } }"}, Origin::instance);
  const Statement& statement = file.classes.at(0).methods.at(0).body.at(0);
  const auto& chain = std::get<MemberChain>(std::get<ExpressionStatement>(statement.form).value.form);
  EXPECT_EQ(2U, chain.start->position.line);
  EXPECT_EQ(2U, chain.start->position.column);
  const auto& use = std::get<ClassUse>(chain.start->form);
  EXPECT_EQ(2U, use.type.position.column);
  EXPECT_EQ(10U, use.type.arguments.at(0).position.column);
  EXPECT_EQ(15U, chain.members.at(0).position.column);
}

TEST(InstanceSource, RefusesGenericClassesThatAreNotCalled) {
  EXPECT_TRUE(refusesInstanceBody("return Box<c.D>^;", "expected '.', found ';'"));
  EXPECT_TRUE(refusesInstanceBody("Box<c.D> ^+ 1;", "expected '.', found '+'"));
  EXPECT_TRUE(refusesInstanceBody("Box<^>.m();", "expected a type, found '>'"));
  EXPECT_TRUE(refusesInstanceBody("Box<A ^B>.m();", "expected '>', found 'B'"));
  EXPECT_TRUE(refusesInstanceBody("a < b^;", "expected '>', found ';'"));
}

TEST(InstanceSource, RefusesArgumentsAfterAnythingButAClass) {
  EXPECT_TRUE(refusesInstanceBody("a.m()^<B>.n();", "expected ';', found '<'"));
  EXPECT_TRUE(refusesInstanceBody("a.m().n^<B>.n();", "expected ';', found '<'"));
  EXPECT_TRUE(refusesInstanceBody("Box<A>.b^<C>.n();", "expected ';', found '<'"));
  EXPECT_TRUE(refusesInstanceBody("(a + b).c^<D>.n();", "expected ';', found '<'"));
  EXPECT_TRUE(refusesInstanceBody("\"a\"^<B>.n();", "expected ';', found '<'"));
  EXPECT_TRUE(refusesInstanceBody("1.a^<B>.n();", "expected ';', found '<'"));
}

}  // namespace
}  // namespace orva::language
