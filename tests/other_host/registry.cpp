// The registry: thousands of types, guarded by a shared mutex.
#include <deque>
#include <shared_mutex>
#include <unordered_map>

#include "other_host.h"
#include "runtime_api/reflection.h"

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

namespace other_host {

static std::shared_mutex mutex;

// A deque never moves its elements, so names and addresses stay valid.
static std::deque<Type>& types() {
  static std::deque<Type> all;
  return all;
}

static std::unordered_map<std::string_view, const Type*>& index() {
  static std::unordered_map<std::string_view, const Type*> byFullName;
  return byFullName;
}

static void addRecord(const Type& type) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  gTypes.push_back({&type, 1, {type.fullName, type.shortName, {}, {}}});
}

const Type* registerType(const std::string& fullName) {
  const std::unique_lock<std::shared_mutex> lock(mutex);
  const auto known = index().find(fullName);
  if (known != index().end()) return known->second;
  Type& type = types().emplace_back(Type{fullName, {}});
  // The dots in the arguments of a generic instance belong to other names.
  type.shortName = std::string_view(type.fullName).substr(fullName.rfind('.', fullName.find('<')) + 1);
  index().emplace(type.fullName, &type);
  addRecord(type);
  return &type;
}

const Type* findType(const std::string& fullName) {
  const std::shared_lock<std::shared_mutex> lock(mutex);
  const auto found = index().find(fullName);
  return found == index().end() ? nullptr : found->second;
}

static const Type& typeAt(int32_t at) {
  const std::shared_lock<std::shared_mutex> lock(mutex);
  return types().at(static_cast<std::size_t>(at));
}

}  // namespace other_host

int32_t Reflection_getTypeCount() {
  const std::shared_lock<std::shared_mutex> lock(other_host::mutex);
  return static_cast<int32_t>(other_host::types().size());
}

// The short name is the tail of the full one, so it ends with the same NUL.
const char* Reflection_getTypeName(int32_t index) { return other_host::typeAt(index).shortName.data(); }

const char* Reflection_getTypeFullName(int32_t index) { return other_host::typeAt(index).fullName.c_str(); }
