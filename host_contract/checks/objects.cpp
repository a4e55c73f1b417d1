// Object bundles: loading what precompiling left, and refusing what is not it.
#include <fstream>
#include <string>

#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// An object that the host's compiler wrote, and the identity of its source.
struct Built {
  std::string object;
  std::string identity;
};

static Built build(Trial& trial) {
  const std::string source = writeClass(trial, addRoot(trial, "root"), "Apple");
  Compiler::precompileSources({source});
  Built built{trial.hooks.objectFile(source), trial.hooks.sourceIdentity(source)};
  if (built.identity.empty()) throw NotRun{"this host has no identities of sources: its hooks tell none"};
  return built;
}

static void loadObject(const std::string& object, const std::string& identity) {
  Compiler::ensureObjectBundleLoadedInActiveJit({object}, {identity});
}

static void aBundleRegistersItsTypes(Trial& trial) {
  const Built built = build(trial);
  loadObject(built.object, built.identity);
  expectLoaded("Apple");
}

static void anUnequalIdentityIsRefused(Trial& trial) {
  const Built built = build(trial);
  expectFailure("loading an object with the identity of another source",
                [&] { loadObject(built.object, "the identity of another source"); });
}

static void aRefusedBundleRegistersNothing(Trial& trial) {
  const Built built = build(trial);
  try {
    loadObject(built.object, "the identity of another source");
  } catch (...) {
  }
  expectNotLoaded("Apple");
}

static void aMissingObjectThrowsAStandardException(Trial& trial) {
  expectFailure("loading an object that does not exist",
                [&] { loadObject((trial.folder / "absent.o").string(), "an identity"); });
}

static void aDamagedObjectThrowsAStandardException(Trial& trial) {
  const Built built = build(trial);
  std::ofstream(built.object, std::ios::binary | std::ios::trunc) << "this is no object";
  expectFailure("loading a damaged object", [&] { loadObject(built.object, built.identity); });
}

static void anEmptyBundleIsHarmless(Trial& /*trial*/) { Compiler::ensureObjectBundleLoadedInActiveJit({}, {}); }

std::vector<Check> objectChecks() {
  const Room room{"objects", Needs::objects};
  return {
      room.required("ABundleRegistersItsTypes", aBundleRegistersItsTypes,
                    "The library looks for the plugin's type once its bundle is loaded; every plugin would fail."),
      room.advised("AnUnequalIdentityIsRefused", anUnequalIdentityIsRefused,
                   "A program would run an object that was built from another source than it named."),
      room.advised("ARefusedBundleRegistersNothing", aRefusedBundleRegistersNothing,
                   "The plugin's type would count as loaded, and could not be loaded any more."),
      room.required("AMissingObjectThrowsAStandardException", aMissingObjectThrowsAStandardException,
                    "A wrong path in a program would be taken for a plugin without a type, or end the process."),
      room.required("ADamagedObjectThrowsAStandardException", aDamagedObjectThrowsAStandardException,
                    "A file that was cut off would end the process."),
      room.advised(
          "AnEmptyBundleIsHarmless", anEmptyBundleIsHarmless,
          "Two empty lists are passed on; the program would see the host's failure, in place of the exception that "
          "names the missing type."),
  };
}

}  // namespace orva::host_contract
