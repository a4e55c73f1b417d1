// The runtime: exceptions, types, objects and lists.
#include "runtime_api/runtime.h"

#include <deque>
#include <stdexcept>
#include <utility>

#include "other_host.h"

namespace other_host {

static thread_local std::optional<std::string> pending;

std::optional<std::string> takePending() { return std::exchange(pending, std::nullopt); }

static const List& listOf(void* handle) { return *static_cast<List*>(handle); }

}  // namespace other_host

void Orva_raise(const char* exceptionClass, const char* message) {
  other_host::pending = std::string(exceptionClass) + ": " + message;
}

void* Orva_typeByName(const char* typeName) {
  return typeName == nullptr ? nullptr : const_cast<other_host::Type*>(other_host::findType(typeName));
}

void* Orva_allocObject(const char* className) {
  static std::deque<std::string> objects;
  if (className != std::string("SystemClassLoader")) throw std::runtime_error(std::string("No class ") + className);
  return &objects.emplace_back(className);
}

int64_t orva_collections_ArrayList_size(void* list) {
  return static_cast<int64_t>(other_host::listOf(list).elements.size());
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  return other_host::listOf(list).elements.at(static_cast<std::size_t>(index)).c_str();
}
