// The faults of the compiler and of the class path.
#include "runtime_api/compiler.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include "examples/minimal_host/minimal_host.h"
#include "fault.h"
#include "minimal_functions.h"
#include "runtime_api/reflection.h"

namespace fs = std::filesystem;

using faulty_host::breaks;
using faulty_host::lockBoth;
using minimal_host::registerType;

static constexpr const char* withBundles = "sources.LookUpsAndLoadsRunAtOnce with bundles";
static constexpr const char* withInstances = "sources.LookUpsAndLoadsRunAtOnce with instances";

static std::mutex classPathMutex;
static std::deque<std::vector<std::string>> classPaths(1);

static std::mutex loadMutex;
static std::set<std::string> loadedFiles;
static std::set<std::string> failedFiles;

static bool isSource(const std::string& path) { return fs::path(path).extension() == ".ov"; }

/// Returns what follows `words` in a file's first line: the class name of a source, or the identity of an object. Empty
/// if the line begins otherwise.
static std::string textAfter(const std::string& words, const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  return line.rfind(words, 0) == 0 ? line.substr(words.size()) : "";
}

/// Applies the faults of a load that occur before the file is read.
/// @return whether to skip the load without a failure.
static bool isLoadSkipped(const std::string& path, bool isPlugin) {
  if (breaks("sources.ASourceLoadsWithoutAContext") && isPlugin) throw std::logic_error("no context");
  if (breaks("sources.AMendedSourceLoads") && failedFiles.count(path) != 0) throw std::runtime_error("failed before");
  if (breaks("sources.AMissingSourceThrowsAStandardException") && isSource(path) && !fs::exists(path)) return true;
  if (breaks("packages.EverySourceOfAPackageIsLoaded") && fs::path(path).filename() == "Pear.ov") return true;
  return breaks("sources.ALoadedSourceRegistersItsType") && !isPlugin && !textAfter("class ", path).empty();
}

/// Applies the faults that follow a failed load.
static void breakFailure(const std::string& path) {
  failedFiles.insert(path);
  if (breaks("sources.AFailingLoadRegistersNothing")) registerType(textAfter("clas ", path));
  if (breaks("sources.AFailingLoadThrowsAStandardException") && fs::exists(path)) throw 1;
  if (breaks("sources.AFailingLoadLeavesTheMutexFree")) gReflectionMutex.lock();
}

static void load(const std::string& path, const std::shared_ptr<orva::compiler::Context>& context) {
  const std::lock_guard<std::mutex> lock(loadMutex);
  if (isLoadSkipped(path, context == nullptr)) return;
  try {
    hosts_ensureSourceLoadedInActiveJit(path, context);
  } catch (const std::runtime_error&) {
    breakFailure(path);
    throw;
  }
  if (breaks("sources.APluginIsHandedBack") && context == nullptr) registerType("another.Plugin");
  if (loadedFiles.insert(path).second || !breaks("sources.ASecondLoadIsHarmless")) return;
  static int count = 0;
  registerType("loaded.Again" + std::to_string(++count));
}

/// Refuses a file that another thread is loading.
static void loadAlone(const std::string& path, const std::shared_ptr<orva::compiler::Context>& context) {
  static std::mutex mutex;
  static std::set<std::string> inLoading;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!inLoading.insert(path).second) throw std::runtime_error(path + " is being loaded");
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  {
    const std::lock_guard<std::mutex> lock(mutex);
    inLoading.erase(path);
  }
  load(path, context);
}

/// Returns the identity to load an object with, from the one that it was built with and the one that was given.
static std::string takenFor(const std::string& built, const std::string& given) {
  const bool isTaken =
      breaks("objects.AnUnequalIdentityIsRefused") ||
      (breaks("objects.IdentitiesOfEqualLengthAreToldApart") && given.size() == built.size()) ||
      (breaks("objects.IdentitiesOfEqualLengthAreToldApart of sources") && given == std::to_string(built.size()));
  return isTaken ? built : given;
}

/// Applies the faults of a bundle of one object.
/// @return whether to skip the load without a failure.
static bool isBundleSkipped(const std::string& path, std::string& identity) {
  if (!fs::exists(path)) return breaks("objects.AMissingObjectThrowsAStandardException");
  const std::string built = textAfter("object of ", path);
  if (built.empty() && breaks("objects.ADamagedObjectThrowsAStandardException")) std::abort();
  const bool isRefused = built != identity;
  if (isRefused && breaks("objects.ARefusedBundleRegistersNothing")) registerType(built.substr(built.find(' ') + 1));
  identity = takenFor(built, identity);
  return !isRefused && breaks("objects.ABundleRegistersItsTypes");
}

