// The faulty host's entry points and registry.
#include "runtime.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <map>
#include <mutex>
#include <new>
#include <stdexcept>
#include <utility>

#include "fault.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

using faulty_host::breaks;
using faulty_host::List;
using orva::host_contract::Raised;

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

namespace {

struct Type {
  std::string shortName;
  std::string fullName;
};

std::mutex typesMutex;
std::deque<Type> types;
std::deque<std::string> objects;

thread_local std::optional<Raised> ofThread;
std::optional<Raised> ofProcess;
const char* keptClass;
const char* keptMessage;

std::optional<Raised>& pending() { return breaks("exceptions.AnExceptionBelongsToItsThread") ? ofProcess : ofThread; }

std::string withoutBlanks(std::string name) {
  name.erase(std::remove(name.begin(), name.end(), ' '), name.end());
  return name;
}

/// Full names come before short ones; the caller holds the lock.
Type* findType(const std::string& name) {
  for (Type& type : types) {
    if (type.fullName == name) return &type;
  }
  for (Type& type : types) {
    if (type.shortName == name) return &type;
  }
  return nullptr;
}

/// Locks the registry for those who read it. When the host breaks one check, they lock the type table too, before or
/// behind the registry, and those who write take both the other way round.
struct ReaderLock {
  std::unique_lock<std::mutex> recordsBefore{gReflectionMutex, std::defer_lock};
  std::unique_lock<std::mutex> types{typesMutex, std::defer_lock};
  std::unique_lock<std::mutex> recordsBehind{gReflectionMutex, std::defer_lock};

  ReaderLock() {
    if (breaks("sources.LookUpsAndLoadsRunAtOnce by the table first")) recordsBefore.lock();
    types.lock();
    if (breaks("sources.LookUpsAndLoadsRunAtOnce")) recordsBehind.lock();
  }
};

/// A ready record whose first name cannot be read.
void addUnreadableRecord() {
  TypeRecord& record = gTypes.emplace_back();
  record.type = &types;
  record.members.push_back(&types);
  const std::uintptr_t words[] = {1, std::uintptr_t{1} << 40};
  std::memcpy(static_cast<void*>(&record.name1), words, sizeof words);
}

/// Locks the type table: when the host breaks one check, it holds it all the time; for another, it never does.
std::unique_lock<std::mutex> lockRecords() {
  std::unique_lock<std::mutex> lock(gReflectionMutex, std::defer_lock);
  if (breaks("registry.TheMutexIsFreeBetweenCalls") || breaks("sources.TheTableChangesUnderTheMutex")) return lock;
  if (!breaks("sources.ALoadWaitsForTheMutex")) {
    lock.lock();
  } else if (!lock.try_lock()) {
    throw std::runtime_error("the type table is in use");
  }
  return lock;
}

}  // namespace

namespace faulty_host {

void registerType(const std::string& fullName, bool isReady) {
  const std::size_t dot = fullName.rfind('.', fullName.find('<'));
  std::unique_lock<std::mutex> lock(typesMutex, std::defer_lock);
  if (breaks("sources.LookUpsAndLoadsRunAtOnce by the table first")) lock.lock();
  const auto records = lockRecords();
  if (breaks("record.TheLibraryReadsTheHostsRecord") && gTypes.empty()) addUnreadableRecord();
  if (!lock.owns_lock()) lock.lock();
  Type& type = types.emplace_back(Type{fullName.substr(dot + 1), fullName});
  gTypes.push_back({{}, {}, fullName, {}, &type, {}});
  if (isReady) gTypes.back().members.push_back(&type);
}

bool isRegistered(const std::string& fullName) {
  const std::lock_guard<std::mutex> lock(typesMutex);
  const Type* type = findType(fullName);
  return type != nullptr && type->fullName == fullName;
}

std::optional<Raised> takePending() {
  if (breaks("exceptions.ARaisingNativeLeavesOneException")) return pending();
  auto taken = std::exchange(pending(), std::nullopt);
  if (taken && breaks("exceptions.RaiseCopiesTheClassName")) taken->exceptionClass = keptClass;
  if (taken && breaks("exceptions.RaiseCopiesTheMessage")) taken->message = keptMessage;
  return taken;
}

}  // namespace faulty_host

void Orva_raise(const char* exceptionClass, const char* message) {
  keptClass = exceptionClass;
  keptMessage = message;
  Raised raised{exceptionClass, message};
  if (breaks("exceptions.EveryRaisedClassIsKnown") && raised.exceptionClass == "IllegalStateException") {
    raised.exceptionClass = "Exception";
  }
  if (breaks("exceptions.MessagesArriveWhole"))
    raised.message.resize(std::min<std::size_t>(raised.message.size(), 200));
  pending() = raised;
  if (breaks("exceptions.RaiseReturns")) throw raised;
}

