// The runtime's entry points: what natives call to raise exceptions, look up types, allocate objects and read lists.
#include <new>
#include <stdexcept>
#include <string>

#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "reference_host/runtime/values.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace rt = orva::runtime;

/// A text that a native passes, or another one if it is null.
static std::string textOr(const char* text, const char* otherwise) { return text == nullptr ? otherwise : text; }

void Orva_raise(const char* exceptionClass, const char* message) {
  try {
    // A message is often what `what()` returned, which may be null.
    rt::setPendingException({textOr(exceptionClass, "Exception"), textOr(message, "")});
  } catch (const std::bad_alloc&) {
    // Both are so short that they need no allocation.
    rt::setPendingException({"Exception", "Out of memory"});
  }
}

void* Orva_typeByName(const char* typeName) {
  // Types are opaque to natives, which never write through the pointer.
  return typeName == nullptr ? nullptr : const_cast<rt::Type*>(rt::findType(typeName));
}

void* Orva_allocObject(const char* className) {
  const std::string name = textOr(className, "");
  // The standard library's class comes first, whatever class of the program has its short name.
  const rt::Type* type = rt::findTypeByFullName("orva." + name);
  if (type == nullptr) type = rt::findType(name);
  if (type != nullptr) return rt::newObject(*type);
  throw std::runtime_error("Cannot allocate an object: no single class is named '" + name + "'");
}

int64_t orva_collections_ArrayList_size(void* list) {
  return static_cast<int64_t>(static_cast<rt::ArrayList*>(list)->elements.size());
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  return static_cast<rt::ArrayList*>(list)->elements[static_cast<std::size_t>(index)];
}

int32_t Reflection_getTypeCount() { return rt::typeCount(); }

const char* Reflection_getTypeName(int32_t index) { return rt::typeAt(index).name.c_str(); }

const char* Reflection_getTypeFullName(int32_t index) { return rt::typeAt(index).fullName.c_str(); }