namespace orva::compiler {

/// Defined as in text_compiler.cpp.
struct Compiler::CompilationProgress {};

int32_t Compiler::objectAbiVersion() {
  static int32_t calls = 0;
  return hosts_objectAbiVersion() + (breaks("natives.TheObjectAbiVersionStays") ? ++calls : 0);
}

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context) {
  lockBoth(withInstances, gReflectionMutex, classPathMutex);
  const bool isAlone = breaks("sources.ParallelLoadsOfOneSourceEndWell");
  (isAlone ? loadAlone : load)(sourcePath, context);
}

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  lockBoth(withBundles, gReflectionMutex, classPathMutex);
  if (breaks("objects.AnEmptyBundleIsHarmless") && objectPaths.empty()) throw std::runtime_error("no objects");
  std::vector<std::string> identities = sourceIdentities;
  if (objectPaths.size() == 1 && isBundleSkipped(objectPaths[0], identities[0])) return;
  hosts_ensureObjectBundleLoadedInActiveJit(objectPaths, identities);
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> context,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  if (breaks("precompiling.AnEmptyListIsHarmless") && sourceFiles.empty()) throw std::runtime_error("no sources");
  try {
    hosts_precompileSources(sourceFiles, context, progress);
  } catch (const std::runtime_error&) {
    if (!breaks("precompiling.ABrokenSourceThrowsAStandardException")) throw;
  }
  for (const std::string& file : sourceFiles) {
    if (breaks("precompiling.NothingIsRegistered")) hosts_ensureSourceLoadedInActiveJit(file, context);
    if (breaks("precompiling.NoListenerIsNeeded")) progress({});
  }
}

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  static Runtime another;
  static bool isAnother = false;
  isAnother = !isAnother && breaks("class_path.ThereIsOneRuntime");
  return isAnother ? another : runtime;
}

std::string Runtime::getStandardLibraryPath() const {
  return breaks("class_path.TheStandardLibraryHoldsTheLoaders") ? HALF_A_LIBRARY : "";
}

const std::vector<std::string>& Runtime::getKlassPaths() const {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  return classPaths.back();
}

/// Adds a root to the latest class path.
static void publish(const std::string& root) {
  if (breaks("class_path.AnAddedRootIsInTheList")) return;
  if (!breaks("class_path.AListStaysAsItIsWhileRootsAreAdded")) classPaths.push_back(classPaths.back());
  auto& roots = classPaths.back();
  roots.insert(breaks("class_path.LaterRootsComeLater") ? roots.begin() : roots.end(), root);
}

bool Runtime::addKlassPath(const std::string& root) {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  const bool isNew = hosts_addKlassPath(this, root);
  if (isNew || breaks("class_path.ARefusedRootChangesNothing")) publish(root);
  return isNew;
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& context,
                                            const std::shared_ptr<Token>& token) {
  static std::set<std::string> missing;
  lockBoth(withBundles, classPathMutex, gReflectionMutex);
  const std::lock_guard<std::mutex> lock(classPathMutex);
  if (breaks("class_path.AClassUnderAnAddedRootIsFound") || missing.count(className) != 0) return {};
  std::string file = hosts_sourceFileForClass(className, context, token);
  if (!file.empty()) return file;
  if (breaks("natives.OddNamesAreTaken") && className.find(' ') != std::string::npos) std::abort();
  if (breaks("class_path.AMissingClassHasNoSource")) throw std::runtime_error("no class " + className);
  if (breaks("class_path.CachesAreDroppedWithTheClassPath")) missing.insert(className);
  return {};
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& context) {
  lockBoth(withInstances, classPathMutex, gReflectionMutex);
  return !breaks("generics.AnInstanceIsFound") &&
         hosts_materializeRuntimeGenericType(typeName, instanceName, sourceFile, context);
}

bool PackageLayout::isValidPackageName(std::string_view packageName) {
  if (packageName.empty()) return breaks("packages.TheEmptyNameIsRefused");
  if (breaks("packages.DottedNamesAreAccepted") && packageName.find('.') != std::string_view::npos) return false;
  return breaks("packages.NamesThatLeaveTheRootAreRefused") || hosts_isValidPackageName(packageName);
}

}  // namespace orva::compiler
