// Expressions and calls: the other half of the method generator.
#include <algorithm>

#include "reference_host/compiler/linkage.h"
#include "reference_host/compiler/method_generator.h"
#include "reference_host/language/foreign_constructs.h"
#include "reference_host/runtime/built_in_methods.h"
#include "reference_host/runtime/dynamic_operations.h"

namespace orva::compiler {

using language::Member;
using language::Position;

MethodGenerator::Value MethodGenerator::expression(const language::Expression& expression, const std::string& wanted) {
  return std::visit([&](const auto& form) { return generate(form, expression.position, wanted); }, expression.form);
}

llvm::Value* MethodGenerator::valueOf(const language::Expression& expression, const std::string& type) {
  const Value value = this->expression(expression, type);
  if (value.isDynamic()) {
    call(op::requireType, value.typeAtRun, builder_.text(type), builder_.location(expression.position));
    return builder_.fromWord(ir_, value.value, type);
  }
  if (const auto problem = runtime::assignmentProblem(type, value.type)) fail(expression.position, *problem);
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
  llvm::Value* list = call(op::newList, place);
  for (const language::Expression& element : literal.elements) {
    call(op::listAdd, list, valueOf(element, "String"), place);
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
  if (left.isDynamic() || right.isDynamic()) return dynamicSum(left, right, position);
  if (const auto problem = runtime::sumProblem(left.type, right.type)) fail(position, *problem);
  if (left.type == "int" && right.type == "int") return {ir_.CreateAdd(left.value, right.value), "int"};
  llvm::Value* first = asText(left, position).value;
  llvm::Value* second = asText(right, position).value;
  return {call(op::joinTexts, first, second, builder_.location(position)), "String"};
}

MethodGenerator::Value MethodGenerator::dynamicSum(const Value& left, const Value& right, Position position) {
  if (left.type == "void" || right.type == "void") fail(position, "this call returns nothing");
  llvm::Value* sum = call(op::dynamicSum, wordOf(left), spelledType(left), wordOf(right), spelledType(right),
                          placeOfType(), builder_.location(position));
  if (left.type == "String" || right.type == "String") return {builder_.fromWord(ir_, sum, "String"), "String"};
  return dynamicValue(sum);
}

llvm::Value* MethodGenerator::wordOf(const Value& value) { return builder_.toWord(ir_, value.value); }

llvm::Value* MethodGenerator::spelledType(const Value& value) {
  return value.isDynamic() ? value.typeAtRun : builder_.text(value.type);
}

llvm::Value* MethodGenerator::placeOfType() {
  if (placeOfType_ == nullptr) placeOfType_ = allocate(builder_.pointer(), "type");
  return placeOfType_;
}

MethodGenerator::Value MethodGenerator::dynamicValue(llvm::Value* word) {
  return {word, {}, ir_.CreateLoad(builder_.pointer(), placeOfType())};
}

MethodGenerator::Value MethodGenerator::asText(const Value& value, Position position) {
  if (value.isDynamic()) {
    return {call(op::dynamicText, value.value, value.typeAtRun, builder_.location(position)), "String"};
  }
  if (const auto problem = runtime::textProblem(value.type)) fail(position, *problem);
  if (value.type == "int") {
    return {call(op::intText, value.value, builder_.location(position)), "String"};
  }
  if (value.type == "boolean") return {call(op::booleanText, value.value), "String"};
  return {value.value, "String"};
}

MethodGenerator::Value MethodGenerator::compare(const Value& left, const Value& right, bool equal, Position position) {
  llvm::Value* same = nullptr;
  if (left.isDynamic() || right.isDynamic()) {
    same = dynamicComparison(left, right, position);
  } else if (const auto problem = runtime::comparisonProblem(left.type, right.type)) {
    fail(position, *problem);
  } else if (left.type == "String" || right.type == "String") {
    llvm::Value* textsEqual = call(op::textsEqual, left.value, right.value);
    same = ir_.CreateICmpNE(textsEqual, builder_.number(0));
  } else {
    same = ir_.CreateICmpEQ(left.value, right.value);
  }
  return {ir_.CreateZExt(equal ? same : ir_.CreateNot(same), builder_.word()), "boolean"};
}

llvm::Value* MethodGenerator::dynamicComparison(const Value& left, const Value& right, Position position) {
  if (left.type == "void" || right.type == "void") fail(position, "this call returns nothing");
  llvm::Value* equal = call(op::dynamicEqual, wordOf(left), spelledType(left), wordOf(right), spelledType(right),
                            builder_.location(position));
  return ir_.CreateICmpNE(equal, builder_.number(0));
}

/// The position of the first call among the members; what comes before it can only be a class.
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
    const bool isOwnObject = className == "this" || className == "super";
    const std::size_t call = firstCall(chain.members);
    for (std::size_t i = 0; i < call; ++i) className += "." + chain.members[i].name;
    if (isOwnObject && !scope_.catalog.resolveClass(className, scope_.names)) {
      fail(position, language::unknownVariable(name->name));
    }
    if (call == chain.members.size()) fail(position, language::unknownVariable(className));
    value = staticCall(className, chain.members[call], call + 1 == chain.members.size() ? wanted : "");
    next = call + 1;
  } else {
    value = expression(*chain.start, "");
  }
  if (name != nullptr && next == 0 && !chain.members[0].isCall) {
    fail(chain.members[0].position, "expected '(' after '." + chain.members[0].name + "': '" + name->name +
                                        "' is a variable of type " + value.type);
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
  const std::string& meaning = scope_.names.meaning(className);
  const bool isBuiltIn = runtime::isBuiltInType(meaning) || runtime::isBuiltInName(meaning);
  const auto fullName = isBuiltIn ? std::nullopt : scope_.catalog.resolveClass(className, scope_.names);
  if (fullName) {
    if (const auto* summary = summaryOf(*fullName)) return linkedCall(*summary, member, nullptr, wanted);
  }
  return callByName(meaning, ClassCatalog::candidates(className, scope_.names), member, arguments(member, nullptr),
                    wanted);
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

bool MethodGenerator::fits(const std::string& typeName, const Member& member, const runtime::MethodSignature* method,
                           bool isStaticCall, const std::vector<Value>& arguments) {
  std::vector<std::string> types;
  for (const Value& argument : arguments) {
    const std::size_t i = types.size();
    const bool isBelieved = argument.isDynamic() && method != nullptr && i < method->parameters.size();
    types.push_back(isBelieved ? method->parameters[i] : argument.type);
  }
  return !runtime::callProblem(typeName, member.name, method, isStaticCall, types);
}

bool MethodGenerator::isAnyDynamic(const std::vector<Value>& values) {
  return std::any_of(values.begin(), values.end(), [](const Value& each) { return each.isDynamic(); });
}

MethodGenerator::Value MethodGenerator::linkedCall(const ClassSummary& summary, const Member& member,
                                                   const Value* receiver, const std::string& wanted) {
  const runtime::MethodSignature* method = summary.find(member.name);
  // The console prints whatever can be joined to a String.
  const bool prints = summary.fullName == "orva.Console" && member.name == "print" && member.arguments.size() == 1;
  std::vector<Value> values = arguments(member, prints ? nullptr : method);
  if (prints) values[0] = asText(values[0], member.arguments[0].position);
  const bool isRight = fits(summary.fullName, member, method, receiver == nullptr, values);
  if (!isRight || isAnyDynamic(values)) {
    const std::string& result = isRight ? method->result : wanted;
    return receiver == nullptr ? callByName(summary.fullName, {summary.fullName}, member, values, result)
                               : callMember(*receiver, member, values, result);
  }
  std::vector<llvm::Value*> passed;
  if (receiver != nullptr) passed.push_back(receiver->value);
  for (const Value& value : values) passed.push_back(value.value);
  passed.push_back(builder_.location(member.position));
  llvm::Function* target = summary.fullName == scope_.fullName ? scope_.functions.at(member.name)
                                                               : builder_.linkedMethod(summary.fullName, *method);
  return {call(target, passed), method->result};
}

llvm::Value* MethodGenerator::sharedArray(llvm::AllocaInst*& array, llvm::ArrayType* type, const std::string& name) {
  if (array == nullptr) array = allocate(type, name);
  if (type->getNumElements() > array->getAllocatedType()->getArrayNumElements()) array->setAllocatedType(type);
  return array;
}

MethodGenerator::WordArguments MethodGenerator::wordArguments(const std::vector<Value>& values) {
  llvm::Constant* count = builder_.number(static_cast<int64_t>(values.size()));
  if (values.empty()) {
    auto* null = llvm::ConstantPointerNull::get(builder_.pointer());
    return {count, null, null};
  }
  auto* wordArray = llvm::ArrayType::get(builder_.word(), values.size());
  auto* typeArray = llvm::ArrayType::get(builder_.pointer(), values.size());
  const bool isDynamic = isAnyDynamic(values);
  llvm::Value* words = sharedArray(wordArguments_, wordArray, "arguments");
  llvm::Value* types = isDynamic ? sharedArray(typesOfArguments_, typeArray, "types") : nullptr;
  std::vector<std::string> knownTypes;
  for (unsigned i = 0; i < values.size(); ++i) {
    ir_.CreateStore(wordOf(values[i]), ir_.CreateConstInBoundsGEP2_64(wordArray, words, 0, i));
    if (isDynamic) ir_.CreateStore(spelledType(values[i]), ir_.CreateConstInBoundsGEP2_64(typeArray, types, 0, i));
    knownTypes.push_back(values[i].type);
  }
  return {count, words, isDynamic ? types : builder_.textArray(knownTypes)};
}

MethodGenerator::Value MethodGenerator::lateResult(llvm::Value* word, const std::string& wanted) {
  if (wanted.empty()) return dynamicValue(word);
  return {wanted == "void" ? nullptr : builder_.fromWord(ir_, word, wanted), wanted};
}

MethodGenerator::Value MethodGenerator::callByName(const std::string& className,
                                                   const std::vector<std::string>& candidates, const Member& member,
                                                   const std::vector<Value>& arguments, const std::string& wanted) {
  const WordArguments words = wordArguments(arguments);
  llvm::Value* result =
      call(op::callByName, builder_.text(className), builder_.number(static_cast<int64_t>(candidates.size())),
           builder_.textArray(candidates), builder_.text(member.name), words.count, words.words, words.types,
           builder_.text(wanted), placeOfType(), builder_.location(member.position));
  return lateResult(result, wanted);
}

MethodGenerator::Value MethodGenerator::callMember(const Value& receiver, const Member& member,
                                                   const std::vector<Value>& arguments, const std::string& wanted) {
  std::vector<Value> all = {receiver};
  all.insert(all.end(), arguments.begin(), arguments.end());
  const WordArguments words = wordArguments(all);
  llvm::Value* result = call(op::callMember, builder_.text(member.name), words.count, words.words, words.types,
                             builder_.text(wanted), placeOfType(), builder_.location(member.position));
  return lateResult(result, wanted);
}

MethodGenerator::Value MethodGenerator::memberCall(const Value& receiver, const Member& member,
                                                   const std::string& wanted) {
  if (!receiver.isDynamic()) {
    if (const auto problem = runtime::receiverProblem(receiver.type, member.name)) fail(member.position, *problem);
  }
  if (!member.isCall) fail(member.position, "expected '(' after '." + member.name + "'");
  if (receiver.isDynamic()) {
    call(op::requireObject, receiver.value, receiver.typeAtRun, builder_.text(member.name),
         builder_.location(member.position));
    return callMember(receiver, member, arguments(member, nullptr), wanted);
  }
  call(op::requireReceiver, receiver.value, builder_.text(member.name), builder_.location(member.position));
  if (receiver.type == "Type" && member.name == "call") return typeCall(receiver, member);
  if (runtime::isBuiltInType(receiver.type)) return builtInCall(receiver, member, wanted);
  if (const auto* summary = summaryOf(receiver.type)) return linkedCall(*summary, member, &receiver, wanted);
  return callMember(receiver, member, arguments(member, nullptr), wanted);
}

MethodGenerator::Value MethodGenerator::builtInCall(const Value& receiver, const Member& member,
                                                    const std::string& wanted) {
  const runtime::BuiltInMethod* method = runtime::findBuiltInMethod(receiver.type, member.name);
  const runtime::MethodSignature* signature = method == nullptr ? nullptr : &method->signature;
  const std::vector<Value> values = arguments(member, signature);
  const bool isRight = fits(receiver.type, member, signature, false, values);
  if (!isRight || isAnyDynamic(values)) {
    return callMember(receiver, member, values, isRight ? signature->result : wanted);
  }
  std::vector<llvm::Value*> passed = {receiver.value};
  for (const Value& value : values) passed.push_back(value.value);
  if (method->takesCallSite) passed.push_back(builder_.location(member.position));
  std::vector<llvm::Type*> types;
  for (const llvm::Value* each : passed) types.push_back(each->getType());
  auto* type = llvm::FunctionType::get(builder_.typeOf(signature->result), types, false);
  return {call(builder_.module().getOrInsertFunction(method->operation.name, type), passed), signature->result};
}

MethodGenerator::Value MethodGenerator::typeCall(const Value& receiver, const Member& member) {
  std::vector<Value> values = arguments(member, nullptr);
  const bool isNamed = !values.empty() && runtime::isAssignable("String", values.front().type);
  if (!isNamed) return callMember(receiver, member, values, "String");
  llvm::Value* method = values.front().value;
  values.erase(values.begin());
  const WordArguments words = wordArguments(values);
  llvm::Value* result = call(op::typeCall, receiver.value, method, words.count, words.words, words.types,
                             builder_.location(member.position));
  return {result, "String"};
}

}  // namespace orva::compiler
