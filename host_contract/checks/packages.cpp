// Packages: which names are valid, and whether all types of a package are loaded.
#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace orva::host_contract {

static void theEmptyNameIsRefused(Trial& /*trial*/) {
  expect(!isValidPackageName(""), "isValidPackageName accepts the empty name");
}

static void dottedNamesAreAccepted(Trial& /*trial*/) {
  for (const char* name : {"shop", "shop.cart", "shop.cart.items"}) {
    expect(isValidPackageName(name), std::string("isValidPackageName refuses '") + name + "'");
  }
}

static void namesThatLeaveTheRootAreRefused(Trial& /*trial*/) {
  for (const char* name : {"..", "shop..cart", ".shop", "shop.", "../shop", "shop/cart", "/etc"}) {
    expect(!isValidPackageName(name), std::string("isValidPackageName accepts '") + name + "'");
  }
}

static void everySourceOfAPackageIsLoaded(Trial& trial) {
  const auto root = addRoot(trial, "root");
  writeClass(trial, root, "Apple");
  writeClass(trial, root, "Pear");
  orva_SystemClassLoader_loadPackageTypes(nullptr, samplePackage);
  expectNothingPending(trial);
  expectLoaded("Apple");
  expectLoaded("Pear");
}

std::vector<Check> packageChecks() {
  const Room room{"packages"};
  const Room withSources{"packages", Needs::sources};
  return {
      room.required("TheEmptyNameIsRefused", theEmptyNameIsRefused,
                    "The empty name means the root itself; all of its sources would be loaded as a package."),
      room.required("DottedNamesAreAccepted", dottedNamesAreAccepted,
                    "Loading such a package would raise an exception that calls its name invalid."),
      room.advised(
          "NamesThatLeaveTheRootAreRefused", namesThatLeaveTheRootAreRefused,
          "Each segment becomes a folder below a root; a name with empty segments or slashes would reach folders that "
          "are not packages, even outside the class path."),
      withSources.required("EverySourceOfAPackageIsLoaded", everySourceOfAPackageIsLoaded,
                           "Programs load a package so that all of its types are registered; some would be missing."),
  };
}

}  // namespace orva::host_contract
