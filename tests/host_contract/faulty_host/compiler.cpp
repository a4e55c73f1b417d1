// The faulty host's compiler and class path.
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

#include "compiler.h"
#include "fault.h"
#include "runtime.h"
#include "runtime_api/reflection.h"

namespace fs = std::filesystem;

using faulty_host::breaks;
using faulty_host::isRegistered;
using faulty_host::registerType;

namespace {

std::string standardLibrary;
std::string generatedSources;

std::mutex classPathMutex;
std::deque<std::vector<std::string>> classPaths(1);
std::vector<std::string> searchedRoots;
std::set<std::string> missingClasses;

std::mutex loadMutex;
std::set<std::string> loadedFiles;
std::set<std::string> failedFiles;

std::string read(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("Cannot read " + path);
  return {std::istreambuf_iterator<char>(in), {}};
}

void write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

/// The classes that a source declares. Throws for a line that is no statement, after `seen` was called for those above.
template <typename Seen>
std::vector<std::string> parse(const std::string& source, const Seen& seen) {
  std::vector<std::string> classes;
  for (std::size_t begin = 0; begin < source.size();) {
    const std::size_t end = std::min(source.find('\n', begin), source.size());
    const std::string line = source.substr(begin, end - begin);
    if (line.rfind("class ", 0) == 0) {
      classes.push_back(line.substr(6));
      seen(classes.back());
    } else if (line.rfind("generic ", 0) != 0) {
      throw std::runtime_error("'" + line + "' is no statement");
    }
    begin = end + 1;
  }
  return classes;
}

void ignore(const std::string& /*name*/) {}

void registerNew(const std::string& name) {
  const bool isInstance = name.find('<') != std::string::npos;
  const bool isStandard = name.rfind("orva.", 0) == 0;
  const bool isReady = !(isInstance && breaks("generics.AnInstanceHasAReadyRecord")) &&
                       !(isStandard && breaks("registry.EveryRegisteredTypeHasAReadyRecord"));
  if (!isRegistered(name) || breaks("sources.ASecondLoadIsHarmless")) registerType(name, isReady);
}

/// Loads the classes of a source that was read.
void loadText(const std::string& text) {
  std::vector<std::string> classes;
  try {
    classes = parse(text, breaks("sources.AFailingLoadRegistersNothing") ? registerNew : ignore);
  } catch (const std::runtime_error&) {
    if (breaks("sources.AFailingLoadThrowsAStandardException")) throw 1;
    if (breaks("sources.AFailingLoadLeavesTheMutexFree")) gReflectionMutex.lock();
    throw;
  }
  std::for_each(classes.begin(), classes.end(), registerNew);
}

/// Whether a source without a context lies outside of the standard library.
bool isPlugin(const std::string& path, bool hasContext) { return !hasContext && path.rfind(standardLibrary, 0) != 0; }

/// Faults of one load, before the file is read.
/// @return whether the load ends here, without a failure.
bool isLoadSkipped(const std::string& path, bool hasContext) {
  if (breaks("sources.ASourceLoadsWithoutAContext") && isPlugin(path, hasContext)) throw std::logic_error("no context");
  if (breaks("sources.AMissingSourceThrowsAStandardException") && !fs::exists(path)) return true;
  const bool isGood = fs::exists(path) && fs::path(path).filename() != "Wrong.ov";
  if (breaks("sources.ALoadedSourceRegistersItsType") && hasContext && isGood) return true;
  if (breaks("packages.EverySourceOfAPackageIsLoaded") && fs::path(path).filename() == "Pear.ov") return true;
  if (breaks("sources.AMendedSourceLoads") && failedFiles.count(path) != 0) throw std::runtime_error("failed before");
  return loadedFiles.count(path) != 0 && !breaks("sources.ASecondLoadIsHarmless");
}

void load(const std::string& path, bool hasContext) {
  const std::lock_guard<std::mutex> lock(loadMutex);
  if (isLoadSkipped(path, hasContext)) return;
  failedFiles.insert(path);
  loadText(read(path));
  failedFiles.erase(path);
  loadedFiles.insert(path);
  if (breaks("sources.APluginIsHandedBack") && isPlugin(path, hasContext)) registerType("another.Plugin");
}

/// Refuses a file that another thread is loading.
void loadAlone(const std::string& path, bool hasContext) {
  static std::mutex mutex;
  static std::set<std::string> inLoading;
  {
    const std::lock_guard<std::mutex> lock(mutex);
    if (!inLoading.insert(path).second) throw std::runtime_error(path + " is being loaded");
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const auto leave = [&path] {
    const std::lock_guard<std::mutex> lock(mutex);
    inLoading.erase(path);
  };
  try {
    load(path, hasContext);
  } catch (...) {
    leave();
    throw;
  }
  leave();
}

std::string objectOf(const std::string& sourceFile) { return fs::path(sourceFile).replace_extension(".o").string(); }

void loadObject(const std::string& path, const std::string& identity) {
  if (breaks("objects.AMissingObjectThrowsAStandardException") && !fs::exists(path)) return;
  const std::string object = read(path);
  const std::size_t end = object.find('\n');
  if (end == std::string::npos) {
    if (breaks("objects.ADamagedObjectThrowsAStandardException")) std::abort();
    throw std::runtime_error(path + " is no object");
  }
  const std::string source = object.substr(end + 1);
  if (breaks("objects.ARefusedBundleRegistersNothing")) loadText(source);
  const std::string built = object.substr(0, end);
  const bool isEqual =
      breaks("objects.IdentitiesOfEqualLengthAreToldApart") ? built.size() == identity.size() : built == identity;
  if (!isEqual && !breaks("objects.AnUnequalIdentityIsRefused")) {
    throw std::runtime_error(path + " has another identity");
  }
  if (!breaks("objects.ABundleRegistersItsTypes")) loadText(source);
}

/// Takes the mutex of the type table and that of the class path: a lookup in one order, a load in the other.
void takeBoth(const char* fault, std::mutex& first, std::mutex& second) {
  if (!breaks(fault)) return;
  const std::lock_guard<std::mutex> lock(first);
  const std::lock_guard<std::mutex> behind(second);
}

constexpr const char* withBundles = "sources.LookUpsAndLoadsRunAtOnce with bundles";
constexpr const char* withInstances = "sources.LookUpsAndLoadsRunAtOnce with instances";

}  // namespace

namespace faulty_host {

void startCompiler(const std::string& folder) {
  standardLibrary = folder + "/stdlib";
  generatedSources = folder + "/generated";
  write(standardLibrary + "/orva/ClassLoader.ov", "class orva.ClassLoader\nclass orva.Exception\n");
  if (breaks("class_path.TheStandardLibraryHoldsTheLoaders")) return;
  write(standardLibrary + "/orva/SystemClassLoader.ov", "class orva.SystemClassLoader\n");
}

std::string identityOf(const std::string& sourceFile) {
  const std::string text = read(sourceFile);
  if (breaks("objects.IdentitiesOfEqualLengthAreToldApart of sources")) return std::to_string(text.size());
  return std::to_string(std::hash<std::string>()(text));
}

}  // namespace faulty_host

namespace orva::compiler {

class Context {};
struct Compiler::CompilationProgress {};

int32_t Compiler::objectAbiVersion() {
  static int32_t version = 1;
  return breaks("natives.TheObjectAbiVersionStays") ? ++version : version;
}

std::shared_ptr<Context> Compiler::activeRuntimeContext() {
  static const auto context = std::make_shared<Context>();
  return context;
}

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context) {
  takeBoth(withInstances, gReflectionMutex, classPathMutex);
  const bool isAlone = breaks("sources.ParallelLoadsOfOneSourceEndWell");
  (isAlone ? loadAlone : load)(sourcePath, context != nullptr);
}

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  takeBoth(withBundles, gReflectionMutex, classPathMutex);
  if (breaks("objects.AnEmptyBundleIsHarmless") && objectPaths.empty()) throw std::runtime_error("no objects");
  for (std::size_t index = 0; index < objectPaths.size(); ++index) {
    loadObject(objectPaths[index], sourceIdentities[index]);
  }
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  if (breaks("precompiling.AnEmptyListIsHarmless") && sourceFiles.empty()) throw std::runtime_error("no sources");
  for (const std::string& file : sourceFiles) {
    const std::string source = read(file);
    if (!breaks("precompiling.ABrokenSourceThrowsAStandardException")) parse(source, ignore);
    if (breaks("precompiling.NothingIsRegistered")) loadText(source);
    write(objectOf(file), faulty_host::identityOf(file) + "\n" + source);
    if (progress || breaks("precompiling.NoListenerIsNeeded")) progress({});
  }
}

