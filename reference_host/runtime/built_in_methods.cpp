// Each method is an operation of compiled code, and can also be found by name at run time.
#include "reference_host/runtime/built_in_methods.h"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace rt = orva::runtime;

extern "C" {

static int64_t orvart_listSize(const rt::ArrayList* list) { return static_cast<int64_t>(list->elements.size()); }

static const char* orvart_listGet(const rt::ArrayList* list, int64_t index, const rt::SourceLocation* callSite) {
  const int64_t size = orvart_listSize(list);
  if (index < 0 || index >= size) {
    rt::throwException("Exception",
                       "Index " + std::to_string(index) + " is out of range for a list of size " + std::to_string(size),
                       callSite);
  }
  return list->elements[static_cast<std::size_t>(index)];
}

static void orvart_listAdd(rt::ArrayList* list, const char* element, const rt::SourceLocation* /*callSite*/) {
  rt::addElement(*list, element);
}

static const char* orvart_typeName(const rt::Type* type) { return type->fullName.c_str(); }

static const char* orvart_typeSource(const rt::Type* type) { return type->source.c_str(); }

static const char* orvart_typeCall(const rt::Type* type, const char* method, int64_t count, const int64_t* values,
                                   const char* const* types, const rt::SourceLocation* callSite) {
  if (method == nullptr) {
    rt::throwException("Exception", "Method 'Type.call' takes the name of a method, not null", callSite);
  }
  return rt::textOf(rt::callDynamically(*type, method, true, {count, values, types}, callSite));
}

static const char* orvart_exceptionClass(const rt::Exception* exception) { return exception->className; }

static const char* orvart_exceptionMessage(const rt::Exception* exception) { return exception->message; }

}  // extern "C"

namespace orva::runtime {

namespace {

template <typename Value>
Value* at(int64_t word) {
  return reinterpret_cast<Value*>(word);
}

int64_t wordOf(const char* text) { return reinterpret_cast<int64_t>(text); }
int64_t wordOf(int64_t number) { return number; }

/// Calls an operation on one value with words.
template <auto operation>
struct OfValue;
template <typename Result, typename Value, Result (*operation)(Value*)>
struct OfValue<operation> {
  static int64_t call(const int64_t* words, const SourceLocation* /*callSite*/) {
    return wordOf(operation(at<Value>(words[0])));
  }
};

int64_t callListGet(const int64_t* words, const SourceLocation* callSite) {
  return wordOf(orvart_listGet(at<const ArrayList>(words[0]), words[1], callSite));
}

int64_t callListAdd(const int64_t* words, const SourceLocation* callSite) {
  orvart_listAdd(at<ArrayList>(words[0]), at<const char>(words[1]), callSite);
  return 0;
}

/// `Type.call`, whose arguments are a type, the name of one of its methods, and the arguments of that method.
DynamicValue callMethodOfType(const DynamicArguments& arguments, const SourceLocation* callSite) {
  if (arguments.count < 2 || !isAssignable("String", arguments.types[1])) {
    throwException("Exception", "Method 'Type.call' takes the name of a method, followed by its arguments", callSite);
  }
  const char* const text = orvart_typeCall(at<const Type>(arguments.values[0]), at<const char>(arguments.values[1]),
                                           arguments.count - 2, arguments.values + 2, arguments.types + 2, callSite);
  return {wordOf(text), "String"};
}

/// How the language spells the type of a parameter or a result; null for the call site.
template <typename Value>
extern const char* const spelling;
template <>
constexpr const char* spelling<const SourceLocation*> = nullptr;
template <>
constexpr const char* spelling<void> = "void";
template <>
constexpr const char* spelling<int64_t> = "int";
template <>
constexpr const char* spelling<const char*> = "String";

/// A method of the language with the parameters and the result of its operation.
template <typename Result, typename Receiver, typename... Parameters>
BuiltInMethod method(std::string_view type, const char* name,
                     const Operation<Result(Receiver*, Parameters...)>& operation,
                     Result (*function)(Receiver*, Parameters...), Invoker invoke) {
  BuiltInMethod made{type, {name, false, {}, spelling<Result>}, linked(operation, function), false, invoke};
  for (const char* parameter : std::initializer_list<const char*>{spelling<Parameters>...}) {
    if (parameter == nullptr) {
      made.takesCallSite = true;
    } else {
      made.signature.parameters.emplace_back(parameter);
    }
  }
  return made;
}

const std::vector<BuiltInMethod>& builtInMethods() {
  constexpr const char* list = "ArrayList<String>";
  static const auto& methods = *new std::vector<BuiltInMethod>{
      method(list, "size", op::listSize, orvart_listSize, OfValue<orvart_listSize>::call),
      method(list, "get", op::listGet, guarded<orvart_listGet>, callListGet),
      method(list, "add", op::listAdd, guarded<orvart_listAdd>, callListAdd),
      method("Type", "name", op::typeName, orvart_typeName, OfValue<orvart_typeName>::call),
      method("Type", "source", op::typeSource, orvart_typeSource, OfValue<orvart_typeSource>::call),
      method("Exception", "className", op::exceptionClass, orvart_exceptionClass, OfValue<orvart_exceptionClass>::call),
      method("Exception", "message", op::exceptionMessage, orvart_exceptionMessage,
             OfValue<orvart_exceptionMessage>::call),
  };
  return methods;
}

}  // namespace

const BuiltInMethod* findBuiltInMethod(std::string_view type, std::string_view name) {
  const auto matches = [&](const BuiltInMethod& each) { return each.type == type && each.signature.name == name; };
  const auto found = std::find_if(builtInMethods().begin(), builtInMethods().end(), matches);
  return found == builtInMethods().end() ? nullptr : &*found;
}

DynamicValue callBuiltIn(const char* methodName, const DynamicArguments& arguments, const SourceLocation* callSite) {
  const std::string type = arguments.types[0];
  if (type == "Type" && std::string_view(methodName) == "call") return callMethodOfType(arguments, callSite);
  const BuiltInMethod* method = findBuiltInMethod(type, methodName);
  const std::vector<std::string> types(arguments.types + 1, arguments.types + arguments.count);
  if (const auto problem =
          callProblem(type, methodName, method == nullptr ? nullptr : &method->signature, false, types)) {
    throwException("Exception", *problem, callSite);
  }
  return {method->invoke(arguments.values, callSite), method->signature.result.c_str()};
}

std::vector<NamedOperation> builtInOperations() {
  std::vector<NamedOperation> all = {linked(op::typeCall, guarded<orvart_typeCall>)};
  for (const BuiltInMethod& each : builtInMethods()) all.push_back(each.operation);
  return all;
}

}  // namespace orva::runtime
