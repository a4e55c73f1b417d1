// The answers of the stepped host. Nothing is guarded, because only one thread runs at a time.
#include "stepped_host.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <stdexcept>

using scripted::host;
using scripted::returns;

/// The class of the exception that is pending on a thread; empty if none is.
static thread_local std::string pendingException;

static std::string tailOf(const std::string& fullName) { return fullName.substr(fullName.rfind('.') + 1); }

static bool isInstance(const std::string& name) { return name.find('<') != std::string::npos; }

/// Type objects and objects use different ranges of tokens.
static void* typeObject(std::size_t index) { return scripted::token(8 + index); }
static void* objectOf(int thread) { return scripted::token(static_cast<std::size_t>(thread) + 1); }

SteppedHost::SteppedHost(Stepper& stepper) : stepper_(stepper) {
  scripted::reset();
  pendingException.clear();
  host().onCall = [this](const std::string& line) { enter(line); };
  host().raise.always([](const std::string& exceptionClass, const std::string&) { pendingException = exceptionClass; });
  answerReflection();
  answerCompiler();
  answerClassPath();
}

SteppedHost::~SteppedHost() {
  for (const std::string& wrong : host().leftovers()) ADD_FAILURE() << wrong;
  scripted::reset();
}

void SteppedHost::enter(const std::string& line) {
  const bool isElement = line.find("ArrayList_operator_index") != std::string::npos;
  if (isElement && !elementsAreSteps_) return stepper_.record(line);
  stepper_.passAt(line);
}

/// The table is filled only while the mutex is held, so a walk without the mutex finds nothing.
void SteppedHost::answerReflection() {
  host().lockMutex.always([this] { return stepper_.isDeadlocked() ? EDEADLK : 0; });
  host().onLocked.always([this] { gTypes = table_; });
  host().onUnlocking.always([] { gTypes.clear(); });
  host().typeByName.always([this](const char* name) { return typeByName(name); });
  host().allocObject.always([this] {
    void* object = objectOf(Stepper::self());
    // Another thread may run between the allocation and the caller's use of the object.
    stepper_.pass();
    latestObject_ = object;
    return object;
  });
}

void SteppedHost::answerCompiler() {
  host().load.always([this](const std::string& file, const scripted::ContextPointer&) { load(file); });
  host().loadBundle.always([this](const std::vector<std::string>& objects, const std::vector<std::string>&) {
    for (const std::string& object : objects) load(object);
  });
  host().materialize.always([this](const std::string&, std::string& sourceFile, const scripted::ContextPointer&) {
    return materialize(sourceFile);
  });
  host().sourceFileForClass.always([this](const std::string& className) { return sourceOf(className); });
}

void SteppedHost::answerClassPath() {
  host().standardLibraryPath.always([this] { return library_; });
  host().isValidPackageName.always(returns(true));
  host().addKlassPath.always([](const std::string& root) {
    host().roots.push_back(root);
    return true;
  });
  host().invalidateCaches.always([this] { searchedRoots_ = host().roots; });
}

void SteppedHost::hasRoot(const std::string& root) {
  host().roots.push_back(root);
  searchedRoots_ = host().roots;
}

void SteppedHost::load(const std::string& file) {
  if (compiledFor_.count(file) > 0) return;
  const auto definition = definitions_.find(file);
  if (definition == definitions_.end()) throw std::runtime_error("no such file: " + file);
  hasType(definition->second);
  compiledFor_[file] = Stepper::self() == 0 ? 'A' : 'B';
}

void SteppedHost::hasType(const std::string& fullName) {
  for (const scripted::Entry& entry : host().registry) {
    if (entry.fullName == fullName) throw std::runtime_error("defined twice: " + fullName);
  }
  host().registry.push_back({tailOf(fullName), fullName});
  if (!isInstance(fullName)) return;
  declare(fullName);
  for (TypeRecord& record : table_) {
    if (record.name3 == fullName) record.members.push_back(record.type);
  }
}

/// Adds the record of an instance. It becomes ready when the instance is loaded.
void SteppedHost::declare(const std::string& instance) {
  const auto isIts = [&instance](const TypeRecord& record) { return record.name3 == instance; };
  if (std::any_of(table_.begin(), table_.end(), isIts)) return;
  table_.push_back({"", "", instance, "", scripted::token(0), {}});
}

/// Generates the one instance that the world defines.
bool SteppedHost::materialize(std::string& sourceFile) {
  for (const auto& [file, fullName] : definitions_) {
    if (!isInstance(fullName)) continue;
    declare(fullName);
    sourceFile = file;
    return true;
  }
  return false;
}

std::string SteppedHost::sourceOf(const std::string& className) const {
  std::string relative = className;
  std::replace(relative.begin(), relative.end(), '.', '/');
  for (const std::string& root : searchedRoots_) {
    const std::string file = root + '/' + relative + ".ov";
    if (definitions_.count(file) > 0) return file;
  }
  return "";
}

/// Finds a full name, or a short name that only one type has.
void* SteppedHost::typeByName(const std::string& name) const {
  const std::vector<scripted::Entry>& registry = host().registry;
  std::vector<void*> sameTail;
  for (std::size_t index = 0; index < registry.size(); ++index) {
    if (registry[index].fullName == name) return typeObject(index);
    if (registry[index].shortName == name) sameTail.push_back(typeObject(index));
  }
  return sameTail.size() == 1 ? sameTail.front() : nullptr;
}

std::string SteppedHost::nameOfType(void* type) const {
  for (std::size_t index = 0; index < host().registry.size(); ++index) {
    if (type == typeObject(index)) return *host().registry[index].fullName;
  }
  return type == nullptr ? "null" : "no type";
}

std::string SteppedHost::nameOfObject(void* object) const {
  if (object == objectOf(0)) return "A's object";
  if (object == objectOf(1)) return "B's object";
  return object == nullptr ? "null" : "no object";
}

std::string SteppedHost::ending(const std::string& result) const {
  return pendingException.empty() ? result : result + ", " + pendingException;
}

std::string SteppedHost::compiled() const {
  std::string words;
  for (const auto& [file, thread] : compiledFor_) {
    words += (words.empty() ? "" : ", ") + file + " compiled for " + thread;
  }
  return words.empty() ? "nothing compiled" : words;
}