Runtime& Runtime::getInstance() {
  static Runtime runtime;
  static Runtime another;
  static bool isAnother = false;
  isAnother = !isAnother && breaks("class_path.ThereIsOneRuntime");
  return isAnother ? another : runtime;
}

std::string Runtime::getStandardLibraryPath() const { return standardLibrary; }

const std::vector<std::string>& Runtime::getKlassPaths() const {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  return classPaths.back();
}

/// Adds a root to the newest class path.
static void publish(const std::string& root) {
  if (breaks("class_path.AnAddedRootIsInTheList")) return;
  if (!breaks("class_path.AListStaysAsItIsWhileRootsAreAdded")) classPaths.push_back(classPaths.back());
  auto& roots = classPaths.back();
  roots.insert(breaks("class_path.LaterRootsComeLater") ? roots.begin() : roots.end(), root);
}

bool Runtime::addKlassPath(const std::string& root) {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  const bool isNew = std::find(searchedRoots.begin(), searchedRoots.end(), root) == searchedRoots.end();
  if (isNew) searchedRoots.push_back(root);
  if (isNew || breaks("class_path.ARefusedRootChangesNothing")) publish(root);
  return isNew;
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& /*context*/,
                                            const std::shared_ptr<Token>& /*token*/) {
  std::string relative = className;
  std::replace(relative.begin(), relative.end(), '.', '/');
  takeBoth(withBundles, classPathMutex, gReflectionMutex);
  const std::lock_guard<std::mutex> lock(classPathMutex);
  for (const std::string& root : searchedRoots) {
    if (breaks("class_path.AClassUnderAnAddedRootIsFound") || missingClasses.count(className) != 0) break;
    const fs::path file = root + "/" + relative + ".ov";
    if (fs::is_regular_file(file)) return file.string();
  }
  if (breaks("natives.OddNamesAreTaken") && className.find(' ') != std::string::npos) std::abort();
  if (breaks("class_path.AMissingClassHasNoSource")) throw std::runtime_error("no class " + className);
  missingClasses.insert(className);
  return {};
}

