// The plain host's neighbours, and a main that makes the natives call them. The source that includes this declares the
// natives, the neighbours and a record, from our headers or itself.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

// Only one source of a program includes this. Inline functions that only the library calls would not be emitted.
// NOLINTBEGIN(misc-definitions-in-headers)

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

static thread_local std::string calls;
static char object;

static void note(const char* call) { calls += call; }

void Orva_raise(const char* /*exceptionClass*/, const char* message) { note(message), note(" "); }
void* Orva_typeByName(const char* /*name*/) { return note("type "), &object; }
void* Orva_allocObject(const char* /*className*/) { return note("alloc "), &object; }
int64_t orva_collections_ArrayList_size(void* /*list*/) { return 1; }
const char* orva_collections_ArrayList_operator_index(void* /*list*/, int64_t /*index*/) { return "element"; }
int32_t Reflection_getTypeCount() { return 1; }
const char* Reflection_getTypeName(int32_t /*index*/) { return "Known"; }
const char* Reflection_getTypeFullName(int32_t /*index*/) { return "a.Known"; }

namespace orva::compiler {

int32_t Compiler::objectAbiVersion() { return -7; }
std::shared_ptr<Context> Compiler::activeRuntimeContext() { return nullptr; }
void Compiler::ensureSourceLoadedInActiveJit(const std::string& /*path*/, std::shared_ptr<Context> /*context*/) {
  note("load ");
}
void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& /*paths*/,
                                                   const std::vector<std::string>& /*identities*/) {
  note("bundle ");
}
void Compiler::precompileSources(const std::vector<std::string>& /*files*/, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& /*progress*/) {
  note("precompile ");
}

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  return runtime;
}
std::string Runtime::getStandardLibraryPath() const { return "/lib"; }
const std::vector<std::string>& Runtime::getKlassPaths() const {
  static const std::vector<std::string> none;
  return none;
}
bool Runtime::addKlassPath(const std::string& /*root*/) { return true; }

std::string ClassLoader::sourceFileForClass(const std::string& /*name*/, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  return note("search "), "x.ov";
}
bool ClassLoader::materializeRuntimeGenericType(const std::string& /*name*/, std::string& /*first*/,
                                                std::string& /*second*/, std::shared_ptr<Context>& /*context*/) {
  return note("materialise "), true;
}
void ClassLoader::invalidateKlassPathCaches() { note("invalidate "); }

bool PackageLayout::isValidPackageName(std::string_view name) { return !name.empty(); }

}  // namespace orva::compiler

static bool callNatives() {
  gTypes.push_back({"", "", "Ready<A>", "", &object, {&object}});
  bool answered = orva_ClassLoader_objectAbiVersion() == -7;
  answered &= orva_ClassLoader_getSystem() == &object;
  answered &= orva_ClassLoader_getTypeByName("Unknown") == &object;
  answered &= orva_ClassLoader_getTypeByName("Box<A>") == &object;
  answered &= orva_ClassLoader_getTypeByName("Ready< A >") == &object;
  answered &= orva_ClassLoader_addSourceRoot("root") == 1;
  orva_ClassLoader_precompileSources(&object);
  answered &= orva_ClassLoader_loadSourceClass("x.ov", "New") == nullptr;
  answered &= orva_ClassLoader_loadObjectBundle(&object, &object, "Known") == nullptr;
  answered &= orva_ClassLoader_loadObjectBundle(&object, &object, "New") == nullptr;
  answered &= orva_SystemClassLoader_loadClass(nullptr, "a") == &object;
  orva_SystemClassLoader_loadPackageTypes(nullptr, "a.b");
  return answered;
}

int main() {
  const char* const expected =
      "load load alloc search load type materialise load type type invalidate precompile load Plugin entry type is not "
      "registered: New Plugin entry type is already registered: a.Known bundle Plugin entry type is not registered: "
      "New type Package not found: a.b ";
  const bool answered = callNatives();
  if (answered && calls == expected) return 0;
  std::fprintf(stderr, "expected: %s\nbut got:  %s\n", expected, calls.c_str());
  return 1;
}

// NOLINTEND(misc-definitions-in-headers)
