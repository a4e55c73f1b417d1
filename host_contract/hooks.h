/// What the host contract kit must know about a host: derive a class from `Hooks`, define `hostHooks`, and link the kit
/// with your host.
/// @file
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "classloader/record.h"
#include "classloader/record_layout.h"
#include "runtime_api/reflection.h"

/// The kit that checks whether a host does what the library relies on.
namespace orva::host_contract {

/// The record that the library was built with.
constexpr RecordLayout libraryRecord{ORVA_RECORD_SIZE,  ORVA_RECORD_ALIGNMENT, ORVA_RECORD_TABLE,
                                     ORVA_RECORD_NAME1, ORVA_RECORD_NAME2,     ORVA_RECORD_NAME3,
                                     ORVA_RECORD_NAME4, ORVA_RECORD_TYPE,      ORVA_RECORD_MEMBERS};

/// The record of the headers that this source includes: the host's, in the source that derives `Hooks`.
constexpr RecordLayout hostRecord = recordLayout<TypeRecord, decltype(gTypes)>();

static_assert(
    hostRecord == libraryRecord,
    "the library was built with a different TypeRecord or gTypes than this host has: build the library with "
    "-DORVA_RUNTIME_API_DIR=DIR, where DIR/runtime_api/reflection.h is the host's, or compile the hooks with the "
    "library's flags (-D_GLIBCXX_DEBUG changes a record)");

/// A language exception as a program sees it.
struct Raised {
  std::string exceptionClass;  ///< the short class name, such as "ValueException"
  std::string message;         ///< the complete message
};

/// How the kit reaches a host. Each check runs in a process of its own, which is forked before anything of the host is
/// called; so a hook may be called in many processes, and a host that crashes ends only that check.
///
/// A host that compiles nothing yet leaves out the hooks that write sources; the checks that need them are then not
/// run. If a hook throws, the check that called it is broken.
class Hooks {
 public:
  /// Notes the record of the host.
  /// @param record leave it out: the default is the record as the source that derives this class sees it.
  explicit Hooks(const RecordLayout& record = hostRecord);

  virtual ~Hooks() = default;

  /// Tells which record the host has.
  /// @return the one that was noted.
  const RecordLayout& recordOfHost() const { return record_; }

  /// Starts the host; called once in each check's process, before anything else. The class path may be empty: the
  /// checks add the roots that they need.
  /// @param folder an empty folder, removed after the check, for files that the host writes.
  virtual void start(const std::string& folder);

  /// Takes the exception that is pending on the calling thread, as the language's catch does.
  /// @return nothing when none is pending; afterwards none is.
  virtual std::optional<Raised> takePending() = 0;

  /// Makes a language `ArrayList` of `String`.
  /// @param elements NUL-terminated texts, which the host copies; null for a null element.
  /// @return the handle that natives are given, never null; it stays valid for the life of the process.
  virtual void* newStringList(const std::vector<const char*>& elements) = 0;

  /// Finds what this host binds a native method to.
  /// @param symbol the plain symbol, such as "orva_ClassLoader_getSystem".
  /// @return its address; null when there is none. Unless overridden: what `dlsym` finds in the process.
  virtual void* boundNative(const char* symbol);

  /// Prepares a thread of the kit to call the host; called on that thread, before anything else.
  /// Unless overridden: does nothing, for a host that any thread may call.
  virtual void attachThread();

  /// Makes a program of the language call a native method.
  /// @param native what the method is bound to. What it throws must leave this call.
  /// @return true. Unless overridden: calls nothing and returns false, for a host that runs no programs yet.
  virtual bool callNative(void (*native)());

  /// Writes a source that declares one public class.
  /// @param packageName dotted name of its package.
  /// @param className short name of the class.
  /// @return the text of the source file; empty when this host compiles nothing.
  virtual std::string classSource(const std::string& packageName, const std::string& className);

  /// Writes a source of a class that the compiler refuses; if possible, only after it has understood part of it.
  /// @param packageName dotted name of its package.
  /// @param className short name of the class.
  /// @return the text of the source file; the checks that need one are not run when it is empty.
  virtual std::string brokenSource(const std::string& packageName, const std::string& className);

  /// Writes a source of a public generic class with one type parameter.
  /// @param packageName dotted name of its package.
  /// @param className short name of the class.
  /// @return the text; empty when this host has no generic classes.
  virtual std::string genericSource(const std::string& packageName, const std::string& className);

  /// Tells where precompiling leaves the object of a source file.
  /// @param sourceFile path of the source.
  /// @return its path; empty when this host has no object files.
  virtual std::string objectFile(const std::string& sourceFile);

  /// Tells which identity a bundle must name for the object of a source file.
  /// @param sourceFile path of the source, which exists.
  /// @return the identity; the checks that need one are not run when it is empty.
  virtual std::string sourceIdentity(const std::string& sourceFile);

 private:
  RecordLayout record_;
};

/// Returns the hooks of the host that the kit is linked with. The host's team defines this function.
/// @return the hooks, which live as long as the process.
Hooks& hostHooks();

/// Runs the checks that a command line selects and prints what they found; `--help` prints the options. The kit's own
/// `main` does nothing else.
/// @param argumentCount as passed to `main`.
/// @param arguments as passed to `main`.
/// @param hooks of the host to check.
/// @return the exit status: 0 when no required check is broken, 1 when one is (with `--strict`, when any is), 2 when
///         the command line is wrong or the checks could not be run.
int run(int argumentCount, char** arguments, Hooks& hooks);

}  // namespace orva::host_contract
