// The registry of loaded types: the three query functions, and the type table with its mutex.
#include <cstdint>
#include <future>
#include <optional>
#include <string>

#include "host_contract/check.h"
#include "host_contract/checks/known_types.h"
#include "host_contract/checks/mutex.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// Counts the types, once the host has registered at least those of its standard library, if it has one.
static int32_t registeredTypes(Trial& trial) {
  loadStandardTypes(trial);
  return Reflection_getTypeCount();
}

/// A name of the registry as text; empty for null.
static std::string textOf(const char* name) { return name == nullptr ? "" : name; }

static void everyIndexBelowTheCountIsValid(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  for (int32_t index = 0; index < count; ++index) {
    try {
      textOf(Reflection_getTypeName(index));
      textOf(Reflection_getTypeFullName(index));
    } catch (...) {
      throw Broken{"the count is " + std::to_string(count) + ", but asking for entry " + std::to_string(index) +
                   " threw"};
    }
  }
}

static void everyEntryHasAName(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  for (int32_t index = 0; index < count; ++index) {
    expect(!nameOfEntry(index).empty(),
           "entry " + std::to_string(index) + " of " + std::to_string(count) + " has no name");
  }
}

static void theShortNameOutlivesTheFullNamesCall(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  for (int32_t index = 0; index < count; ++index) {
    const char* const shortName = Reflection_getTypeName(index);
    const std::string before = textOf(shortName);
    Reflection_getTypeFullName(index);
    expect(textOf(shortName) == before, "the short name '" + before + "' changed when the full name was asked for");
  }
}

static void shortNamesAreTheTailsOfFullNames(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  for (int32_t index = 0; index < count; ++index) {
    const std::string shortName = textOf(Reflection_getTypeName(index));
    const std::string fullName = textOf(Reflection_getTypeFullName(index));
    // The dots in the arguments of a generic instance belong to other names.
    if (shortName.empty() || fullName.empty() || fullName.find('<') != std::string::npos) continue;
    expect(fullName.substr(fullName.rfind('.') + 1) == shortName,
           "entry " + std::to_string(index) + " has the names '" + shortName + "' and '" + fullName + "'");
  }
}

/// The names of one entry: where the host keeps them, and copies of them.
struct Kept {
  const char* shortName;
  const char* fullName;
  std::string shortText;
  std::string fullText;
};

static Kept namesOf(int32_t index) {
  Kept names{Reflection_getTypeName(index), Reflection_getTypeFullName(index), {}, {}};
  names.shortText = textOf(names.shortName);
  names.fullText = textOf(names.fullName);
  return names;
}

/// Asks for so many names that a host which returns them in a ring of buffers would reuse each buffer.
/// @return what one of the kept names has changed to; nothing when both are as they were.
static std::optional<std::string> spoiledByQuestions(const Kept& kept, int32_t count) {
  for (int32_t question = 0; question < 1000 + count; ++question) {
    namesOf(question % count);
    if (textOf(kept.shortName) != kept.shortText) return textOf(kept.shortName);
    if (textOf(kept.fullName) != kept.fullText) return textOf(kept.fullName);
  }
  return std::nullopt;
}

static void namesStayWhileOtherThreadsAsk(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  if (count < 2) throw NotRun{"this host registers fewer than two types before a program runs"};
  const Kept kept = namesOf(0);
  auto spoiled = std::async(std::launch::async, [&] {
    trial.hooks.attachThread();
    return spoiledByQuestions(kept, count);
  });
  const std::optional<std::string> text = spoiled.get();
  if (text) {
    throw Broken{"a name of '" + kept.fullText + "' became '" + *text + "' while another thread asked for names"};
  }
}

static void theMutexIsFreeBetweenCalls(Trial& trial) {
  expectFreeMutex("before any call");
  registeredTypes(trial);
  expectFreeMutex("after the registry was read");
}

static void everyRegisteredTypeHasAReadyRecord(Trial& trial) {
  const int32_t count = registeredTypes(trial);
  for (int32_t index = 0; index < count; ++index) {
    const std::string name = nameOfEntry(index);
    expect(name.empty() || hasReadyRecord(name), "gTypes has no ready record with the name '" + name + "'");
  }
}

std::vector<Check> registryChecks() {
  const Room room{"registry"};
  return {
      room.required(
          "EveryIndexBelowTheCountIsValid", everyIndexBelowTheCountIsValid,
          "Each lookup asks for the names of every index below the count; it would fail for all types, or crash."),
      room.advised("EveryEntryHasAName", everyEntryHasAName,
                   "No lookup finds such a type; most often the count is one too high."),
      room.required(
          "TheShortNameOutlivesTheFullNamesCall", theShortNameOutlivesTheFullNamesCall,
          "The library reads both names after it has asked for both; it would compare the wrong short names."),
      room.required("NamesStayWhileOtherThreadsAsk", namesStayWhileOtherThreadsAsk,
                    "The library reads both names of an entry in place, without a lock; while programs on other "
                    "threads look types up, it would compare and return the wrong texts."),
      room.advised("ShortNamesAreTheTailsOfFullNames", shortNamesAreTheTailsOfFullNames,
                   "The same short name could match two types, and its lookup would be ambiguous."),
      room.required("TheMutexIsFreeBetweenCalls", theMutexIsFreeBetweenCalls,
                    "A generic lookup locks it; it would wait forever."),
      room.advised("EveryRegisteredTypeHasAReadyRecord", everyRegisteredTypeHasAReadyRecord,
                   "Each lookup of a generic instance that is registered without a ready record generates it again."),
  };
}

}  // namespace orva::host_contract
