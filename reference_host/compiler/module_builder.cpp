// Writes constants and links into a module.
#include "reference_host/compiler/module_builder.h"

#include <llvm/IR/Constants.h>

#include "reference_host/compiler/linkage.h"

namespace orva::compiler {

using llvm::Constant;

ModuleBuilder::ModuleBuilder(const std::string& name, const language::SourceText& source,
                             const language::SourceFile& file, llvm::LLVMContext& context)
    : source_(source), file_(file), module_(std::make_unique<llvm::Module>(name, context)) {}

llvm::Type* ModuleBuilder::typeOf(const std::string& type) {
  if (type == "void") return llvm::Type::getVoidTy(module_->getContext());
  return runtime::isPointerType(type) ? pointer() : word();
}

llvm::FunctionType* ModuleBuilder::functionType(const runtime::MethodSignature& signature) {
  std::vector<llvm::Type*> parameters;
  if (!signature.isStatic) parameters.push_back(pointer());
  for (const std::string& parameter : signature.parameters) parameters.push_back(typeOf(parameter));
  parameters.push_back(pointer());
  return llvm::FunctionType::get(typeOf(signature.result), parameters, false);
}

llvm::Function* ModuleBuilder::addFunction(llvm::FunctionType* type, const std::string& name,
                                           llvm::GlobalValue::LinkageTypes linkage) {
  llvm::Function* function = llvm::Function::Create(type, linkage, name, *module_);
  function->setUWTableKind(llvm::UWTableKind::Default);
  return function;
}

Constant* ModuleBuilder::constant(Constant* value) {
  auto* global = new llvm::GlobalVariable(*module_, value->getType(), true, llvm::GlobalValue::PrivateLinkage, value);
  global->setUnnamedAddr(llvm::GlobalValue::UnnamedAddr::Global);
  return global;
}

Constant* ModuleBuilder::text(const std::string& text) {
  Constant*& known = texts_[text];
  if (known == nullptr) known = constant(llvm::ConstantDataArray::getString(module_->getContext(), text));
  return known;
}

Constant* ModuleBuilder::number(int64_t value) { return llvm::ConstantInt::getSigned(word(), value); }

Constant* ModuleBuilder::array(const std::vector<Constant*>& elements) {
  if (elements.empty()) return llvm::ConstantPointerNull::get(pointer());
  return constant(
      llvm::ConstantArray::get(llvm::ArrayType::get(elements.front()->getType(), elements.size()), elements));
}

Constant* ModuleBuilder::textArray(const std::vector<std::string>& texts) {
  std::vector<Constant*> elements;
  for (const std::string& each : texts) elements.push_back(text(each));
  return array(elements);
}

Constant* ModuleBuilder::structure(const std::vector<Constant*>& fields) {
  return llvm::ConstantStruct::getAnon(module_->getContext(), fields);
}

Constant* ModuleBuilder::location(language::Position position) {
  Constant*& known = locations_[position.line];
  if (known == nullptr) {
    // Each class of a file has its own copy, and the trace of an exception shows only the beginning of a line.
    constexpr std::size_t longestHead = 1024;
    const std::string_view line = source_.lineFrom(file_.lineStarts[position.line - 1]);
    known = constant(structure({text(source_.path), number(static_cast<int64_t>(position.line)),
                                text(std::string(line.substr(0, longestHead)))}));
  }
  return known;
}

llvm::Function* ModuleBuilder::linkedMethod(const std::string& className, const runtime::MethodSignature& signature) {
  llvm::Function*& known = links_[className + "." + signature.name];
  if (known == nullptr) {
    known = addFunction(functionType(signature), "link:" + className + "." + signature.name);
    buildLink(known, className, signature);
  }
  return known;
}

void ModuleBuilder::buildLink(llvm::Function* function, const std::string& className,
                              const runtime::MethodSignature& signature) {
  llvm::LLVMContext& context = module_->getContext();
  auto* slot = new llvm::GlobalVariable(*module_, pointer(), false, llvm::GlobalValue::InternalLinkage,
                                        llvm::ConstantPointerNull::get(pointer()), "slot:" + signature.name);
  auto* entry = llvm::BasicBlock::Create(context, "entry", function);
  auto* find = llvm::BasicBlock::Create(context, "find", function);
  auto* call = llvm::BasicBlock::Create(context, "call", function);

  llvm::IRBuilder<> builder(entry);
  llvm::LoadInst* known = builder.CreateAlignedLoad(pointer(), slot, llvm::Align(8));
  known->setAtomic(llvm::AtomicOrdering::Acquire);
  builder.CreateCondBr(builder.CreateIsNull(known), find, call);

  builder.SetInsertPoint(find);
  llvm::Value* found =
      this->call(builder, op::linkMethod, text(className), text(signature.name), text(joinTypes(signature.parameters)),
                 text(signature.result), number(signature.isStatic ? 1 : 0), slot,
                 function->getArg(static_cast<unsigned>(function->arg_size() - 1)));
  builder.CreateBr(call);

  builder.SetInsertPoint(call);
  llvm::PHINode* target = builder.CreatePHI(pointer(), 2);
  target->addIncoming(known, entry);
  target->addIncoming(found, find);
  std::vector<llvm::Value*> arguments;
  for (llvm::Argument& argument : function->args()) arguments.push_back(&argument);
  llvm::Value* result = builder.CreateCall(function->getFunctionType(), target, arguments);
  if (signature.result == "void") {
    builder.CreateRetVoid();
  } else {
    builder.CreateRet(result);
  }
}

llvm::Value* ModuleBuilder::toWord(llvm::IRBuilder<>& builder, llvm::Value* value) {
  return value->getType()->isPointerTy() ? builder.CreatePtrToInt(value, word()) : value;
}

llvm::Value* ModuleBuilder::fromWord(llvm::IRBuilder<>& builder, llvm::Value* word, const std::string& type) {
  return typeOf(type)->isPointerTy() ? builder.CreateIntToPtr(word, pointer()) : word;
}

std::string joinTypes(const std::vector<std::string>& types) {
  std::string joined;
  for (const std::string& type : types) joined += (joined.empty() ? "" : ",") + type;
  return joined;
}

}  // namespace orva::compiler
