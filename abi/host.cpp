// What a host defines, without a body to speak of: the debug information of this file holds the types that the library
// was compiled against, the layout of a type record among them.
#include <cstdlib>

#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

void Orva_raise(const char* /*exceptionClass*/, const char* /*message*/) { std::abort(); }
void* Orva_typeByName(const char* /*typeName*/) { std::abort(); }
void* Orva_allocObject(const char* /*className*/) { std::abort(); }
int64_t orva_collections_ArrayList_size(void* /*list*/) { std::abort(); }
const char* orva_collections_ArrayList_operator_index(void* /*list*/, int64_t /*index*/) { std::abort(); }
int32_t Reflection_getTypeCount() { std::abort(); }
const char* Reflection_getTypeName(int32_t /*index*/) { std::abort(); }
const char* Reflection_getTypeFullName(int32_t /*index*/) { std::abort(); }

namespace orva::compiler {

int32_t Compiler::objectAbiVersion() { std::abort(); }
std::shared_ptr<Context> Compiler::activeRuntimeContext() { std::abort(); }
void Compiler::ensureSourceLoadedInActiveJit(const std::string& /*sourcePath*/, std::shared_ptr<Context> /*context*/) {
  std::abort();
}
void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& /*objectPaths*/,
                                                   const std::vector<std::string>& /*sourceIdentities*/) {
  std::abort();
}
void Compiler::precompileSources(const std::vector<std::string>& /*sourceFiles*/, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& /*progress*/) {
  std::abort();
}

Runtime& Runtime::getInstance() { std::abort(); }
std::string Runtime::getStandardLibraryPath() const { std::abort(); }
const std::vector<std::string>& Runtime::getKlassPaths() const { std::abort(); }
bool Runtime::addKlassPath(const std::string& /*root*/) { std::abort(); }

std::string ClassLoader::sourceFileForClass(const std::string& /*className*/,
                                            const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  std::abort();
}
bool ClassLoader::materializeRuntimeGenericType(const std::string& /*typeName*/, std::string& /*instanceName*/,
                                                std::string& /*sourceFile*/, std::shared_ptr<Context>& /*context*/) {
  std::abort();
}
void ClassLoader::invalidateKlassPathCaches() { std::abort(); }

bool PackageLayout::isValidPackageName(std::string_view /*packageName*/) { std::abort(); }

}  // namespace orva::compiler
