// Each neighbour that a measured call reaches does only what it must.
#include "benchmarks/floors/measured_host.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>

#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using Registry = std::vector<measured::TypeNames>;

static const Registry* registry = nullptr;
static std::vector<std::string> roots;
static std::size_t loadCount = 0;
static char object;

[[noreturn]] static void fail(const char* what) {
  std::fprintf(stderr, "A measured call failed: %s\n", what);
  std::abort();
}

namespace measured {

std::string shortNameOf(std::size_t number) { return "HttpRequestHandler" + std::to_string(number); }

std::string fullNameOf(std::size_t number) { return "com.example.service.web." + shortNameOf(number); }

void registerTypes(const std::vector<TypeNames>& types) { registry = &types; }

void registerTypes(std::size_t count) {
  static std::map<std::size_t, Registry> registries;
  Registry& wanted = registries[count];
  for (std::size_t number = wanted.size(); number < count; ++number) {
    wanted.push_back({shortNameOf(number), fullNameOf(number)});
  }
  registerTypes(wanted);
}

static std::vector<TypeRecord> tableOf(std::size_t count) {
  std::vector<TypeRecord> table;
  table.reserve(count);
  for (std::size_t number = 0; number < count; ++number) {
    const std::string name = fullNameOf(number);
    const std::string generic = name + "<Item>";
    table.push_back({name, name, generic, generic, &object, {&object}});
  }
  return table;
}

void useTable(std::vector<TypeRecord>& records) {
  static std::vector<TypeRecord>* used = &gTypes;
  used->swap(gTypes);
  used = &records;
  used->swap(gTypes);
}

void fillTable(std::size_t count) {
  static std::map<std::size_t, std::vector<TypeRecord>> tables;
  const auto [table, isNew] = tables.try_emplace(count);
  if (isNew) table->second = tableOf(count);
  useTable(table->second);
}

void setRoot(const std::string& folder) { roots = {folder}; }

void* listOf(std::vector<const char*>& strings) { return &strings; }

std::size_t loads() { return loadCount; }

}  // namespace measured

extern "C" {

void Orva_raise(const char* /*exceptionClass*/, const char* message) { fail(message); }
void* Orva_typeByName(const char* /*typeName*/) { return &object; }

int64_t orva_collections_ArrayList_size(void* list) {
  return static_cast<int64_t>(static_cast<std::vector<const char*>*>(list)->size());
}
const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  return (*static_cast<std::vector<const char*>*>(list))[static_cast<std::size_t>(index)];
}

int32_t Reflection_getTypeCount() { return static_cast<int32_t>(registry->size()); }
const char* Reflection_getTypeName(int32_t index) {
  return (*registry)[static_cast<std::size_t>(index)].shortName.c_str();
}
const char* Reflection_getTypeFullName(int32_t index) {
  return (*registry)[static_cast<std::size_t>(index)].fullName.c_str();
}

}  // extern "C"

namespace orva::compiler {

class Context {};

std::shared_ptr<Context> Compiler::activeRuntimeContext() {
  static const auto context = std::make_shared<Context>();
  return context;
}
void Compiler::ensureSourceLoadedInActiveJit(const std::string& /*sourcePath*/, std::shared_ptr<Context> /*context*/) {
  ++loadCount;
}
void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& /*objectPaths*/,
                                                   const std::vector<std::string>& /*sourceIdentities*/) {
  ++loadCount;
}
void Compiler::precompileSources(const std::vector<std::string>& /*sourceFiles*/, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& /*progress*/) {}

const std::vector<std::string>& Runtime::getKlassPaths() const { return roots; }

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  fail(("not registered: " + className).c_str());
}
bool ClassLoader::materializeRuntimeGenericType(const std::string& /*typeName*/, std::string& /*instanceName*/,
                                                std::string& /*sourceFile*/, std::shared_ptr<Context>& /*context*/) {
  return false;
}

}  // namespace orva::compiler
