// What compiled code needs besides machine instructions.
#include "reference_host/runtime/operations.h"

#include <cxxabi.h>

#include <cstring>
#include <typeinfo>

#include "reference_host/runtime/call_stack.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::runtime {

void throwException(std::string_view className, std::string_view message, const SourceLocation* callSite) {
  throw Thrown{newException(className, message, callSite)};
}

DynamicValue callDynamically(const Type& type, const char* methodName, bool isStatic, const DynamicArguments& arguments,
                             const SourceLocation* callSite) {
  const Method* method = type.find(methodName);
  const std::vector<std::string> types(arguments.types + (isStatic ? 0 : 1), arguments.types + arguments.count);
  if (const auto problem =
          callProblem(type.fullName, methodName, method == nullptr ? nullptr : &method->signature, isStatic, types)) {
    throwException("Exception", *problem, callSite);
  }
  return {method->call(arguments.values, callSite), method->signature.result.c_str()};
}

static const char* listText(const ArrayList* list) {
  std::string text = "[";
  for (const char* element : list->elements) {
    if (text.size() > 1) text += ", ";
    text += orvart_printableText(element);
  }
  return newText(text + "]");
}

const char* textOf(const DynamicValue& dynamic) {
  const int64_t value = dynamic.word;
  const std::string_view type = dynamic.type;
  if (type == "int") return newText(std::to_string(value));
  if (type == "boolean") return value != 0 ? "true" : "false";
  if (type == "void" || value == 0) return nullptr;
  if (type == "String") return reinterpret_cast<const char*>(value);
  if (type == "Type") return reinterpret_cast<const Type*>(value)->fullName.c_str();
  if (type == "ArrayList<String>") return listText(reinterpret_cast<const ArrayList*>(value));
  if (type == "Exception") return reinterpret_cast<const Exception*>(value)->message;
  // An object may be anything that a native made, so it is never read.
  return dynamic.type;
}

}  // namespace orva::runtime

namespace rt = orva::runtime;

extern "C" {

const char* orvart_printableText(const char* text) { return text == nullptr ? "null" : text; }

static const char* orvart_joinTexts(const char* left, const char* right, const rt::SourceLocation* /*callSite*/) {
  return rt::newText(orvart_printableText(left), orvart_printableText(right));
}

static const char* orvart_intText(int64_t value, const rt::SourceLocation* /*callSite*/) {
  return rt::textOf({value, "int"});
}

static const char* orvart_booleanText(int64_t value) { return rt::textOf({value, "boolean"}); }

int64_t orvart_textsEqual(const char* left, const char* right) {
  const bool equal = left == nullptr || right == nullptr ? left == right : std::strcmp(left, right) == 0;
  return equal ? 1 : 0;
}

static rt::ArrayList* orvart_newList(const rt::SourceLocation* /*callSite*/) { return rt::newList(); }

static int64_t orvart_exceptionIs(const rt::Exception* exception, const char* className) {
  return std::strcmp(exception->className, className) == 0 ? 1 : 0;
}

[[noreturn]] static void orvart_raise(const char* className, const char* message, const rt::SourceLocation* callSite) {
  rt::throwException(className, orvart_printableText(message), callSite);
}

[[noreturn]] static void orvart_rethrow(rt::Exception* exception) { throw rt::Thrown{exception}; }

static rt::Exception* orvart_beginCatch(void* caught, const rt::CallFrame* frame) {
  rt::returnToCall(*frame);
  rt::Exception* exception = static_cast<rt::Thrown*>(abi::__cxa_begin_catch(caught))->exception;
  abi::__cxa_end_catch();
  return exception;
}

// NOLINTBEGIN(bugprone-reserved-identifier)
int __gxx_personality_v0(...);
// NOLINTEND(bugprone-reserved-identifier)

static void orvart_enterNative() { rt::forgetPendingException(); }

static void orvart_leaveNative(const rt::SourceLocation* callSite) {
  // Taking an exception moves two strings, and almost always there is none.
  const auto pending = rt::isExceptionPending() ? rt::takePendingException() : std::nullopt;
  if (pending) rt::throwException(pending->className, pending->message, callSite);
}

void orvart_requireReceiver(const void* receiver, const char* method, const rt::SourceLocation* callSite) {
  if (receiver == nullptr) {
    rt::throwException("Exception", std::string("Cannot call '") + method + "' on null", callSite);
  }
}

[[noreturn]] static void throwTooDeep(const char* method, const rt::SourceLocation* callSite) {
  rt::throwException("Exception", std::string("Recursion too deep in '") + method + "'", callSite);
}

static void orvart_requireStack(int64_t size, const char* method, const rt::SourceLocation* callSite) {
  if (rt::hasStack(static_cast<std::size_t>(size))) return;
  if (rt::isRunning(method)) throwTooDeep(method, callSite);
  rt::throwException(
      "Exception",
      std::string("The stack has no room for '") + method + "', which needs about " + std::to_string(size) + " bytes",
      callSite);
}

static void orvart_enter(rt::CallFrame* frame, const char* method, const rt::SourceLocation* callSite) {
  if (!rt::enterCall(*frame, method, callSite)) throwTooDeep(method, callSite);
}

static void orvart_leave(const rt::CallFrame* frame) { rt::leaveCall(*frame); }

}  // extern "C"

namespace orva::runtime {

std::vector<NamedOperation> operations() {
  return {
      linked(op::registerType, orvart_registerType),
      linked(op::joinTexts, guarded<orvart_joinTexts>),
      linked(op::intText, guarded<orvart_intText>),
      linked(op::booleanText, orvart_booleanText),
      linked(op::textsEqual, orvart_textsEqual),
      linked(op::newList, guarded<orvart_newList>),
      linked(op::exceptionIs, orvart_exceptionIs),
      linked(op::raise, guarded<orvart_raise>),
      linked(op::rethrow, orvart_rethrow),
      linked(op::beginCatch, orvart_beginCatch),
      linked(op::enterNative, orvart_enterNative),
      linked(op::leaveNative, guarded<orvart_leaveNative>),
      linked(op::requireReceiver, guarded<orvart_requireReceiver>),
      linked(op::requireStack, guarded<orvart_requireStack>),
      linked(op::enter, guarded<orvart_enter>),
      linked(op::leave, orvart_leave),
      {personality, reinterpret_cast<const void*>(__gxx_personality_v0)},
      {thrownType, &typeid(Thrown)},
  };
}

}  // namespace orva::runtime
