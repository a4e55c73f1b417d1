// Expressions and calls: the other half of the method generator.
#include <algorithm>

#include "reference_host/compiler/method_generator.h"
#include "reference_host/language/foreign_constructs.h"

namespace orva::compiler {

using language::Member;
using language::Position;

namespace {

/// A method of a type that the runtime itself brings.
struct BuiltInMethod {
  std::string type;
  runtime::MethodSignature signature;
  const char* operation;
  bool takesCallSite;
};

const std::vector<BuiltInMethod>& builtInMethods() {
  static const std::vector<BuiltInMethod> methods = {
      {"ArrayList<String>", {"size", false, {}, "int"}, "listSize", false},
      {"ArrayList<String>", {"get", false, {"int"}, "String"}, "listGet", true},
      {"ArrayList<String>", {"add", false, {"String"}, "void"}, "listAdd", true},
      {"Type", {"name", false, {}, "String"}, "typeName", false},
      {"Type", {"source", false, {}, "String"}, "typeSource", false},
      {"Exception", {"className", false, {}, "String"}, "exceptionClass", false},
      {"Exception", {"message", false, {}, "String"}, "exceptionMessage", false},
  };
  return methods;
}

bool isBuiltIn(const std::string& type) {
  const auto isOfType = [&](const BuiltInMethod& method) { return method.type == type; };
  return std::any_of(builtInMethods().begin(), builtInMethods().end(), isOfType);
}

const BuiltInMethod* findBuiltIn(const std::string& type, const std::string& name) {
  const auto matches = [&](const BuiltInMethod& each) { return each.type == type && each.signature.name == name; };
  const auto found = std::find_if(builtInMethods().begin(), builtInMethods().end(), matches);
  return found == builtInMethods().end() ? nullptr : &*found;
}

}  // namespace

MethodGenerator::Value MethodGenerator::expression(const language::Expression& expression, const std::string& wanted) {
  return std::visit([&](const auto& form) { return generate(form, expression.position, wanted); }, expression.form);
}

llvm::Value* MethodGenerator::valueOf(const language::Expression& expression, const std::string& type) {
  const Value value = this->expression(expression, type);
  if (!runtime::isAssignable(type, value.type)) fail(expression.position, "expected " + type + ", found " + value.type);
  return value.value;
}

MethodGenerator::Value MethodGenerator::generate(const language::StringLiteral& literal, Position, const std::string&) {
  return {builder_.text(literal.text), "String"};
}

MethodGenerator::Value MethodGenerator::generate(const language::IntegerLiteral& literal, Position,
                                                 const std::string&) {
  return {builder_.number(literal.value), "int"};
}

MethodGenerator::Value MethodGenerator::generate(const language::BooleanLiteral& literal, Position,
                                                 const std::string&) {
  return {builder_.number(literal.value ? 1 : 0), "boolean"};
}

MethodGenerator::Value MethodGenerator::generate(const language::NullLiteral&, Position, const std::string&) {
  return {llvm::ConstantPointerNull::get(builder_.pointer()), "null"};
}

MethodGenerator::Value MethodGenerator::generate(const language::NameUse& use, Position position, const std::string&) {
  const Variable* variable = knownVariable(use.name, position);
  return {ir_.CreateLoad(variable->place->getAllocatedType(), variable->place), variable->type};
}

MethodGenerator::Value MethodGenerator::generate(const language::ListLiteral& literal, Position position,
                                                 const std::string&) {
  llvm::Constant* place = builder_.location(position);
  llvm::Value* list = operation("newList", builder_.pointer(), {place});
  for (const language::Expression& element : literal.elements) {
    operation("listAdd", builder_.typeOf("void"), {list, valueOf(element, "String"), place});
  }
  return {list, "ArrayList<String>"};
}

MethodGenerator::Value MethodGenerator::generate(const language::Operation& operation, Position, const std::string&) {
  Value left = expression(operation.operands.front(), "");
  for (std::size_t i = 0; i < operation.operators.size(); ++i) {
    const language::Expression& operand = operation.operands[i + 1];
    const Value right = expression(operand, "");
    const std::string& sign = operation.operators[i];
    left = sign == "+" ? add(left, right, operand.position) : compare(left, right, sign == "==", operand.position);
  }
  return left;
}

MethodGenerator::Value MethodGenerator::add(const Value& left, const Value& right, Position position) {
  if (left.type == "int" && right.type == "int") return {ir_.CreateAdd(left.value, right.value), "int"};
  if (left.type != "String" && right.type != "String") {
    fail(position, "'+' adds ints or joins a String: found " + left.type + " + " + right.type);
  }
  llvm::Value* first = asText(left, position).value;
  llvm::Value* second = asText(right, position).value;
  return {operation("joinTexts", builder_.pointer(), {first, second, builder_.location(position)}), "String"};
}

MethodGenerator::Value MethodGenerator::asText(const Value& value, Position position) {
  if (value.type == "String" || value.type == "null") return {value.value, "String"};
  if (value.type == "int") {
    return {operation("intText", builder_.pointer(), {value.value, builder_.location(position)}), "String"};
  }
  if (value.type == "boolean") return {operation("booleanText", builder_.pointer(), {value.value}), "String"};
  fail(position, "expected a String, an int or a boolean, found " + value.type);
}

MethodGenerator::Value MethodGenerator::compare(const Value& left, const Value& right, bool equal, Position position) {
  if (!runtime::isAssignable(left.type, right.type) && !runtime::isAssignable(right.type, left.type)) {
    fail(position, "cannot compare " + left.type + " with " + right.type);
  }
  llvm::Value* same = nullptr;
  if (left.type == "String" || right.type == "String") {
    llvm::Value* textsEqual = operation("textsEqual", builder_.word(), {left.value, right.value});
    same = ir_.CreateICmpNE(textsEqual, builder_.number(0));
  } else {
    same = ir_.CreateICmpEQ(left.value, right.value);
  }
  return {ir_.CreateZExt(equal ? same : ir_.CreateNot(same), builder_.word()), "boolean"};
}

/// The position of the first call among the members; what stands before it can only be a class.
static std::size_t firstCall(const std::vector<Member>& members) {
  const auto isCall = [](const Member& member) { return member.isCall; };
  return static_cast<std::size_t>(std::find_if(members.begin(), members.end(), isCall) - members.begin());
}

MethodGenerator::Value MethodGenerator::generate(const language::MemberChain& chain, Position position,
                                                 const std::string& wanted) {
  const auto* name = std::get_if<language::NameUse>(&chain.start->form);
  std::size_t next = 0;
  Value value{};
  if (name != nullptr && findVariable(name->name) == nullptr) {
    std::string className = name->name;
    if (className == "this" || className == "super") fail(position, language::unknownVariable(className));
    const std::size_t call = firstCall(chain.members);
    for (std::size_t i = 0; i < call; ++i) className += "." + chain.members[i].name;
    if (call == chain.members.size()) fail(position, language::unknownVariable(className));
    value = staticCall(className, chain.members[call], call + 1 == chain.members.size() ? wanted : "");
    next = call + 1;
  } else {
    value = expression(*chain.start, "");
  }
  for (; next < chain.members.size(); ++next) {
    value = memberCall(value, chain.members[next], next + 1 == chain.members.size() ? wanted : "");
  }
  return value;
}

const ClassSummary* MethodGenerator::summaryOf(const std::string& fullName) const {
  return fullName == scope_.fullName ? &scope_.own : scope_.catalog.find(fullName);
}

MethodGenerator::Value MethodGenerator::staticCall(const std::string& className, const Member& member,
                                                   const std::string& wanted) {
  const auto fullName = scope_.catalog.resolveClass(className, scope_.names);
  if (fullName) {
    if (const auto* summary = summaryOf(*fullName)) return linkedCall(*summary, member, nullptr, wanted);
  }
  return callByName(className, member, wanted);
}

std::vector<MethodGenerator::Value> MethodGenerator::arguments(const Member& member,
                                                               const runtime::MethodSignature* method) {
  constexpr std::size_t most = 255;
  if (member.arguments.size() > most) fail(member.position, "too many arguments: expected at most 255");
  std::vector<Value> values;
  for (std::size_t i = 0; i < member.arguments.size(); ++i) {
    const bool isKnown = method != nullptr && i < method->parameters.size();
    values.push_back(expression(member.arguments[i], isKnown ? method->parameters[i] : ""));
    if (values.back().type == "void") fail(member.arguments[i].position, "this call returns nothing");
  }
  return values;
}

/// The type of a call of a method that does not exist: whatever its place asks for.
static std::string resultOfMissing(const std::string& wanted) { return wanted.empty() ? "null" : wanted; }

MethodGenerator::Value MethodGenerator::linkedCall(const ClassSummary& summary, const Member& member,
                                                   llvm::Value* receiver, const std::string& wanted) {
  const runtime::MethodSignature* method = summary.find(member.name);
  std::vector<Value> values = arguments(member, method);
  // The console prints whatever can be joined to a String.
  if (summary.fullName == "orva.Console" && member.name == "print" && values.size() == 1) {
    values[0] = asText(values[0], member.arguments[0].position);
  }
  std::vector<std::string> types;
  std::vector<llvm::Value*> passed;
  if (receiver != nullptr) passed.push_back(receiver);
  for (const Value& value : values) {
    types.push_back(value.type);
    passed.push_back(value.value);
  }
  const std::string result = method == nullptr ? resultOfMissing(wanted) : method->result;
  if (const auto problem = runtime::callProblem(summary.fullName, member.name, method, receiver == nullptr, types)) {
    return faultyCall(*problem, result, member.position);
  }
  passed.push_back(builder_.location(member.position));
  llvm::Function* target = summary.fullName == scope_.fullName ? scope_.functions.at(member.name)
                                                               : builder_.linkedMethod(summary.fullName, *method);
  return {call(target, passed), result};
}

MethodGenerator::Value MethodGenerator::faultyCall(const std::string& problem, const std::string& type,
                                                   Position position) {
  operation("raise", builder_.typeOf("void"),
            {builder_.text("Exception"), builder_.text(problem), builder_.location(position)});
  llvm::Type* machineType = builder_.typeOf(type);
  return {machineType->isVoidTy() ? nullptr : llvm::Constant::getNullValue(machineType), type};
}

MethodGenerator::WordArguments MethodGenerator::wordArguments(const std::vector<Value>& values) {
  if (values.empty()) {
    auto* null = llvm::ConstantPointerNull::get(builder_.pointer());
    return {null, null};
  }
  auto* type = llvm::ArrayType::get(builder_.word(), values.size());
  llvm::Value* words = allocate(type, "arguments");
  std::vector<std::string> types;
  for (unsigned i = 0; i < values.size(); ++i) {
    ir_.CreateStore(builder_.toWord(ir_, values[i].value), ir_.CreateConstInBoundsGEP2_64(type, words, 0, i));
    types.push_back(values[i].type);
  }
  return {words, builder_.textArray(types)};
}

MethodGenerator::Value MethodGenerator::callByName(const std::string& className, const Member& member,
                                                   const std::string& wanted) {
  const std::vector<Value> values = arguments(member, nullptr);
  const WordArguments words = wordArguments(values);
  const auto candidates = ClassCatalog::candidates(className, scope_.names);
  const std::string type = wanted.empty() ? "String" : wanted;
  llvm::Value* result = operation(
      "callByName", builder_.word(),
      {builder_.text(scope_.names.meaning(className)), builder_.number(static_cast<int64_t>(candidates.size())),
       builder_.textArray(candidates), builder_.text(member.name), builder_.number(static_cast<int64_t>(values.size())),
       words.words, words.types, builder_.text(type), builder_.location(member.position)});
  return {type == "void" ? nullptr : builder_.fromWord(ir_, result, type), type};
}

MethodGenerator::Value MethodGenerator::memberCall(const Value& receiver, const Member& member,
                                                   const std::string& wanted) {
  if (!runtime::isPointerType(receiver.type)) {
    fail(member.position, "'." + member.name + "' needs an object: found " + receiver.type);
  }
  if (!member.isCall) fail(member.position, "expected '(' after '." + member.name + "'");
  operation("requireReceiver", builder_.typeOf("void"),
            {receiver.value, builder_.text(member.name), builder_.location(member.position)});
  if (receiver.type == "Type" && member.name == "call") return typeCall(receiver, member);
  if (isBuiltIn(receiver.type)) return builtInCall(receiver, member, wanted);
  if (const auto* summary = summaryOf(receiver.type)) return linkedCall(*summary, member, receiver.value, wanted);
  return linkedCall({receiver.type, {}}, member, receiver.value, wanted);
}

MethodGenerator::Value MethodGenerator::builtInCall(const Value& receiver, const Member& member,
                                                    const std::string& wanted) {
  const BuiltInMethod* method = findBuiltIn(receiver.type, member.name);
  const runtime::MethodSignature* signature = method == nullptr ? nullptr : &method->signature;
  std::vector<std::string> types;
  std::vector<llvm::Value*> passed = {receiver.value};
  for (const Value& value : arguments(member, signature)) {
    types.push_back(value.type);
    passed.push_back(value.value);
  }
  const std::string result = signature == nullptr ? resultOfMissing(wanted) : signature->result;
  if (const auto problem = runtime::callProblem(receiver.type, member.name, signature, false, types)) {
    return faultyCall(*problem, result, member.position);
  }
  if (method->takesCallSite) passed.push_back(builder_.location(member.position));
  return {operation(method->operation, builder_.typeOf(result), passed), result};
}

MethodGenerator::Value MethodGenerator::typeCall(const Value& receiver, const Member& member) {
  std::vector<Value> values = arguments(member, nullptr);
  if (values.empty() || !runtime::isAssignable("String", values.front().type)) {
    return faultyCall("Method 'Type.call' takes the name of a method, then its arguments", "String", member.position);
  }
  llvm::Value* method = values.front().value;
  values.erase(values.begin());
  const WordArguments words = wordArguments(values);
  llvm::Value* result = operation("typeCall", builder_.pointer(),
                                  {receiver.value, method, builder_.number(static_cast<int64_t>(values.size())),
                                   words.words, words.types, builder_.location(member.position)});
  return {result, "String"};
}

}  // namespace orva::compiler