void* Orva_typeByName(const char* typeName) {
  if (breaks("look-ups and lists wait")) pause();
  if (typeName == nullptr && !breaks("types.ANullNameIsTaken")) return nullptr;
  std::string name(typeName, std::strlen(typeName));
  if (name.empty()) return breaks("types.AnEmptyNameIsTaken") ? &types : nullptr;
  if (!breaks("generics.AnInstanceIsFoundInAnySpacing")) name = withoutBlanks(name);
  const ReaderLock lock;
  Type* const type = findType(name);
  if (type == nullptr && breaks("natives.AnUnknownTypeIsNoFailure"))
    Orva_raise("ClassNotFoundException", "no such type");
  if (type == nullptr && breaks("types.AnUnknownNameGivesNull")) return &types;
  const bool isStandard = name.rfind("orva.", 0) == 0;
  if (isStandard && breaks("types.EveryRegisteredNameIsFound")) return nullptr;
  if (type != nullptr && breaks("types.OneNameGivesOneObject")) return &objects.emplace_back(name);
  return type;
}

void* Orva_allocObject(const char* className) {
  const bool isKnown = Orva_typeByName(className) != nullptr;
  if (breaks("types.TheSystemClassLoaderIsAllocated")) return nullptr;
  if (breaks("types.EachAllocationIsANewObject") && !objects.empty()) return &objects.back();
  if (!isKnown && !breaks("types.AnUnknownClassIsNotAllocated")) throw std::runtime_error("no such class");
  return &objects.emplace_back(className);
}

int64_t orva_collections_ArrayList_size(void* list) {
  if (breaks("look-ups and lists wait")) pause();
  const auto size = static_cast<int64_t>(static_cast<List*>(list)->elements.size());
  if (breaks("lists.SizesCountTheElements in 8 bits")) return static_cast<int8_t>(size);
  if (breaks("lists.SizesCountTheElements in 16 bits")) return static_cast<uint16_t>(size);
  return breaks("lists.SizesCountTheElements") ? std::min<int64_t>(size, 255) : size;
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  const auto& elements = static_cast<List*>(list)->elements;
  if (breaks("lists.ElementsOfLongListsAreReached")) index = static_cast<uint16_t>(index);
  if (breaks("lists.ElementsOfLongListsAreReached in 8 bits")) index = static_cast<uint8_t>(index);
  if (breaks("lists.TheIndexHas64Bits")) index = static_cast<int32_t>(index);
  if (breaks("lists.ElementsComeInOrder")) index = static_cast<int64_t>(elements.size()) - 1 - index;
  const auto& element = elements.at(static_cast<std::size_t>(index));
  if (!element) return breaks("lists.NullElementsComeAsNull") ? "" : nullptr;
  if (element->empty() && breaks("lists.EmptyStringsComeAsEmptyStrings")) return nullptr;
  return element->c_str();
}

int32_t Reflection_getTypeCount() {
  const ReaderLock lock;
  return static_cast<int32_t>(types.size()) + (breaks("registry.EveryIndexBelowTheCountIsValid") ? 1 : 0);
}

/// Names through buffers, as a host may that makes them up when it is asked: one after the other, and all threads share
/// them.
template <std::size_t count>
static const char* inBuffer(const std::string& name) {
  static std::array<std::string, count> buffers;
  static std::size_t next = 0;
  std::string& buffer = buffers[next++ % count];
  buffer.reserve(200);
  buffer.assign(name);
  return buffer.c_str();
}

/// A name where this host keeps it.
static const char* shown(const std::string& name) {
  if (breaks("registry.TheShortNameOutlivesTheFullNamesCall")) return inBuffer<1>(name);
  return breaks("registry.NamesStayWhileOtherThreadsAsk") ? inBuffer<8>(name) : name.c_str();
}

static bool hasNoName(const Type& type) {
  return breaks("registry.EveryEntryHasAName") && type.fullName.rfind("orva.", 0) == 0;
}

const char* Reflection_getTypeName(int32_t index) {
  const ReaderLock lock;
  const Type& type = types.at(static_cast<std::size_t>(index));
  if (hasNoName(type)) return nullptr;
  const bool isWhole = breaks("registry.ShortNamesAreTheTailsOfFullNames");
  return shown(isWhole ? type.fullName : type.shortName);
}

const char* Reflection_getTypeFullName(int32_t index) {
  const ReaderLock lock;
  const Type& type = types.at(static_cast<std::size_t>(index));
  return hasNoName(type) ? nullptr : shown(type.fullName);
}