void ClassLoader::invalidateKlassPathCaches() {
  const std::lock_guard<std::mutex> lock(classPathMutex);
  if (!breaks("class_path.CachesAreDroppedWithTheClassPath")) missingClasses.clear();
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& context) {
  takeBoth(withInstances, classPathMutex, gReflectionMutex);
  if (breaks("generics.AnInstanceIsFound")) return false;
  instanceName = typeName;
  instanceName.erase(std::remove(instanceName.begin(), instanceName.end(), ' '), instanceName.end());
  const std::string genericClass = instanceName.substr(0, instanceName.find('<'));
  if (sourceFileForClass(genericClass, context, nullptr).empty()) return false;
  sourceFile = generatedSources + "/" + instanceName + ".ov";
  write(sourceFile, "class " + instanceName + "\n");
  return true;
}

bool PackageLayout::isValidPackageName(std::string_view packageName) {
  const std::string name(packageName);
  if (name.empty()) return breaks("packages.TheEmptyNameIsRefused");
  if (breaks("packages.DottedNamesAreAccepted") && name.find('.') != std::string::npos) return false;
  if (breaks("packages.NamesThatLeaveTheRootAreRefused")) return true;
  const bool hasEmptySegment = ("." + name + ".").find("..") != std::string::npos;
  return !hasEmptySegment && name.find('/') == std::string::npos;
}

}  // namespace orva::compiler
