// Packages: which names are names, and what loading all types of one does.
#include "classloader/natives.h"
#include "host_contract/checks/sources_on_disk.h"
#include "runtime_api/compiler.h"

namespace orva::host_contract {

using compiler::PackageLayout;

static void theEmptyNameIsRefused(Trial& /*trial*/) {
  expect(!PackageLayout::isValidPackageName(""), "the empty name is a package name");
}

static void dottedNamesAreAccepted(Trial& /*trial*/) {
  for (const char* name : {"shop", "shop.cart", "shop.cart.items"}) {
    expect(PackageLayout::isValidPackageName(name), std::string("'") + name + "' is refused");
  }
}

static void namesThatLeaveTheRootAreRefused(Trial& /*trial*/) {
  for (const char* name : {"..", "shop..cart", ".shop", "shop.", "../shop", "shop/cart", "/etc"}) {
    expect(!PackageLayout::isValidPackageName(name), std::string("'") + name + "' is a package name");
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
                    "The empty name stands for the root itself; all of its sources would be loaded as a package."),
      room.advised("DottedNamesAreAccepted", dottedNamesAreAccepted, "No package of that name could be loaded."),
      room.advised(
          "NamesThatLeaveTheRootAreRefused", namesThatLeaveTheRootAreRefused,
          "Each segment becomes a folder below a root; a name with empty segments or slashes would reach folders "
          "that are no packages, outside of the class path too."),
      withSources.required("EverySourceOfAPackageIsLoaded", everySourceOfAPackageIsLoaded,
                           "Programs load a package to find its types registered; some would be missing."),
  };
}

}  // namespace orva::host_contract
