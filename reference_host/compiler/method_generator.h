// Turns the body of a method into machine-independent code.
#pragma once

#include <llvm/IR/IRBuilder.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "reference_host/compiler/class_catalog.h"
#include "reference_host/compiler/module_builder.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::compiler {

/// What the generators of one class's methods share.
struct ClassScope {
  const Scope names;
  const std::string fullName;
  const ClassCatalog& catalog;
  ModuleBuilder& builder;
  /// The functions of the class's own methods, by name.
  std::map<std::string, llvm::Function*> functions;
  std::vector<language::Diagnostic>& diagnostics;
  /// The class itself, which may be an instance of a generic class.
  ClassSummary own;
};

/// Generates one method. Adds its errors to the class's diagnostics, at most one for each statement.
class MethodGenerator {
 public:
  MethodGenerator(ClassScope& scope, const language::MethodDeclaration& method,
                  const runtime::MethodSignature& signature);

  void generate();

 private:
  struct Value {
    llvm::Value* value;  ///< a word if the type is not known
    std::string type;    ///< `null` for the literal, `void` for a call without a result, empty when it is not known
    llvm::Value* typeAtRun = nullptr;  ///< the spelled type, if it is known only at run time

    bool isDynamic() const { return typeAtRun != nullptr; }
  };
  struct Variable {
    std::string type;
    llvm::AllocaInst* place = nullptr;  ///< null when the declaration is wrong
  };

  void generateBody();
  /// Moves the generated code into a second function. The method calls it after checking that the stack has room for
  /// the large frame.
  /// @param size of the frame, in bytes.
  void callWithRoom(std::size_t size);
  /// The method's full name, and where it was called.
  llvm::Value* name();
  llvm::Value* callSite() const;

  // Statements.
  void block(const language::Block& statements);
  void statement(const language::Statement& statement);
  void generate(const language::Declaration& declaration, language::Position position);
  void generate(const language::Assignment& assignment, language::Position position);
  void generate(const language::ExpressionStatement& statement, language::Position position);
  void generate(const language::Return& statement, language::Position position);
  void generate(const language::If& statement, language::Position position);
  void generate(const language::Try& statement, language::Position position);
  void generate(const language::Throw& statement, language::Position position);
  void handler(const language::Try& statement, llvm::BasicBlock* next);
  /// The one block that receives all exceptions that a `try` of this method may catch. It jumps to the handler of the
  /// active `try`. There is only one because LLVM's time for a method is quadratic in the number of such blocks.
  llvm::BasicBlock* landing();
  /// Stores which handler the landing jumps to from here on.
  void noteActiveTry();
  /// Ends the landing, once all handlers are known.
  void goToHandlers();
  /// Generates a binary search for the handler with a number.
  void goToHandler(llvm::Value* number, std::size_t first, std::size_t end);
  /// The name by which a handler catches a class: without its package and its arguments, as natives raise it.
  std::string exceptionClass(const std::string& name, language::Position position) const;
  /// Returns from the method; `result` is null if it returns nothing.
  void leave(llvm::Value* result);

  // Expressions. `wanted` is the type that the context requires; empty if it accepts any, `void` if it drops the value.
  // A call whose method is found at run time has that type, or the type of its result if `wanted` is empty.
  Value expression(const language::Expression& expression, const std::string& wanted);
  Value generate(const language::StringLiteral& literal, language::Position position, const std::string& wanted);
  Value generate(const language::IntegerLiteral& literal, language::Position position, const std::string& wanted);
  Value generate(const language::BooleanLiteral& literal, language::Position position, const std::string& wanted);
  Value generate(const language::NullLiteral& literal, language::Position position, const std::string& wanted);
  Value generate(const language::NameUse& use, language::Position position, const std::string& wanted);
  Value generate(const language::ListLiteral& literal, language::Position position, const std::string& wanted);
  Value generate(const language::Operation& operation, language::Position position, const std::string& wanted);
  Value generate(const language::MemberChain& chain, language::Position position, const std::string& wanted);
  Value add(const Value& left, const Value& right, language::Position position);
  Value compare(const Value& left, const Value& right, bool equal, language::Position position);
  Value dynamicSum(const Value& left, const Value& right, language::Position position);
  llvm::Value* dynamicComparison(const Value& left, const Value& right, language::Position position);
  Value asText(const Value& value, language::Position position);
  /// A value as a word, and its spelled type.
  llvm::Value* wordOf(const Value& value);
  llvm::Value* spelledType(const Value& value);
  /// Where an operation stores the spelled type of its result.
  llvm::Value* placeOfType();
  /// What an operation returned as a word, and its type.
  Value dynamicValue(llvm::Value* word);
  /// Evaluates an expression that must be of a type.
  llvm::Value* valueOf(const language::Expression& expression, const std::string& type);

