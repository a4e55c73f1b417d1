// A host with state: sources define types, loads register them, and lookups find what is registered.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "stepper.h"
#include "tests/scripted_host/scripted_host.h"

/// The scripted host with the script of a runtime whose threads are stepped.
class SteppedHost {
 public:
  /// Takes over the scripted host. Every call of a stepped thread is a separate step.
  explicit SteppedHost(Stepper& stepper);
  ~SteppedHost();
  SteppedHost(const SteppedHost&) = delete;
  SteppedHost& operator=(const SteppedHost&) = delete;

  /// Adds a source or object file that defines a type.
  void defines(const std::string& file, const std::string& fullName) { definitions_[file] = fullName; }

  /// Registers a type. Throws if there is already one of this name.
  void hasType(const std::string& fullName);

  /// Adds a root that is on the class path from the start.
  void hasRoot(const std::string& root);

  /// Sets the root of the standard library.
  void hasLibrary(const std::string& path) { library_ = path; }

  /// Makes reading a whole list one step, for pairs that would otherwise have too many schedules.
  void readsListsAtOnce() { elementsAreSteps_ = false; }

  /// Describes what a native returned, and the exception that is pending on the calling thread.
  std::string ending(const std::string& result) const;
  std::string endingWithType(void* type) const { return ending(nameOfType(type)); }
  std::string endingWithObject(void* object) const { return ending(nameOfObject(object)); }

  /// Names the thread for which an object was allocated.
  std::string nameOfObject(void* object) const;

  /// Tells whether an object is the one that was allocated last.
  bool isLatestObject(void* object) const { return object == latestObject_; }

  /// Describes for which thread each loaded file was compiled.
  std::string compiled() const;

 private:
  void enter(const std::string& line);
  void answerReflection();
  void answerCompiler();
  void answerClassPath();
  void load(const std::string& file);
  void declare(const std::string& instance);
  bool materialize(std::string& sourceFile);
  std::string sourceOf(const std::string& className) const;
  void* typeByName(const std::string& name) const;
  std::string nameOfType(void* type) const;

  Stepper& stepper_;
  std::map<std::string, std::string> definitions_;
  std::map<std::string, char> compiledFor_;
  std::vector<std::string> searchedRoots_;  // the class path when the caches were last dropped
  std::vector<TypeRecord> table_;
  std::string library_;
  void* latestObject_ = nullptr;
  bool elementsAreSteps_ = true;
};
