// Object bundles: loading what precompiling wrote, and refusing anything else.
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
  if (built.identity.empty()) throw NotRun{"this host has no source identities: its hooks name none"};
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

/// The identity of a source that is as long as the one that was built, but declares another class.
static std::string identityOfEqualSource(Trial& trial) {
  return trial.hooks.sourceIdentity(writeClass(trial, trial.folder / "root", "Grape"));
}

/// An identity of the same length in which one digit or letter is another one.
static std::string altered(std::string identity, std::size_t at) {
  char& byte = identity[at];
  if (byte >= '0' && byte <= '9') {
    byte = byte == '9' ? '0' : static_cast<char>(byte + 1);
  } else {
    byte = byte == 'a' ? 'b' : 'a';
  }
  return identity;
}

static void identitiesOfEqualLengthAreToldApart(Trial& trial) {
  const Built built = build(trial);
  const std::string equal = identityOfEqualSource(trial);
  expect(equal != built.identity,
         "two sources of equal length, with different classes, have the same identity '" + equal + "'");
  expectFailure("loading an object with the identity of another source of equal length",
                [&] { loadObject(built.object, equal); });
  const std::size_t last = built.identity.size() - 1;
  for (const std::size_t at : {std::size_t{0}, last / 2, last}) {
    expectFailure("loading an object whose identity differs only in byte " + std::to_string(at),
                  [&] { loadObject(built.object, altered(built.identity, at)); });
  }
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
  std::ofstream(built.object, std::ios::binary | std::ios::trunc) << "this is not an object";
  expectFailure("loading a damaged object", [&] { loadObject(built.object, built.identity); });
}

static void anEmptyBundleIsHarmless(Trial& /*trial*/) { Compiler::ensureObjectBundleLoadedInActiveJit({}, {}); }

std::vector<Check> objectChecks() {
  const Room room{"objects", Needs::objects};
  return {
      room.required("ABundleRegistersItsTypes", aBundleRegistersItsTypes,
                    "The library looks for the plugin's type once its bundle is loaded; every plugin would fail."),
      room.required("AnUnequalIdentityIsRefused", anUnequalIdentityIsRefused,
                    "A program would run an object that was built from a different source than it named."),
      room.required(
          "IdentitiesOfEqualLengthAreToldApart", identitiesOfEqualLengthAreToldApart,
          "The identities of a host usually have the same length; a program would run an object that was built from a "
          "different source than it named."),
      room.advised("ARefusedBundleRegistersNothing", aRefusedBundleRegistersNothing,
                   "The plugin's type would count as loaded, and could not be loaded any more."),
      room.required("AMissingObjectThrowsAStandardException", aMissingObjectThrowsAStandardException,
                    "A wrong path in a program would be taken for a plugin without a type, or end the process."),
      room.required("ADamagedObjectThrowsAStandardException", aDamagedObjectThrowsAStandardException,
                    "A truncated file would end the process."),
      room.advised(
          "AnEmptyBundleIsHarmless", anEmptyBundleIsHarmless,
          "Two empty lists are passed on; the program would see the host's failure instead of the exception that names "
          "the missing type."),
  };
}

}  // namespace orva::host_contract
