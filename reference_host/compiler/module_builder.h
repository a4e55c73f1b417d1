// The LLVM module of one class: constants, the runtime's operations, and calls that are linked when first made.
#pragma once

#include <llvm/IR/IRBuilder.h>
#include <llvm/IR/Module.h>

#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "reference_host/language/source_text.h"
#include "reference_host/language/syntax_tree.h"
#include "reference_host/runtime/call_stack.h"
#include "reference_host/runtime/operations.h"
#include "reference_host/runtime/type.h"

namespace orva::compiler {

namespace op = runtime::op;

/// What generated code passes for each parameter of a C++ function, so that the number of values is checked.
template <typename Parameter>
struct Passed {
  using Value = llvm::Value*;
};

/// Builds what several methods of a class share. int and boolean are i64, every other type is a pointer.
class ModuleBuilder {
 public:
  ModuleBuilder(const std::string& name, const language::SourceText& source, const language::SourceFile& file,
                llvm::LLVMContext& context);

  llvm::Module& module() { return *module_; }
  std::unique_ptr<llvm::Module> take() { return std::move(module_); }

  llvm::Type* word() { return llvm::Type::getInt64Ty(module_->getContext()); }
  llvm::PointerType* pointer() { return llvm::PointerType::getUnqual(module_->getContext()); }
  llvm::Type* typeOf(const std::string& type);

  /// A type with the size of the runtime's `CallFrame`.
  llvm::Type* callFrame() { return llvm::ArrayType::get(word(), sizeof(runtime::CallFrame) / sizeof(int64_t)); }

  /// The machine signature of a method: receiver, arguments, call site.
  llvm::FunctionType* functionType(const runtime::MethodSignature& signature);

  /// A new function that other code can unwind through.
  /// @param name contains a colon, so that it never clashes with a symbol of C, of LLVM or of the runtime, whatever
  /// names the program uses.
  llvm::Function* addFunction(llvm::FunctionType* type, const std::string& name,
                              llvm::GlobalValue::LinkageTypes linkage = llvm::GlobalValue::InternalLinkage);

  llvm::Constant* text(const std::string& text);
  llvm::Constant* number(int64_t value);
  /// A constant array; null when it is empty.
  llvm::Constant* array(const std::vector<llvm::Constant*>& elements);
  llvm::Constant* textArray(const std::vector<std::string>& texts);
  llvm::Constant* structure(const std::vector<llvm::Constant*>& fields);
  /// The constant `SourceLocation` of a line.
  llvm::Constant* location(language::Position position);
  /// A constant that other constants and code refer to.
  llvm::Constant* constant(llvm::Constant* value);

  /// An operation of the runtime, declared by the type of its function.
  template <typename Result, typename... Parameters>
  llvm::FunctionCallee operation(const runtime::Operation<Result(Parameters...)>& operation) {
    auto* type = llvm::FunctionType::get(machineType<Result>(), {machineType<Parameters>()...}, false);
    return module_->getOrInsertFunction(operation.name, type);
  }

  /// Calls an operation whose exceptions, if any, the calling function does not catch.
  template <typename Result, typename... Parameters>
  llvm::CallInst* call(llvm::IRBuilder<>& ir, const runtime::Operation<Result(Parameters...)>& operation,
                       typename Passed<Parameters>::Value... arguments) {
    return ir.CreateCall(this->operation(operation), {arguments...});
  }

  /// A function that calls a method of another class, and finds it on the first call.
  llvm::Function* linkedMethod(const std::string& className, const runtime::MethodSignature& signature);

  /// A value as a 64-bit word, and a word as a value of a type.
  llvm::Value* toWord(llvm::IRBuilder<>& builder, llvm::Value* value);
  llvm::Value* fromWord(llvm::IRBuilder<>& builder, llvm::Value* word, const std::string& type);

 private:
  template <typename Value>
  llvm::Type* machineType() {
    if constexpr (std::is_void_v<Value>) {
      return llvm::Type::getVoidTy(module_->getContext());
    } else if constexpr (std::is_pointer_v<Value>) {
      return pointer();
    } else {
      static_assert(std::is_same_v<Value, int64_t>, "compiled code knows words and pointers");
      return word();
    }
  }

  void buildLink(llvm::Function* function, const std::string& className, const runtime::MethodSignature& signature);

  const language::SourceText& source_;
  const language::SourceFile& file_;
  std::unique_ptr<llvm::Module> module_;
  std::map<std::string, llvm::Constant*> texts_;
  std::map<std::size_t, llvm::Constant*> locations_;
  std::map<std::string, llvm::Function*> links_;
};

/// Spelled types joined by commas.
std::string joinTypes(const std::vector<std::string>& types);

}  // namespace orva::compiler
