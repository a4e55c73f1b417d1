// The one registry of the process. `gReflectionMutex` guards everything except the numbers of the types.
#include "reference_host/runtime/type_registry.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <filesystem>
#include <mutex>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "reference_host/language/printable_text.h"
#include "runtime_api/reflection.h"

std::mutex gReflectionMutex;

// `gTypes` is constructed in separate storage and never destroyed: threads that outlive `main` may walk it while the
// process ends.
using TypeTable = std::vector<TypeRecord>;
using Room = std::aligned_storage_t<sizeof(TypeTable), alignof(TypeTable)>;
extern __attribute__((visibility("default"))) Room roomOfTypes __asm__("gTypes");
Room roomOfTypes;
[[maybe_unused]] static const TypeTable* const madeTypes = new (&roomOfTypes) TypeTable();

namespace orva::runtime {

namespace {

/// The types by number. Threads may read them while one thread adds a type, so lists that have become too short are
/// kept.
class TypeNumbers {
 public:
  int32_t count() const { return count_.load(std::memory_order_acquire); }

  const Type& at(int32_t number) const { return *current_.load(std::memory_order_acquire)[number]; }

  void add(const Type& type) {
    const auto number = static_cast<std::size_t>(count());
    if (number == lists_.back().size()) {
      std::vector<const Type*> longer = lists_.back();
      longer.resize(number * 2);
      current_.store(lists_.emplace_back(std::move(longer)).data(), std::memory_order_release);
    }
    lists_.back()[number] = &type;
    count_.store(static_cast<int32_t>(number + 1), std::memory_order_release);
  }

 private:
  std::deque<std::vector<const Type*>> lists_{std::vector<const Type*>(16)};
  std::atomic<const Type* const*> current_{lists_.back().data()};
  std::atomic<int32_t> count_{0};
};

struct Registry {
  std::deque<Type> types;  // never moves its elements
  TypeNumbers numbers;
  std::unordered_map<std::string, const Type*> fullNames;
  /// Short names of types in packages, except for generic instances; null for a name that several types share.
  std::unordered_map<std::string, const Type*> shortNames;
};

Registry& registry() {
  static auto* const only = new Registry();
  return *only;
}

const Type* lookUp(const std::unordered_map<std::string, const Type*>& names, const std::string& name) {
  const auto found = names.find(name);
  return found == names.end() ? nullptr : found->second;
}

Type makeType(Registration::Noted noted) {
  const TypeDescriptor& descriptor = *noted.descriptor;
  Type type{descriptor.name, descriptor.fullName, noted.origin, std::move(noted.source), {}};
  for (int64_t i = 0; i < descriptor.methodCount; ++i) {
    const MethodDescriptor& method = descriptor.methods[i];
    type.methods.push_back({{method.name, method.isStatic != 0, splitTypes(method.parameters), method.result},
                            method.code,
                            method.invoke});
  }
  std::sort(type.methods.begin(), type.methods.end(),
            [](const Method& one, const Method& other) { return one.signature.name < other.signature.name; });
  return type;
}

/// Adds a type and its record; the lock is held.
void add(Registration::Noted noted) {
  Registry& all = registry();
  Type& type = all.types.emplace_back(makeType(std::move(noted)));
  // What any other spelling of a generic instance means depends on the classes that exist when it is looked up.
  const bool isInstance = type.fullName.find('<') != std::string::npos;
  TypeRecord record{isInstance ? "" : type.name, type.fullName, {}, {}, &type, {}};
  // The type itself comes first, so that a type without methods is ready too.
  record.members.push_back(&type);
  for (Method& method : type.methods) record.members.push_back(&method);
  all.fullNames.emplace(type.fullName, &type);
  if (!isInstance && type.name != type.fullName) {
    const auto [at, isNew] = all.shortNames.emplace(type.name, &type);
    if (!isNew) at->second = nullptr;
  }
  gTypes.push_back(std::move(record));
  all.numbers.add(type);
}

thread_local Registration* openRegistration = nullptr;

/// The last spelling of a generic instance that was resolved on this thread, until it is looked up.
struct ResolvedSpelling {
  std::string spelling;
  std::string fullName;
};
thread_local ResolvedSpelling resolvedSpelling;

}  // namespace

Registration::Registration() { openRegistration = this; }

Registration::~Registration() { openRegistration = nullptr; }

Registration* Registration::current() { return openRegistration; }

/// Refuses types that are known already, or noted twice; the lock is held.
static void checkNew(const std::vector<Registration::Noted>& noted) {
  std::unordered_map<std::string, std::string> sources;
  for (const auto& [descriptor, origin, source] : noted) {
    const std::string fullName = descriptor->fullName;
    if (const Type* known = lookUp(registry().fullNames, fullName)) sources.emplace(fullName, known->source);
    const auto [other, isNew] = sources.emplace(fullName, source);
    if (!isNew) {
      throw std::runtime_error("Type '" + fullName + "' in " + language::printable(source) +
                               " is already loaded from " + language::printable(otherSource(other->second, source)));
    }
  }
}

void Registration::commit() {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  checkNew(noted_);
  for (Noted& noted : noted_) orva::runtime::add(std::move(noted));
  noted_.clear();
}

/// Finds a type by its full name or its short one; the lock is held.
static const Type* findByEither(const std::string& name) {
  const Type* type = lookUp(registry().fullNames, name);
  return type != nullptr ? type : lookUp(registry().shortNames, name);
}

/// A generic spelling with the full names of all loaded classes in it; the lock is held.
static std::string withFullNames(const std::string& name) {
  std::string spelling;
  for (std::size_t begin = 0; begin < name.size();) {
    const std::size_t end = std::min(name.find_first_of("<,>", begin), name.size());
    const std::string each = name.substr(begin, end - begin);
    const Type* type = findByEither(each);
    spelling += (type == nullptr ? each : type->fullName) + name.substr(end, 1);
    begin = end + 1;
  }
  return spelling;
}

const Type* findType(std::string_view name) {
  const bool isGeneric = name.find('<') != std::string_view::npos;
  const std::string key = isGeneric ? withoutBlanks(name) : std::string(name);
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  const Type* type = findByEither(key);
  if (type != nullptr || !isGeneric) return type;
  if (key == resolvedSpelling.spelling) {
    type = lookUp(registry().fullNames, std::exchange(resolvedSpelling, {}).fullName);
  }
  return type != nullptr ? type : lookUp(registry().fullNames, withFullNames(key));
}

void noteSpelling(std::string_view spelling, const std::string& fullName) {
  resolvedSpelling = {withoutBlanks(spelling), fullName};
}

const Type* findTypeByFullName(std::string_view fullName) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return lookUp(registry().fullNames, std::string(fullName));
}

const Type* findTypeByShortName(const std::string& name) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  const auto found = registry().shortNames.find(name);
  if (found == registry().shortNames.end()) return nullptr;
  if (found->second != nullptr) return found->second;
  // The library's message for an ambiguous name that is not an argument.
  throw std::runtime_error("Ambiguous plugin entry type '" + name + "'; use its fully qualified name");
}

std::string otherSource(const std::string& loaded, const std::string& path) {
  const auto spelling = [](const std::string& file) { return std::filesystem::path(file).lexically_normal(); };
  return spelling(loaded) == spelling(path) ? "an earlier file of the same name" : loaded;
}

const Type& typeAt(int32_t index) { return registry().numbers.at(index); }

int32_t typeCount() { return registry().numbers.count(); }

}  // namespace orva::runtime

void orvart_registerType(const orva::runtime::TypeDescriptor* descriptor) {
  orva::runtime::Registration::current()->add(*descriptor);
}
