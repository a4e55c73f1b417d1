// Types and objects: `Orva_typeByName` and `Orva_allocObject`.
#include <string>

#include "host_contract/check.h"
#include "host_contract/checks/known_types.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// Looks a name up that no type has. Whether the host raises something for it is its own business.
static void expectNoType(Trial& trial, const char* name, const std::string& spelled) {
  expect(Orva_typeByName(name) == nullptr, "Orva_typeByName gave a type for " + spelled);
  trial.hooks.takePending();
}

static void aNullNameIsTaken(Trial& trial) { expectNoType(trial, nullptr, "null"); }

static void anEmptyNameIsTaken(Trial& trial) { expectNoType(trial, "", "the empty name"); }

static void anUnknownNameGivesNull(Trial& trial) {
  expectNoType(trial, "no.such.Type", "'no.such.Type'");
  expectNoType(trial, "no.such.Generic<no.such.Type>", "'no.such.Generic<no.such.Type>'");
}

static void everyRegisteredNameIsFound(Trial& trial) {
  loadStandardTypes(trial);
  const int32_t count = Reflection_getTypeCount();
  for (int32_t index = 0; index < count; ++index) {
    const std::string name = nameOfEntry(index);
    expect(name.empty() || Orva_typeByName(name.c_str()) != nullptr,
           "Orva_typeByName gave null for '" + name + "', which is entry " + std::to_string(index));
  }
}

static void oneNameGivesOneObject(Trial& trial) {
  loadStandardTypes(trial);
  if (Reflection_getTypeCount() <= 0) return;
  const std::string name = nameOfEntry(0);
  expect(Orva_typeByName(name.c_str()) == Orva_typeByName(name.c_str()), "two look-ups of '" + name + "' differ");
}

static void theSystemClassLoaderIsAllocated(Trial& trial) {
  void* const loader = orva_ClassLoader_getSystem();
  expectNothingPending(trial);
  expect(loader != nullptr, "Orva_allocObject(\"SystemClassLoader\") gave null");
}

static void eachAllocationIsANewObject(Trial& trial) {
  void* const loader = orva_ClassLoader_getSystem();
  trial.hooks.takePending();
  if (loader == nullptr) return;
  expect(Orva_allocObject("SystemClassLoader") != loader, "Orva_allocObject gave the same object twice");
}

static void anUnknownClassIsNotAllocated(Trial& /*trial*/) {
  void* object = nullptr;
  try {
    object = Orva_allocObject("NoSuchClass");
  } catch (const std::exception&) {
  }
  expect(object == nullptr, "Orva_allocObject gave an object of 'NoSuchClass'");
}

std::vector<Check> typeChecks() {
  const Room room{"types"};
  return {
      room.required("ANullNameIsTaken", aNullNameIsTaken,
                    "Two natives hand a program's null on as it is; the process would crash."),
      room.required("AnEmptyNameIsTaken", anEmptyNameIsTaken,
                    "Two natives hand an empty name on as it is; a program would get a type, or a crash, for no name."),
      room.required("AnUnknownNameGivesNull", anUnknownNameGivesNull,
                    "The library takes only null for a missing type; programs would use anything else as a type."),
      room.required(
          "EveryRegisteredNameIsFound", everyRegisteredNameIsFound,
          "A plugin's entry type is looked up by the full name that the registry has; loading it would give null and "
          "raise nothing."),
      room.advised("OneNameGivesOneObject", oneNameGivesOneObject,
                   "Programs that compare types by their objects would take a type for another one."),
      room.required(
          "TheSystemClassLoaderIsAllocated", theSystemClassLoaderIsAllocated,
          "The library allocates the class by its short name once the two sources of the class loaders are loaded; "
          "programs would get no class loader."),
      room.advised("EachAllocationIsANewObject", eachAllocationIsANewObject,
                   "Threads that make the first call at once each get an object of their own; they would share one."),
      room.advised(
          "AnUnknownClassIsNotAllocated", anUnknownClassIsNotAllocated,
          "A host whose standard library lacks the class would hand out an object of no class, in place of a failure "
          "that says so."),
  };
}

}  // namespace orva::host_contract
