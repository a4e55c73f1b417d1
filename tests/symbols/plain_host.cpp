// A host of plain functions. It declares the neighbours itself, so linking and running it shows that the library calls
// them with the names and types that hosts were promised.
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

extern "C" {
int64_t orva_ClassLoader_objectAbiVersion();
void* orva_ClassLoader_getSystem();
void* orva_ClassLoader_getTypeByName(const char* name);
int64_t orva_ClassLoader_addSourceRoot(const char* root);
void orva_ClassLoader_precompileSources(void* files);
void* orva_ClassLoader_loadSourceClass(const char* file, const char* entryType);
void* orva_ClassLoader_loadObjectBundle(void* paths, void* identities, const char* entryType);
void* orva_SystemClassLoader_loadClass(void* receiver, const char* name);
void orva_SystemClassLoader_loadPackageTypes(void* receiver, const char* package);

void Orva_raise(const char* exceptionClass, const char* message);
void* Orva_typeByName(const char* name);
void* Orva_allocObject(const char* className);
int64_t orva_collections_ArrayList_size(void* list);
const char* orva_collections_ArrayList_operator_index(void* list, int64_t index);
int32_t Reflection_getTypeCount();
const char* Reflection_getTypeName(int32_t index);
const char* Reflection_getTypeFullName(int32_t index);
}

struct TypeRecord {
  std::string first, second, third, fourth;
  void* handle;
  std::vector<void*> sequence;
};

extern std::mutex gReflectionMutex;
extern std::vector<TypeRecord> gTypes;

namespace orva::compiler {

class Context {};
class Token {};

class Compiler {
 public:
  struct CompilationProgress {};
  static int32_t objectAbiVersion();
  static std::shared_ptr<Context> activeRuntimeContext();
  static void ensureSourceLoadedInActiveJit(const std::string& path, std::shared_ptr<Context> context);
  static void ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& paths,
                                                  const std::vector<std::string>& identities);
  static void precompileSources(const std::vector<std::string>& files, std::shared_ptr<Context> context,
                                const std::function<void(const CompilationProgress&)>& progress);
};

class Runtime {
 public:
  static Runtime& getInstance();
  std::string getStandardLibraryPath() const;
  const std::vector<std::string>& getKlassPaths() const;
  bool addKlassPath(const std::string& root);
};

class ClassLoader {
 public:
  static std::string sourceFileForClass(const std::string& name, const std::shared_ptr<Context>& context,
                                        const std::shared_ptr<Token>& token);
  static bool materializeRuntimeGenericType(const std::string& name, std::string& first, std::string& second,
                                            std::shared_ptr<Context>& context);
  static void invalidateKlassPathCaches();
};

class PackageLayout {
 public:
  static bool isValidPackageName(std::string_view name);
};

}  // namespace orva::compiler

#include "plain_host.h"
