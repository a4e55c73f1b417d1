// One overload for each form of the syntax tree.
#include "tree_text.h"

#include <variant>

namespace orva::language {

template <typename Items>
static std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : separator) + treeText(item);
  return text;
}

namespace {

struct ExpressionText {
  std::string operator()(const StringLiteral& literal) const { return "\"" + literal.text + "\""; }
  std::string operator()(const IntegerLiteral& literal) const { return std::to_string(literal.value); }
  std::string operator()(const BooleanLiteral& literal) const { return literal.value ? "true" : "false"; }
  std::string operator()(const NullLiteral&) const { return "null"; }
  std::string operator()(const NameUse& use) const { return use.name; }
  std::string operator()(const ListLiteral& literal) const { return "[list" + spaced(literal.elements) + "]"; }

  /// Writes operators between their operands, since the tree is flat.
  std::string operator()(const Operation& operation) const {
    std::string text = "(" + treeText(operation.operands.at(0));
    for (std::size_t i = 1; i < operation.operands.size(); ++i) {
      text += " " + operation.operators.at(i - 1) + " " + treeText(operation.operands[i]);
    }
    return text + (operation.operators.size() + 1 == operation.operands.size() ? ")" : " operators left over)");
  }

  std::string operator()(const MemberChain& chain) const {
    std::string text = "<" + treeText(*chain.start);
    for (const Member& member : chain.members) {
      text += " ." + member.name;
      if (member.isCall) text += "(" + joined(member.arguments, ", ") + ")";
    }
    return text + ">";
  }

  static std::string spaced(const std::vector<Expression>& elements) {
    std::string text;
    for (const Expression& element : elements) text += " " + treeText(element);
    return text;
  }
};

struct StatementText {
  std::string operator()(const Declaration& form) const {
    return "(let " + form.type.text() + " " + form.name + " " + treeText(form.value) + ")";
  }
  std::string operator()(const Assignment& form) const {
    return "(set " + form.name + " " + treeText(form.value) + ")";
  }
  std::string operator()(const ExpressionStatement& form) const { return "(do " + treeText(form.value) + ")"; }
  std::string operator()(const Return& form) const {
    return form.value ? "(return " + treeText(*form.value) + ")" : "(return)";
  }
  std::string operator()(const If& form) const {
    return "(if " + treeText(form.condition) + " " + treeText(form.then) + " " + treeText(form.otherwise) + ")";
  }
  std::string operator()(const Try& form) const {
    return "(try " + treeText(form.body) + " " + form.exceptionClass + " " + form.variable + " " +
           treeText(form.handler) + ")";
  }
  std::string operator()(const Throw& form) const {
    return "(throw " + form.exceptionClass + " " + treeText(form.message) + ")";
  }
};

}  // namespace

std::string treeText(const Expression& expression) { return std::visit(ExpressionText(), expression.form); }

std::string treeText(const Statement& statement) { return std::visit(StatementText(), statement.form); }

std::string treeText(const Block& block) { return "{" + joined(block, " ") + "}"; }

static std::string treeText(const Parameter& parameter) { return parameter.type.text() + " " + parameter.name; }

std::string treeText(const MethodDeclaration& method) {
  return std::string(method.isStatic ? "static " : "") + (method.isNative ? "native " : "") + method.result.text() +
         " " + method.name + "(" + joined(method.parameters, ", ") + ") " + treeText(method.body);
}

std::string treeText(const ClassDeclaration& declaration) {
  std::string text = "class " + declaration.name;
  for (const TypeParameter& parameter : declaration.typeParameters) text += " $" + parameter.name;
  return text + " {" + joined(declaration.methods, "; ") + "}";
}

std::string treeText(const SourceFile& file) { return "package '" + file.package + "' " + joined(file.classes, " "); }

std::string placeText(Position position) {
  return std::to_string(position.line) + ":" + std::to_string(position.column);
}

std::string parsedStatements(const std::string& text) {
  const SourceFile file = parseSource({"Main.ov", "class Main { void main() {" + text + "\n} }"});
  return joined(file.classes.at(0).methods.at(0).body, " ");
}

std::string parsedExpression(const std::string& text) {
  const SourceFile file = parseSource({"Main.ov", "class Main { void main() { return " + text + "\n; } }"});
  const auto& parsed = std::get<Return>(file.classes.at(0).methods.at(0).body.at(0).form);
  return treeText(parsed.value.value());
}

std::string parsedFile(const std::string& text) { return treeText(parseSource({"Main.ov", text})); }

}  // namespace orva::language
