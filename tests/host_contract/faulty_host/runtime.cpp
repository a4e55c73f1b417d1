// The faults of the runtime and of the registry.
#include "runtime_api/runtime.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "examples/minimal_host/minimal_host.h"
#include "fault.h"
#include "hooks.h"
#include "minimal_functions.h"
#include "runtime_api/reflection.h"

using faulty_host::breaks;
using faulty_host::lockBoth;
using minimal_host::Exception;
using orva::host_contract::Raised;

static std::mutex registryMutex;
static char object;
static std::deque<char> objects;

static std::optional<Exception> ofProcess;
static const char* keptClass;
static const char* keptMessage;

static void keepPending(const Exception& raised) {
  if (breaks("exceptions.AnExceptionBelongsToItsThread")) {
    ofProcess = raised;
  } else {
    hosts_Orva_raise(raised.className.c_str(), raised.message.c_str());
  }
}

void Orva_raise(const char* exceptionClass, const char* message) {
  keptClass = exceptionClass;
  keptMessage = message;
  Exception raised{exceptionClass, message};
  if (breaks("exceptions.EveryRaisedClassIsKnown") && raised.className == "IllegalStateException") {
    raised.className = "Exception";
  }
  if (breaks("exceptions.MessagesArriveWhole")) {
    raised.message.resize(std::min<std::size_t>(raised.message.size(), 200));
  }
  keepPending(raised);
  if (breaks("exceptions.RaiseReturns")) throw std::runtime_error(raised.message);
}

std::optional<Raised> faulty_host::takePending() {
  const bool isOfProcess = breaks("exceptions.AnExceptionBelongsToItsThread");
  auto taken = isOfProcess ? std::exchange(ofProcess, std::nullopt) : minimal_host::takePending();
  if (!taken) return std::nullopt;
  if (breaks("exceptions.ARaisingNativeLeavesOneException")) keepPending(*taken);
  if (breaks("exceptions.RaiseCopiesTheClassName")) taken->className = keptClass;
  if (breaks("exceptions.RaiseCopiesTheMessage")) taken->message = keptMessage;
  return Raised{taken->className, taken->message};
}

/// Readers of the registry lock its mutex and that of the type table in one order, writers in the opposite order.
static void readTogether() {
  lockBoth("sources.LookUpsAndLoadsRunAtOnce", registryMutex, gReflectionMutex);
  lockBoth("sources.LookUpsAndLoadsRunAtOnce by the table first", gReflectionMutex, registryMutex);
}

static void writeTogether() {
  lockBoth("sources.LookUpsAndLoadsRunAtOnce", gReflectionMutex, registryMutex);
  lockBoth("sources.LookUpsAndLoadsRunAtOnce by the table first", registryMutex, gReflectionMutex);
}

void minimal_host::registerType(const std::string& fullName) {
  writeTogether();
  if (breaks("sources.ALoadWaitsForTheMutex")) {
    const std::unique_lock<std::mutex> lock(gReflectionMutex, std::try_to_lock);
    if (!lock) throw std::runtime_error("the type table is in use");
  }
  if (breaks("sources.TheTableChangesUnderTheMutex")) gTypes.emplace_back();
  hosts_registerType(fullName);
  const bool isInstance = fullName.find('<') != std::string::npos;
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  if (isInstance && breaks("generics.AnInstanceHasAReadyRecord")) gTypes.back().members.clear();
}

void* Orva_typeByName(const char* typeName) {
  if (breaks("look-ups and lists wait")) pause();
  if (typeName == nullptr && !breaks("types.ANullNameIsTaken")) return nullptr;
  const std::string name(typeName, std::strlen(typeName));
  if (name.empty() && breaks("types.AnEmptyNameIsTaken")) return &object;
  const bool isSpaced = name.find(' ') != std::string::npos;
  if (isSpaced && breaks("generics.AnInstanceIsFoundInAnySpacing")) return nullptr;
  if (name.rfind("orva.", 0) == 0 && breaks("types.EveryRegisteredNameIsFound")) return nullptr;
  readTogether();
  void* const type = hosts_Orva_typeByName(typeName);
  if (type != nullptr) return breaks("types.OneNameGivesOneObject") ? &objects.emplace_back() : type;
  if (breaks("natives.AnUnknownTypeIsNoFailure")) Orva_raise("ClassNotFoundException", "no such type");
  return !name.empty() && breaks("types.AnUnknownNameGivesNull") ? &object : nullptr;
}

void* Orva_allocObject(const char* className) {
  const bool isKnown = Orva_typeByName(className) != nullptr;
  if (!isKnown && breaks("types.AnUnknownClassIsNotAllocated")) return &object;
  if (breaks("types.TheSystemClassLoaderIsAllocated")) return nullptr;
  if (isKnown && breaks("types.EachAllocationIsANewObject")) return &object;
  void* const allocated = hosts_Orva_allocObject(className);
  if (breaks("registry.TheMutexIsFreeBetweenCalls")) gReflectionMutex.lock();
  return allocated;
}

int64_t orva_collections_ArrayList_size(void* list) {
  if (breaks("look-ups and lists wait")) pause();
  const int64_t size = hosts_orva_collections_ArrayList_size(list);
  if (breaks("lists.SizesCountTheElements in 8 bits")) return static_cast<int8_t>(size);
  if (breaks("lists.SizesCountTheElements in 16 bits")) return static_cast<uint16_t>(size);
  return breaks("lists.SizesCountTheElements") ? std::min<int64_t>(size, 255) : size;
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  if (breaks("lists.ElementsOfLongListsAreReached")) index = static_cast<uint16_t>(index);
  if (breaks("lists.ElementsOfLongListsAreReached in 8 bits")) index = static_cast<uint8_t>(index);
  if (breaks("lists.TheIndexHas64Bits")) index = static_cast<int32_t>(index);
  if (breaks("lists.ElementsComeInOrder")) index = hosts_orva_collections_ArrayList_size(list) - 1 - index;
  const char* const element = hosts_orva_collections_ArrayList_operator_index(list, index);
  if (element == nullptr) return breaks("lists.NullElementsComeAsNull") ? "" : nullptr;
  return *element == '\0' && breaks("lists.EmptyStringsComeAsEmptyStrings") ? nullptr : element;
}

int32_t Reflection_getTypeCount() {
  readTogether();
  return hosts_Reflection_getTypeCount() + (breaks("registry.EveryIndexBelowTheCountIsValid") ? 1 : 0);
}

/// Copies a name to the next of `count` buffers that all threads share, as a host could that builds names on demand.
template <std::size_t count>
static const char* inBuffer(const char* name) {
  static std::array<std::string, count> buffers;
  static std::size_t next = 0;
  std::string& buffer = buffers[next++ % count];
  buffer.reserve(200);
  buffer.assign(name);
  return buffer.c_str();
}

/// Returns a name of an entry as this host returns names.
static const char* shown(int32_t index, const char* name) {
  readTogether();
  if (index == 0 && breaks("registry.EveryEntryHasAName")) return nullptr;
  if (breaks("registry.TheShortNameOutlivesTheFullNamesCall")) return inBuffer<1>(name);
  return breaks("registry.NamesStayWhileOtherThreadsAsk") ? inBuffer<8>(name) : name;
}

const char* Reflection_getTypeName(int32_t index) {
  const bool isWhole = breaks("registry.ShortNamesAreTheTailsOfFullNames");
  return shown(index, (isWhole ? hosts_Reflection_getTypeFullName : hosts_Reflection_getTypeName)(index));
}

const char* Reflection_getTypeFullName(int32_t index) { return shown(index, hosts_Reflection_getTypeFullName(index)); }
