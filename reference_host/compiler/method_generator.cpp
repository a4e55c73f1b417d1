// Statements: control flow, variables, and language exceptions as C++ exceptions that carry them.
#include "reference_host/compiler/method_generator.h"

#include <llvm/IR/CFG.h>

#include <algorithm>
#include <set>
#include <utility>

#include "reference_host/compiler/frame_size.h"
#include "reference_host/language/foreign_constructs.h"

namespace orva::compiler {

using language::Position;

namespace {

/// An error in one statement; without a message if it was reported before.
struct Fault {
  language::Diagnostic diagnostic;
};

}  // namespace

void MethodGenerator::fail(Position position, const std::string& message) { throw Fault{{position, message}}; }

MethodGenerator::MethodGenerator(ClassScope& scope, const language::MethodDeclaration& method,
                                 const runtime::MethodSignature& signature)
    : scope_(scope),
      builder_(scope.builder),
      method_(method),
      signature_(signature),
      function_(scope.functions.at(method.name)),
      ir_(scope.builder.module().getContext()) {}

void MethodGenerator::generate() {
  const std::size_t problems = scope_.diagnostics.size();
  generateBody();
  goToHandlers();
  // `enter` checks the stack from within the frame; the reserve of even the smallest stack has room for a frame of this
  // size.
  constexpr std::size_t mostUnchecked = 4096;
  const std::size_t size = problems == scope_.diagnostics.size() ? frameSize(*function_) : 0;
  if (size > mostUnchecked) callWithRoom(size);
}

void MethodGenerator::generateBody() {
  ir_.SetInsertPoint(newBlock("entry"));
  variables_.emplace_back();
  const unsigned first = signature_.isStatic ? 0 : 1;
  for (unsigned i = 0; i < method_.parameters.size(); ++i) {
    const language::Parameter& parameter = method_.parameters[i];
    const Variable& variable = declareVariable(parameter.name, signature_.parameters[i], parameter.position);
    ir_.CreateStore(function_->getArg(first + i), variable.place);
  }
  frame_ = allocate(builder_.callFrame(), "frame");
  call(op::enter, frame_, name(), callSite());
  const std::size_t problems = scope_.diagnostics.size();
  block(method_.body);
  if (hasEnded()) return;
  if (signature_.result == "void") {
    leave(nullptr);
    return;
  }
  // A wrong statement may have been the one that returns.
  if (problems == scope_.diagnostics.size() && isReachable()) {
    scope_.diagnostics.push_back(
        {method_.position,
         "method '" + method_.name + "' can end without returning a value: expected " + signature_.result});
  }
  ir_.CreateUnreachable();
}

void MethodGenerator::callWithRoom(std::size_t size) {
  llvm::Function* body = function_;
  function_ = builder_.addFunction(body->getFunctionType(), "");
  function_->takeName(body);
  body->setName("body:" + scope_.fullName + "." + method_.name);
  scope_.functions[method_.name] = function_;
  body->replaceUsesWithIf(function_, [](const llvm::Use& use) { return llvm::isa<llvm::CallBase>(use.getUser()); });
  ir_.SetInsertPoint(newBlock("entry"));
  call(op::requireStack, builder_.number(static_cast<int64_t>(size)), name(), callSite());
  std::vector<llvm::Value*> passed;
  for (llvm::Argument& argument : function_->args()) passed.push_back(&argument);
  llvm::Value* result = ir_.CreateCall(body, passed);
  ir_.Insert(llvm::ReturnInst::Create(ir_.getContext(), signature_.result == "void" ? nullptr : result));
}

llvm::Value* MethodGenerator::name() { return builder_.text(scope_.fullName + "." + method_.name); }

llvm::Value* MethodGenerator::callSite() const {
  return function_->getArg(static_cast<unsigned>(function_->arg_size() - 1));
}

bool MethodGenerator::isReachable() const {
  std::set<const llvm::BasicBlock*> reachable;
  std::vector<const llvm::BasicBlock*> open = {&function_->getEntryBlock()};
  while (!open.empty()) {
    const llvm::BasicBlock* const each = open.back();
    open.pop_back();
    if (!reachable.insert(each).second) continue;
    open.insert(open.end(), llvm::succ_begin(each), llvm::succ_end(each));
    // The landing, which all calls unwind to, does not tell their handlers apart.
    const auto handler = handlersOfCalls_.find(each);
    if (handler != handlersOfCalls_.end()) open.push_back(handler->second);
  }
  return reachable.count(ir_.GetInsertBlock()) == 1;
}

void MethodGenerator::block(const language::Block& statements) {
  variables_.emplace_back();
  const std::size_t level = variables_.size();
  for (const language::Statement& each : statements) {
    // Code after a return or a throw is unreachable, but must still be correct.
    if (hasEnded()) ir_.SetInsertPoint(newBlock("unreachable"));
    try {
      statement(each);
    } catch (const Fault& fault) {
      if (!fault.diagnostic.message.empty()) scope_.diagnostics.push_back(fault.diagnostic);
      variables_.resize(level);
    }
  }
  variables_.pop_back();
}

void MethodGenerator::statement(const language::Statement& statement) {
  std::visit([&](const auto& form) { generate(form, statement.position); }, statement.form);
}

void MethodGenerator::generate(const language::Declaration& declaration, Position position) {
  const std::string type = typeOfVariable(declaration, position);
  if (findVariable(declaration.name) != nullptr) failDeclaredTwice(declaration.name, position);
  try {
    // A variable cannot be used in its own value.
    llvm::Value* value = valueOf(declaration.value, type);
    ir_.CreateStore(value, declareVariable(declaration.name, type, position).place);
  } catch (const Fault&) {
    // Declare the variable anyway, so that one mistake is not reported again at each later use.
    declareVariable(declaration.name, type, position);
    throw;
  }
}

void MethodGenerator::failDeclaredTwice(const std::string& name, Position position) {
  fail(position, "variable '" + name + "' is declared twice");
}

std::string MethodGenerator::typeOfVariable(const language::Declaration& declaration, Position position) {
  try {
    std::string type = resolved(declaration.type);
    if (type == "void") fail(position, "a variable cannot be void");
    return type;
  } catch (const Fault&) {
    variables_.back().try_emplace(declaration.name);
    throw;
  }
}

void MethodGenerator::generate(const language::Assignment& assignment, Position position) {
  const Variable* variable = knownVariable(assignment.name, position);
  llvm::AllocaInst* place = variable->place;
  ir_.CreateStore(valueOf(assignment.value, std::string(variable->type)), place);
}

void MethodGenerator::generate(const language::ExpressionStatement& statement, Position /*position*/) {
  expression(statement.value, "void");
}

void MethodGenerator::generate(const language::Return& statement, Position position) {
  if (!statement.value) {
    if (signature_.result != "void")
      fail(position, "expected a value of type " + signature_.result + " after 'return'");
    leave(nullptr);
    return;
  }
  if (signature_.result == "void") fail(position, "method '" + method_.name + "' returns nothing: expected 'return;'");
  leave(valueOf(*statement.value, signature_.result));
}

void MethodGenerator::leave(llvm::Value* result) {
  // It never throws, so it needs no landing even within a `try`.
  builder_.call(ir_, op::leave, frame_);
  // Null makes a return without a value.
  ir_.Insert(llvm::ReturnInst::Create(ir_.getContext(), result));
}

void MethodGenerator::generate(const language::If& statement, Position /*position*/) {
  llvm::Value* condition = ir_.CreateICmpNE(valueOf(statement.condition, "boolean"), builder_.number(0));
  llvm::BasicBlock* then = newBlock("then");
  llvm::BasicBlock* otherwise = newBlock("else");
  ir_.CreateCondBr(condition, then, otherwise);
  llvm::BasicBlock* next = newBlock("next");
  ir_.SetInsertPoint(then);
  block(statement.then);
  jump(next);
  ir_.SetInsertPoint(otherwise);
  block(statement.otherwise);
  jump(next);
  ir_.SetInsertPoint(next);
}

void MethodGenerator::generate(const language::Try& statement, Position /*position*/) {
  llvm::BasicBlock* next = newBlock("next");
  llvm::BasicBlock* caught = newBlock("caught");
  llvm::BasicBlock* outerLanding = std::exchange(landing_, landing());
  const std::size_t outer = std::exchange(activeTry_, handlers_.size());
  handlers_.push_back(caught);
  noteActiveTry();
  block(statement.body);
  landing_ = outerLanding;
  activeTry_ = outer;
  if (!hasEnded()) {
    noteActiveTry();
    ir_.CreateBr(next);
  }
  ir_.SetInsertPoint(caught);
  noteActiveTry();
  handler(statement, next);
  ir_.SetInsertPoint(next);
}

void MethodGenerator::noteActiveTry() {
  ir_.CreateStore(builder_.number(static_cast<int64_t>(activeTry_)), placeOfTry_);
}

llvm::BasicBlock* MethodGenerator::landing() {
  if (landingOfAll_ != nullptr) return landingOfAll_;
  const llvm::IRBuilder<>::InsertPointGuard here(ir_);
  landingOfAll_ = newBlock("landing");
  placeOfTry_ = allocate(builder_.word(), "try");
  ir_.SetInsertPoint(landingOfAll_);
  // The landing needs a personality even if nothing in any body can throw.
  auto* personality = llvm::FunctionType::get(llvm::Type::getInt32Ty(ir_.getContext()), true);
  function_->setPersonalityFn(
      llvm::cast<llvm::Constant>(builder_.module().getOrInsertFunction(runtime::personality, personality).getCallee()));
  auto* landed = llvm::StructType::get(builder_.pointer(), llvm::Type::getInt32Ty(ir_.getContext()));
  llvm::LandingPadInst* pad = ir_.CreateLandingPad(landed, 1);
  // Only language exceptions are caught; every other C++ exception passes on to the caller of the program.
  pad->addClause(llvm::cast<llvm::Constant>(
      builder_.module().getOrInsertGlobal(runtime::thrownType, llvm::Type::getInt8Ty(ir_.getContext()))));
  exception_ = builder_.call(ir_, op::beginCatch, ir_.CreateExtractValue(pad, 0), frame_);
  return landingOfAll_;
}

void MethodGenerator::goToHandlers() {
  if (landingOfAll_ == nullptr) return;
  ir_.SetInsertPoint(landingOfAll_);
  llvm::Value* number = ir_.CreateLoad(builder_.word(), placeOfTry_);
  goToHandler(number, 0, handlers_.size());
}

void MethodGenerator::goToHandler(llvm::Value* number, std::size_t first, std::size_t end) {
  if (end - first == 1) {
    ir_.CreateBr(handlers_[first]);
    return;
  }
  const std::size_t middle = first + (end - first) / 2;
  llvm::BasicBlock* lower = newBlock("lower");
  llvm::BasicBlock* upper = newBlock("upper");
  ir_.CreateCondBr(ir_.CreateICmpSLT(number, builder_.number(static_cast<int64_t>(middle))), lower, upper);
  ir_.SetInsertPoint(lower);
  goToHandler(number, first, middle);
  ir_.SetInsertPoint(upper);
  goToHandler(number, middle, end);
}

void MethodGenerator::handler(const language::Try& statement, llvm::BasicBlock* next) {
  const std::string caught = exceptionClass(statement.exceptionClass, statement.variablePosition);
  if (caught != "Exception") {
    llvm::Value* matches = call(op::exceptionIs, exception_, builder_.text(caught));
    llvm::BasicBlock* handle = newBlock("handle");
    llvm::BasicBlock* pass = newBlock("pass");
    ir_.CreateCondBr(ir_.CreateICmpNE(matches, builder_.number(0)), handle, pass);
    ir_.SetInsertPoint(pass);
    call(op::rethrow, exception_);
    ir_.CreateUnreachable();
    ir_.SetInsertPoint(handle);
  }
  variables_.emplace_back();
  const Variable& variable = declareVariable(statement.variable, "Exception", statement.variablePosition);
  ir_.CreateStore(exception_, variable.place);
  block(statement.handler);
  variables_.pop_back();
  jump(next);
}

void MethodGenerator::generate(const language::Throw& statement, Position position) {
  llvm::Constant* className = builder_.text(exceptionClass(statement.exceptionClass, position));
  call(op::raise, className, valueOf(statement.message, "String"), builder_.location(position));
  ir_.CreateUnreachable();
}

std::string MethodGenerator::exceptionClass(const std::string& name, Position position) const {
  std::string meaning = scope_.names.meaning(name);
  meaning.resize(std::min(meaning.size(), meaning.find('<')));
  const std::string shortName = meaning.substr(meaning.rfind('.') + 1);
  if (shortName != "Exception" && runtime::isBuiltInName(shortName)) {
    fail(position, "'" + shortName + "' is a built-in type: expected an exception class name");
  }
  return shortName;
}

MethodGenerator::Variable* MethodGenerator::findVariable(const std::string& name) {
  for (auto level = variables_.rbegin(); level != variables_.rend(); ++level) {
    const auto found = level->find(name);
    if (found != level->end()) return &found->second;
  }
  return nullptr;
}

MethodGenerator::Variable* MethodGenerator::knownVariable(const std::string& name, Position position) {
  Variable* variable = findVariable(name);
  if (variable == nullptr) fail(position, language::unknownVariable(name));
  if (variable->place == nullptr) throw Fault{{position, {}}};
  return variable;
}

MethodGenerator::Variable& MethodGenerator::declareVariable(const std::string& name, const std::string& type,
                                                            Position position) {
  if (findVariable(name) != nullptr) failDeclaredTwice(name, position);
  return variables_.back()[name] = {type, allocate(builder_.typeOf(type), name)};
}

std::string MethodGenerator::resolved(const language::TypeName& type) {
  const auto found = scope_.catalog.resolveType(type, scope_.names);
  if (!found) fail(type.position, scope_.catalog.problemWith(type, scope_.names));
  return *found;
}

llvm::AllocaInst* MethodGenerator::allocate(llvm::Type* type, const std::string& name) {
  llvm::BasicBlock& entry = function_->getEntryBlock();
  llvm::IRBuilder<> atEntry(&entry, entry.begin());
  return atEntry.CreateAlloca(type, nullptr, name);
}

llvm::BasicBlock* MethodGenerator::newBlock(const std::string& name) {
  return llvm::BasicBlock::Create(ir_.getContext(), name, function_);
}

void MethodGenerator::jump(llvm::BasicBlock* target) {
  if (!hasEnded()) ir_.CreateBr(target);
}

llvm::Value* MethodGenerator::call(llvm::FunctionCallee callee, const std::vector<llvm::Value*>& arguments) {
  // LLVM's time for a block is quadratic in the number of its calls.
  constexpr unsigned mostInBlock = 64;
  const bool endsBlock = ++calls_ % mostInBlock == 0;
  if (landing_ == nullptr && !endsBlock) return ir_.CreateCall(callee, arguments);
  llvm::BasicBlock* next = newBlock("called");
  llvm::Value* result = nullptr;
  if (landing_ == nullptr) {
    result = ir_.CreateCall(callee, arguments);
    ir_.CreateBr(next);
  } else {
    handlersOfCalls_[ir_.GetInsertBlock()] = handlers_[activeTry_];
    result = ir_.CreateInvoke(callee, next, landing_, arguments);
  }
  ir_.SetInsertPoint(next);
  return result;
}

}  // namespace orva::compiler
