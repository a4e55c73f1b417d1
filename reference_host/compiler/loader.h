// Loading: from source files and object bundles to registered types.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "reference_host/compiler/class_path.h"
#include "reference_host/compiler/engine.h"
#include "reference_host/language/source_text.h"
#include "reference_host/language/syntax_tree.h"
#include "reference_host/runtime/type.h"

namespace orva::compiler {

class GenericInstances;
struct GeneratedClass;
struct GenericInstance;

using runtime::Origin;

/// Loads one source or bundle at a time; threads wait for each other. A load that fails leaves nothing behind.
class Loader {
 public:
  Loader(const ClassPath& classPath, Engine& engine, GenericInstances& generics)
      : classPath_(classPath), engine_(engine), generics_(generics) {}

  /// Compiles a source file and registers its types. If the file was loaded before, under any name, or an object that
  /// was built from its text was, only checks its place. Throws `std::runtime_error` (`SourceError` for errors in the
  /// text). Also throws for a file that was loaded before if it does not fit its place, or if it has changed and
  /// declares a class that is not loaded.
  /// @param origin anything except an object. For an instance, `path` is the file that stands for it; if necessary, its
  /// generic class is loaded first.
  void load(const std::string& path, Origin origin);

  /// Links object files and registers their types. Skips objects that were loaded before, unless they have changed and
  /// contain a class that is not loaded.
  /// @param identities element i is the identity of the source that object i must have been built from.
  /// Throws `std::runtime_error` before any code is linked when one of them does not fit.
  void loadBundle(const std::vector<std::string>& paths, const std::vector<std::string>& identities);

  /// Waits for a load on another thread, and lets no other begin, because the engine ends with the process. Later loads
  /// on other threads wait for that end; on this thread they throw `std::runtime_error`.
  void end() noexcept;

  /// Compiles a source file, which may be anywhere, to an object file beside it, and registers nothing. Throws as
  /// `load` does.
  void precompile(const std::string& path);

  /// Compiles source files on all cores, and writes their objects in the order of the files. Throws what is wrong with
  /// the first file that fails; then the objects of the files before it are written, and no others.
  /// @param done is called with each file whose object has been written.
  void precompile(const std::vector<std::string>& paths, const std::function<void(const std::string&)>& done);

 private:
  std::unique_lock<std::mutex> lock();

  struct Compiled;
  struct CheckedObject;
  struct BuiltObject;

  void loadSource(const std::string& path, Origin origin);
  void loadInstance(const GenericInstance& instance);
  void loadGenericClass(const GenericInstance& instance);
  /// Throws `std::runtime_error` for a source that is not the one from which the object of a loaded type was built.
  void checkSourceOfObject(const std::string& path, const runtime::Type& type) const;
  /// Links compiled classes and registers their types.
  void link(Compiled compiled, const language::SourceText& source, Origin origin);
  Compiled compile(const language::SourceText& source, const language::SourceFile& file) const;
  BuiltObject build(const std::string& path) const;
  // On a stack that is known to have room.
  void loadHere(const std::string& path, Origin origin);
  void loadBundleHere(const std::vector<std::string>& paths, const std::vector<std::string>& identities);
  BuiltObject buildHere(const std::string& path) const;
  std::vector<CheckedObject> checkBundle(const std::vector<std::string>& paths,
                                         const std::vector<std::string>& identities);
  void checkPlacement(const language::SourceText& source, const language::SourceFile& file) const;
  std::unique_ptr<CodeUnit> link(CheckedObject& object);

  const ClassPath& classPath_;
  Engine& engine_;
  GenericInstances& generics_;
  std::mutex mutex_;
  std::atomic<std::thread::id> endedBy_{std::thread::id()};
  // The identities of sources, and of the sources of objects, at the time of their load, by real path.
  std::map<std::string, std::string> loaded_;
  // The identities of sources, by device and inode.
  std::map<std::pair<dev_t, ino_t>, std::string> loadedInodes_;
  std::set<std::string> objectIdentities_;  // of the sources that loaded objects were built from
};

}  // namespace orva::compiler
