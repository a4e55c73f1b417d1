// Generic classes: generating, loading and finding their instances.
#include <string>

#include "host_contract/checks/known_types.h"
#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// Writes a generic class, and a class for its argument, below a new root.
/// @return the name of the instance, as a program writes it.
static std::string writeInstance(Trial& trial) {
  const auto root = addRoot(trial, "root");
  writeClass(trial, root, "Apple");
  writeSource(root, "Crate", trial.hooks.genericSource(samplePackage, "Crate"));
  return fullNameOf("Crate") + "<" + fullNameOf("Apple") + ">";
}

/// The library asks materializeRuntimeGenericType for the instance's source, and loads it.
static void anInstanceIsFound(Trial& trial) {
  const std::string instance = writeInstance(trial);
  void* const type = orva_ClassLoader_getTypeByName(instance.c_str());
  expectNothingPending(trial);
  expect(type != nullptr, "getTypeByName returned null for " + instance);
}

static void anInstanceIsFoundInAnySpacing(Trial& trial) {
  const std::string instance = writeInstance(trial);
  const std::string spaced = fullNameOf("Crate") + " < " + fullNameOf("Apple") + " >";
  void* const type = orva_ClassLoader_getTypeByName(instance.c_str());
  void* const same = orva_ClassLoader_getTypeByName(spaced.c_str());
  trial.hooks.takePending();
  expect(type == nullptr || same == type, "'" + spaced + "' and '" + instance + "' are different types");
}

static void anInstanceHasAReadyRecord(Trial& trial) {
  const std::string instance = writeInstance(trial);
  void* const type = orva_ClassLoader_getTypeByName(instance.c_str());
  trial.hooks.takePending();
  if (type == nullptr) return;
  expect(hasReadyRecord(instance), "gTypes has no ready record with the name " + instance);
}

std::vector<Check> genericChecks() {
  const Room room{"generics", Needs::generics};
  return {
      room.required(
          "AnInstanceIsFound", anInstanceIsFound,
          "materializeRuntimeGenericType must name a source whose load makes the instance known; programs could not "
          "look instances up."),
      room.advised(
          "AnInstanceIsFoundInAnySpacing", anInstanceIsFoundInAnySpacing,
          "The library finds the record in any spacing, then asks Orva_typeByName for the name as the program wrote "
          "it; the program would get null, or a second type."),
      room.advised("AnInstanceHasAReadyRecord", anInstanceHasAReadyRecord,
                   "Each lookup of the instance would generate and load it again."),
  };
}

}  // namespace orva::host_contract
