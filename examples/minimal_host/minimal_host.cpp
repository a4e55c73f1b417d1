// The smallest host, in memory: everything that the class loaders call except the compiler. Start from a copy of it.
#include "minimal_host.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace fs = std::filesystem;

namespace {

struct Type {
  std::string shortName;
  std::string fullName;
};

struct Object {
  const Type* type;
};

// Deques never move their elements, so pointers into them stay valid.
std::deque<Type> types;  // guarded by gReflectionMutex
std::deque<Object> objects;
std::mutex objectsMutex;
thread_local std::optional<minimal_host::Exception> pending;

/// Finds a type by full name, or by a short name that only one type has; the caller holds the mutex.
const Type* findType(const std::string& name) {
  const Type* found = nullptr;
  for (const Type& type : types) {
    if (type.fullName == name) return &type;
    if (type.shortName != name) continue;
    if (found != nullptr) return nullptr;
    found = &type;
  }
  return found;
}

/// A generic name may have blanks anywhere.
std::string withoutBlanks(std::string name) {
  if (name.find('<') != std::string::npos) name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
  return name;
}

}  // namespace

// == The registry

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

int32_t Reflection_getTypeCount() {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return static_cast<int32_t>(types.size());
}

const char* Reflection_getTypeName(int32_t index) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return types.at(static_cast<std::size_t>(index)).shortName.c_str();
}

const char* Reflection_getTypeFullName(int32_t index) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return types.at(static_cast<std::size_t>(index)).fullName.c_str();
}

void minimal_host::registerType(const std::string& fullName) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  const auto isSame = [&fullName](const Type& type) { return type.fullName == fullName; };
  if (std::any_of(types.begin(), types.end(), isSame)) throw std::runtime_error(fullName + " is registered already");
  // The dots in the arguments of a generic instance belong to other names.
  const std::size_t dot = fullName.rfind('.', fullName.find('<'));
  Type& type = types.emplace_back(Type{fullName.substr(dot == std::string::npos ? 0 : dot + 1), fullName});
  // A record is ready once it has a type and a member.
  gTypes.push_back({type.shortName, type.fullName, {}, {}, &type, {&type}});
}

void minimal_host::start() {
  registerType("orva.ClassLoader");
  registerType("orva.SystemClassLoader");
}

// == The runtime

void Orva_raise(const char* exceptionClass, const char* message) { pending = {exceptionClass, message}; }

std::optional<minimal_host::Exception> minimal_host::takePending() { return std::exchange(pending, std::nullopt); }

void* Orva_typeByName(const char* typeName) {
  if (typeName == nullptr) return nullptr;
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return const_cast<Type*>(findType(withoutBlanks(typeName)));
}

void* Orva_allocObject(const char* className) {
  const auto* type = static_cast<const Type*>(Orva_typeByName(className));
  if (type == nullptr) throw std::runtime_error(std::string("There is no class ") + className);
  const std::lock_guard<std::mutex> lock(objectsMutex);
  return &objects.emplace_back(Object{type});
}

int64_t orva_collections_ArrayList_size(void* list) {
  return static_cast<int64_t>(static_cast<minimal_host::StringList*>(list)->elements.size());
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  const auto& element = static_cast<minimal_host::StringList*>(list)->elements.at(static_cast<std::size_t>(index));
  return element ? element->c_str() : nullptr;
}

// == The class path

namespace orva::compiler {

static std::mutex classPathMutex;

/// Every class path so far: a reader may still walk an older one.
static std::deque<std::vector<std::string>>& classPaths() {
  static std::deque<std::vector<std::string>> all(1);
  return all;
}

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  return runtime;
}

// start() registers the types of the class loaders, so their sources are not loaded.
std::string Runtime::getStandardLibraryPath() const { return {}; }

const std::vector<std::string>& Runtime::getKlassPaths() const {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  return classPaths().back();
}

bool Runtime::addKlassPath(const std::string& root) {
  std::error_code error;
  if (!fs::is_directory(root, error)) return false;
  const std::lock_guard<std::mutex> lock(classPathMutex);
  std::vector<std::string> roots = classPaths().back();
  if (std::find(roots.begin(), roots.end(), root) != roots.end()) return false;
  roots.push_back(root);
  classPaths().push_back(std::move(roots));
  return true;
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  std::string relative = className;
  std::replace(relative.begin(), relative.end(), '.', '/');
  for (const std::string& root : Runtime::getInstance().getKlassPaths()) {
    // Joined as texts, because a path that begins with a slash would replace the root.
    const fs::path file = root + "/" + relative + ".ov";
    std::error_code error;
    if (fs::is_regular_file(file, error)) return file.string();
  }
  return {};
}

// Nothing is cached.
void ClassLoader::invalidateKlassPathCaches() {}

/// Accepts names of letters, digits and underscores, separated by single dots.
bool PackageLayout::isValidPackageName(std::string_view packageName) {
  bool isNameBegun = false;
  for (const char byte : packageName) {
    const bool isLetter = std::isalpha(static_cast<unsigned char>(byte)) != 0 || byte == '_';
    const bool isDigit = std::isdigit(static_cast<unsigned char>(byte)) != 0;
    if (!isLetter && !(isNameBegun && (isDigit || byte == '.'))) return false;
    isNameBegun = byte != '.';
  }
  return isNameBegun;
}

}  // namespace orva::compiler
