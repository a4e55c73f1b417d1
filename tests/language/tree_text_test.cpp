// Trees that differ must have texts that differ, or comparing texts proves nothing.
#include "tree_text.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>

namespace orva::language {
namespace {

Expression nameOf(const std::string& name) { return {{}, NameUse{name}}; }

Expression operation(const std::string& first, const std::string& second, const std::string& operatorText) {
  Operation joined;
  joined.operands.push_back(nameOf(first));
  joined.operands.push_back(nameOf(second));
  joined.operators.push_back(operatorText);
  return {{}, std::move(joined)};
}

TEST(TreeText, TellsTheFormsOfExpressionsApart) {
  std::set<std::string> texts;
  texts.insert(treeText(nameOf("a")));
  texts.insert(treeText(Expression{{}, StringLiteral{"a"}}));
  texts.insert(treeText(Expression{{}, IntegerLiteral{1}}));
  texts.insert(treeText(Expression{{}, BooleanLiteral{true}}));
  texts.insert(treeText(Expression{{}, BooleanLiteral{false}}));
  texts.insert(treeText(Expression{{}, NullLiteral{}}));
  texts.insert(treeText(Expression{{}, ListLiteral{}}));
  texts.insert(treeText(operation("a", "b", "==")));
  texts.insert(treeText(operation("a", "b", "!=")));
  texts.insert(treeText(operation("b", "a", "==")));
  EXPECT_EQ(10U, texts.size());
}

TEST(TreeText, TellsCallsFromNames) {
  const auto chain = [](bool isCall) {
    MemberChain form;
    form.start = std::make_unique<Expression>(nameOf("a"));
    form.members.push_back({"b", isCall, {}, {}});
    return treeText(Expression{{}, std::move(form)});
  };
  EXPECT_EQ("<a .b>", chain(false));
  EXPECT_EQ("<a .b()>", chain(true));
}

TEST(TreeText, SaysWhenAnOperatorHasNoOperand) {
  Expression broken = operation("a", "b", "+");
  std::get<Operation>(broken.form).operators.emplace_back("+");
  EXPECT_EQ("(a + b operators left over)", treeText(broken));
}

TEST(TreeText, TellsTheFormsOfStatementsApart) {
  std::set<std::string> texts;
  texts.insert(treeText(Statement{{}, Assignment{"a", nameOf("b")}}));
  texts.insert(treeText(Statement{{}, Declaration{{"int", {}, {}}, "a", nameOf("b")}}));
  texts.insert(treeText(Statement{{}, ExpressionStatement{nameOf("b")}}));
  texts.insert(treeText(Statement{{}, Return{nameOf("b")}}));
  texts.insert(treeText(Statement{{}, Return{}}));
  texts.insert(treeText(Statement{{}, Throw{"a", nameOf("b")}}));
  EXPECT_EQ(6U, texts.size());
}

TEST(TreeText, TellsGenericClassesFromOthers) {
  ClassDeclaration plain;
  plain.name = "Box";
  ClassDeclaration generic = {"Box", {}, {{"T", {}}}, {}};
  EXPECT_EQ("class Box {}", treeText(plain));
  EXPECT_EQ("class Box $T {}", treeText(generic));
}

}  // namespace
}  // namespace orva::language
