// The system class loader: the one process-wide object, and loading every type of a package.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "classloader/failure_bridge.h"
#include "classloader/natives.h"
#include "classloader/string_argument.h"
#include "classloader/version_note.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

namespace fs = std::filesystem;

using orva::compiler::Compiler;
using orva::compiler::Context;
using orva::compiler::Runtime;

/// Loads the sources of the two class loader classes themselves.
/// @return whether they are loaded now; false when the runtime has no standard library.
/// Throws what loading them throws.
static bool loadMetadata() {
  const std::string libraryPath = Runtime::getInstance().getStandardLibraryPath();
  if (libraryPath.empty()) return false;
  const fs::path package = fs::path(libraryPath) / "orva";
  Compiler::ensureSourceLoadedInActiveJit((package / "ClassLoader.ov").string(), nullptr);
  Compiler::ensureSourceLoadedInActiveJit((package / "SystemClassLoader.ov").string(), nullptr);
  return true;
}

void* orva_ClassLoader_getSystem() {
  // Initialised before any code runs, so no guard is needed; unsynchronised on purpose.
  static void* sys = nullptr;
  static bool metadataLoaded = false;

  if (sys != nullptr) return sys;
  void* allocated = nullptr;
  bridged("Exception", "Unknown native failure while initializing the system class loader", [&allocated] {
    if (!metadataLoaded && loadMetadata()) metadataLoaded = true;
    // Each of several first callers returns the object that it allocated itself.
    allocated = Orva_allocObject("SystemClassLoader");
    sys = allocated;
  });
  return allocated;
}

/// Turns a dotted package name into a relative path, one element for each segment.
static fs::path packagePath(const std::string& packageName) {
  fs::path path;
  std::string segment;
  for (const char byte : packageName) {
    if (byte == '.') {
      path /= segment;
      segment.clear();
    } else {
      segment.push_back(byte);
    }
  }
  path /= segment;
  return path;
}

/// Finds the package's directory under the first class path root that has one.
static std::optional<fs::path> findPackage(const fs::path& relativePath) {
  for (const std::string& root : Runtime::getInstance().getKlassPaths()) {
    std::error_code error;
    fs::path directory = fs::path(root) / relativePath;
    if (fs::is_directory(directory, error)) return directory;
  }
  return std::nullopt;
}

/// Tells whether the extension of an entry's path is ".ov". A name that begins with its only dot has no extension.
static bool isSourcePath(const std::string& path) {
  constexpr std::string_view extension = ".ov";
  if (path.size() <= extension.size()) return false;
  const std::string::size_type dot = path.size() - extension.size();
  return path.compare(dot, extension.size(), extension) == 0 && path[dot - 1] != '/';
}

/// Lists the source files that lie directly in a directory, ordered by the bytes of their paths.
/// @param error receives why the listing failed; a directory that may not be read counts as empty.
static std::vector<std::string> sourceFilesIn(const fs::path& directory, std::error_code& error) {
  std::vector<std::string> files;
  fs::directory_iterator entry(directory, fs::directory_options::skip_permission_denied, error);
  // An iterator that reports an error is at its end.
  for (; entry != fs::directory_iterator(); entry.increment(error)) {
    // An entry whose type cannot be determined is skipped; the listing does not fail.
    std::error_code unknownType;
    const std::string& path = entry->path().native();
    if (entry->is_regular_file(unknownType) && isSourcePath(path)) files.push_back(path);
  }
  std::sort(files.begin(), files.end());
  return files;
}

void orva_SystemClassLoader_loadPackageTypes(void* /*receiver*/, const char* packageName) {
  bridged("Exception", "Unknown native failure while loading package", [packageName] {
    const std::string name(orEmpty(packageName));
    if (!orva::compiler::PackageLayout::isValidPackageName(name)) {
      Orva_raise("ValueException", "A valid package name is required");
      return;
    }
    const std::optional<fs::path> directory = findPackage(packagePath(name));
    if (!directory) {
      Orva_raise("ClassNotFoundException", ("Package not found: " + name).c_str());
      return;
    }
    std::error_code error;
    const std::vector<std::string> files = sourceFilesIn(*directory, error);
    if (error) {
      Orva_raise("IOException", ("Cannot enumerate package '" + name + "': " + error.message()).c_str());
      return;
    }
    const std::shared_ptr<Context> context = Compiler::activeRuntimeContext();
    for (const std::string& file : files) Compiler::ensureSourceLoadedInActiveJit(file, context);
  });
}