  // Calls.
  Value staticCall(const std::string& className, const language::Member& member, const std::string& wanted);
  /// A call of a method that may be known already; `receiver` is null for a static method.
  Value linkedCall(const ClassSummary& summary, const language::Member& member, const Value* receiver,
                   const std::string& wanted);
  Value memberCall(const Value& receiver, const language::Member& member, const std::string& wanted);
  Value builtInCall(const Value& receiver, const language::Member& member, const std::string& wanted);
  Value typeCall(const Value& receiver, const language::Member& member);
  // Calls whose methods are found and checked at run time, against the classes that exist when the call is made.
  Value callByName(const std::string& className, const std::vector<std::string>& candidates,
                   const language::Member& member, const std::vector<Value>& arguments, const std::string& wanted);
  Value callMember(const Value& receiver, const language::Member& member, const std::vector<Value>& arguments,
                   const std::string& wanted);
  Value lateResult(llvm::Value* word, const std::string& wanted);
  /// Evaluates arguments; `method` is null if it is found at run time.
  std::vector<Value> arguments(const language::Member& member, const runtime::MethodSignature* method);
  /// Tells whether a method accepts arguments. Those of unknown type are assumed to fit.
  static bool fits(const std::string& typeName, const language::Member& member, const runtime::MethodSignature* method,
                   bool isStaticCall, const std::vector<Value>& arguments);
  static bool isAnyDynamic(const std::vector<Value>& values);
  /// The words and the spelled types of arguments, as two arrays in the frame.
  struct WordArguments {
    llvm::Value* count;
    llvm::Value* words;
    llvm::Value* types;
  };
  WordArguments wordArguments(const std::vector<Value>& values);
  /// Returns the array that all calls of a method share, enlarged if necessary: a call reads it before the next one is
  /// prepared.
  llvm::Value* sharedArray(llvm::AllocaInst*& array, llvm::ArrayType* type, const std::string& name);

  const ClassSummary* summaryOf(const std::string& fullName) const;
  Variable* findVariable(const std::string& name);
  /// A variable that must be declared; fails if it is not, without another message if its declaration is wrong.
  Variable* knownVariable(const std::string& name, language::Position position);
  std::string typeOfVariable(const language::Declaration& declaration, language::Position position);
  Variable& declareVariable(const std::string& name, const std::string& type, language::Position position);
  std::string resolved(const language::TypeName& type);
  llvm::AllocaInst* allocate(llvm::Type* type, const std::string& name);
  llvm::BasicBlock* newBlock(const std::string& name);
  /// Ends the current block with a jump, unless it has ended.
  void jump(llvm::BasicBlock* target);
  /// Tells whether control can reach the end of the code generated so far.
  bool isReachable() const;
  bool hasEnded() const { return ir_.GetInsertBlock()->getTerminator() != nullptr; }
  llvm::Value* call(llvm::FunctionCallee callee, const std::vector<llvm::Value*>& arguments);
  template <typename Result, typename... Parameters>
  llvm::Value* call(const runtime::Operation<Result(Parameters...)>& operation,
                    typename Passed<Parameters>::Value... arguments) {
    return call(builder_.operation(operation), {arguments...});
  }

  [[noreturn]] static void failDeclaredTwice(const std::string& name, language::Position position);
  [[noreturn]] static void fail(language::Position position, const std::string& message);

  ClassScope& scope_;
  ModuleBuilder& builder_;
  const language::MethodDeclaration& method_;
  const runtime::MethodSignature& signature_;
  llvm::Function* function_;
  llvm::IRBuilder<> ir_;
  /// The method's `CallFrame`.
  llvm::AllocaInst* frame_ = nullptr;
  llvm::AllocaInst* placeOfType_ = nullptr;
  llvm::AllocaInst* wordArguments_ = nullptr;
  llvm::AllocaInst* typesOfArguments_ = nullptr;
  std::vector<std::map<std::string, Variable>> variables_;
  /// Where calls unwind to; null outside of every `try`.
  llvm::BasicBlock* landing_ = nullptr;
  llvm::BasicBlock* landingOfAll_ = nullptr;
  /// The exception that arrived there.
  llvm::Value* exception_ = nullptr;
  /// The handler of each `try`, the number of the active one, and the variable that holds it.
  std::vector<llvm::BasicBlock*> handlers_;
  std::size_t activeTry_ = 0;
  llvm::AllocaInst* placeOfTry_ = nullptr;
  /// Which handler a call in a block unwinds to.
  std::map<const llvm::BasicBlock*, llvm::BasicBlock*> handlersOfCalls_;
  unsigned calls_ = 0;
};

}  // namespace orva::compiler
