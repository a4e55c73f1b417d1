// The syntax tree of a source file.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "reference_host/language/source_text.h"

namespace orva::language {

/// A type as written: a qualified name and, for a generic type, its arguments.
struct TypeName {
  std::string name;
  std::vector<TypeName> arguments;
  Position position;

  /// The spelling without blanks, such as `a.B<c.D,int>`.
  std::string text() const;
};

struct Expression;
struct Statement;
using ExpressionPointer = std::unique_ptr<Expression>;
using Block = std::vector<Statement>;

struct StringLiteral {
  std::string text;
};
struct IntegerLiteral {
  int64_t value;
};
struct BooleanLiteral {
  bool value;
};
struct NullLiteral {};
struct NameUse {
  std::string name;
};
struct ListLiteral {
  std::vector<Expression> elements;
};
/// Operands joined from left to right by `==` and `!=`, or by `+`.
struct Operation {
  std::vector<Expression> operands;
  std::vector<std::string> operators;  ///< operator i comes before operand i + 1
};
/// What follows a dot: a name or a call.
struct Member {
  std::string name;
  bool isCall;
  std::vector<Expression> arguments;
  Position position;
};
/// An expression followed by members, such as `a.b.C.method(x).size()`.
struct MemberChain {
  ExpressionPointer start;
  std::vector<Member> members;
};

struct Expression {
  Position position;
  std::variant<StringLiteral, IntegerLiteral, BooleanLiteral, NullLiteral, NameUse, ListLiteral, Operation, MemberChain>
      form;
};

struct Declaration {
  TypeName type;
  std::string name;
  Expression value;
};
struct Assignment {
  std::string name;
  Expression value;
};
struct ExpressionStatement {
  Expression value;
};
struct Return {
  std::optional<Expression> value;
};
struct If {
  Expression condition;
  Block then;
  Block otherwise;
};
struct Try {
  Block body;
  std::string exceptionClass;
  std::string variable;
  Position variablePosition;
  Block handler;
};
struct Throw {
  std::string exceptionClass;
  Expression message;
};

struct Statement {
  Position position;
  std::variant<Declaration, Assignment, ExpressionStatement, Return, If, Try, Throw> form;
};

struct Parameter {
  TypeName type;
  std::string name;
  Position position;
};

struct MethodDeclaration {
  bool isStatic = false;
  bool isNative = false;
  TypeName result;
  std::string name;
  Position position;
  std::vector<Parameter> parameters;
  Block body;  ///< empty for a native method
};

struct TypeParameter {
  std::string name;
  Position position;
};

struct ClassDeclaration {
  std::string name;
  Position position;  ///< of the name
  std::vector<TypeParameter> typeParameters;
  std::vector<MethodDeclaration> methods;
};

struct SourceFile {
  std::string package;  ///< empty when none is declared
  Position packagePosition;
  std::vector<ClassDeclaration> classes;
  std::map<std::string, std::size_t> places;  ///< the index of each class in the list, by name
  std::vector<std::size_t> lineStarts;        ///< of the text that was parsed

  /// The class with a full name; null if the file does not declare it.
  const ClassDeclaration* find(const std::string& fullName) const;

  /// A name, qualified with the file's package.
  std::string qualify(const std::string& name) const { return package.empty() ? name : package + "." + name; }
};

}  // namespace orva::language
