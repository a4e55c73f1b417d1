// Types and objects: `Orva_typeByName` and `Orva_allocObject`.
#include <string>

#include "host_contract/check.h"
#include "host_contract/checks/known_types.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// Looks up a name that no type has. The host may raise something for it.
static void expectNoType(Trial& trial, const char* name, const std::string& spelled) {
  expect(Orva_typeByName(name) == nullptr, "Orva_typeByName returned a type for " + spelled);
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
           "Orva_typeByName returned null for '" + name + "', which is entry " + std::to_string(index));
  }
}

static void oneNameGivesOneObject(Trial& trial) {
  loadStandardTypes(trial);
  if (Reflection_getTypeCount() <= 0) return;
  const std::string name = nameOfEntry(0);
  expect(Orva_typeByName(name.c_str()) == Orva_typeByName(name.c_str()),
         "two lookups of '" + name + "' returned different objects");
}

static void theSystemClassLoaderIsAllocated(Trial& trial) {
  void* const loader = orva_ClassLoader_getSystem();
  expectNothingPending(trial);
  expect(loader != nullptr, "Orva_allocObject(\"SystemClassLoader\") returned null");
}

static void eachAllocationIsANewObject(Trial& trial) {
  void* const loader = orva_ClassLoader_getSystem();
  trial.hooks.takePending();
  if (loader == nullptr) return;
  expect(Orva_allocObject("SystemClassLoader") != loader, "Orva_allocObject returned the same object twice");
}

static void anUnknownClassIsNotAllocated(Trial& /*trial*/) {
  void* object = nullptr;
  try {
    object = Orva_allocObject("NoSuchClass");
  } catch (const std::exception&) {
  }
  expect(object == nullptr, "Orva_allocObject returned an object of 'NoSuchClass'");
}

std::vector<Check> typeChecks() {
  const Room room{"types"};
  return {
      room.required("ANullNameIsTaken", aNullNameIsTaken,
                    "Two natives pass a program's null on unchanged; the process would crash."),
      room.required("AnEmptyNameIsTaken", anEmptyNameIsTaken,
                    "Two natives pass an empty name on unchanged; a program would get a type for no name, or crash."),
      room.required("AnUnknownNameGivesNull", anUnknownNameGivesNull,
                    "Only null means a missing type to the library; programs would use anything else as a type."),
      room.required(
          "EveryRegisteredNameIsFound", everyRegisteredNameIsFound,
          "A plugin's entry type is looked up by its full name in the registry; loading the plugin would return null "
          "and raise nothing."),
      room.advised("OneNameGivesOneObject", oneNameGivesOneObject,
                   "Programs that compare types by their objects would take one type for two."),
      room.required(
          "TheSystemClassLoaderIsAllocated", theSystemClassLoaderIsAllocated,
          "The library allocates the class by its short name once the two sources of the class loaders are loaded; "
          "programs would get no class loader."),
      room.advised("EachAllocationIsANewObject", eachAllocationIsANewObject,
                   "Threads that make the first call of getSystem at once each get an object of their own; they would "
                   "share one."),
      room.advised(
          "AnUnknownClassIsNotAllocated", anUnknownClassIsNotAllocated,
          "A host whose standard library lacks the class would return an object without a class, instead of a failure "
          "that says so."),
  };
}

}  // namespace orva::host_contract
