// Each method is an operation of compiled code, and can be found by its name while the program runs.
#include "reference_host/runtime/built_in_methods.h"

#include <algorithm>
#include <string>

namespace rt = orva::runtime;

extern "C" {

static int64_t orvart_listSize(const rt::ArrayList* list) { return static_cast<int64_t>(list->elements.size()); }

static const char* orvart_listGet(const rt::ArrayList* list, int64_t index, const rt::SourceLocation* callSite) {
  const int64_t size = orvart_listSize(list);
  if (index < 0 || index >= size) {
    rt::throwException("Exception",
                       "Index " + std::to_string(index) + " is outside of a list of " + std::to_string(size), callSite);
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

/// An operation with one value, called with words.
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

/// `Type.call`, whose arguments are a type, the name of one of its methods, and what that method takes.
DynamicValue callMethodOfType(const DynamicArguments& arguments, const SourceLocation* callSite) {
  if (arguments.count < 2 || !isAssignable("String", arguments.types[1])) {
    throwException("Exception", "Method 'Type.call' takes the name of a method, then its arguments", callSite);
  }
  const char* const text = orvart_typeCall(at<const Type>(arguments.values[0]), at<const char>(arguments.values[1]),
                                           arguments.count - 2, arguments.values + 2, arguments.types + 2, callSite);
  return {wordOf(text), "String"};
}

const std::vector<BuiltInMethod>& builtInMethods() {
  constexpr const char* list = "ArrayList<String>";
  static const auto& methods = *new std::vector<BuiltInMethod>{
      {list, {"size", false, {}, "int"}, "listSize", false, OfValue<orvart_listSize>::call},
      {list, {"get", false, {"int"}, "String"}, "listGet", true, callListGet},
      {list, {"add", false, {"String"}, "void"}, "listAdd", true, callListAdd},
      {"Type", {"name", false, {}, "String"}, "typeName", false, OfValue<orvart_typeName>::call},
      {"Type", {"source", false, {}, "String"}, "typeSource", false, OfValue<orvart_typeSource>::call},
      {"Exception", {"className", false, {}, "String"}, "exceptionClass", false, OfValue<orvart_exceptionClass>::call},
      {"Exception",
       {"message", false, {}, "String"},
       "exceptionMessage",
       false,
       OfValue<orvart_exceptionMessage>::call},
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
  return {
      {"orvart_listSize", addressOf(orvart_listSize)},
      guarded<orvart_listGet>("orvart_listGet"),
      guarded<orvart_listAdd>("orvart_listAdd"),
      {"orvart_typeName", addressOf(orvart_typeName)},
      {"orvart_typeSource", addressOf(orvart_typeSource)},
      guarded<orvart_typeCall>("orvart_typeCall"),
      {"orvart_exceptionClass", addressOf(orvart_exceptionClass)},
      {"orvart_exceptionMessage", addressOf(orvart_exceptionMessage)},
  };
}

}  // namespace orva::runtime
