// The kit on a host that breaks one check at a time. Exactly this check must fail, and those that depend on it.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <future>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "fault.h"
#include "hooks.h"
#include "host_contract/examine.h"

using orva::host_contract::allChecks;
using orva::host_contract::Check;
using orva::host_contract::examine;
using orva::host_contract::Outcome;
using Names = std::set<std::string>;

/// The limit for a check that hangs.
constexpr int seconds = 4;

/// Checks mostly wait, for another thread or for their limit, so many run at once.
constexpr int checksAtOnce = 8;

/// The other checks that a fault breaks.
static const std::map<std::string, Names> brokenWith = {
    {"exceptions.RaiseReturns",
     {"exceptions.RaiseCopiesTheClassName", "exceptions.RaiseCopiesTheMessage", "exceptions.MessagesArriveWhole",
      "exceptions.EveryRaisedClassIsKnown", "exceptions.ARaisingNativeLeavesOneException",
      "exceptions.AnExceptionBelongsToItsThread"}},
    {"types.AnUnknownNameGivesNull", {"natives.AnUnknownTypeIsNoFailure", "natives.OddNamesAreTaken"}},
    {"class_path.AMissingClassHasNoSource", {"natives.AnUnknownTypeIsNoFailure"}},
    {"lists.ElementsComeInOrder", {"lists.ElementsOfLongListsAreReached"}},
    {"registry.TheShortNameOutlivesTheFullNamesCall", {"registry.NamesStayWhileOtherThreadsAsk"}},
    {"packages.DottedNamesAreAccepted", {"packages.EverySourceOfAPackageIsLoaded"}},
    {"types.OneNameGivesOneObject", {"generics.AnInstanceIsFoundInAnySpacing"}},
    // Every lookup reads all entries.
    {"registry.EveryIndexBelowTheCountIsValid",
     {"registry.EveryEntryHasAName", "registry.TheShortNameOutlivesTheFullNamesCall",
      "registry.ShortNamesAreTheTailsOfFullNames", "registry.NamesStayWhileOtherThreadsAsk",
      "registry.EveryRegisteredTypeHasAReadyRecord", "types.EveryRegisteredNameIsFound",
      "natives.AnUnknownTypeIsNoFailure", "class_path.AClassUnderAnAddedRootIsFound",
      "class_path.CachesAreDroppedWithTheClassPath", "sources.APluginIsHandedBack",
      "sources.AFailingLoadRegistersNothing", "precompiling.NothingIsRegistered",
      "objects.ARefusedBundleRegistersNothing"}},
    {"record.TheLibraryReadsTheHostsRecord",
     {"natives.OddNamesAreTaken", "natives.AnUnknownTypeIsNoFailure", "sources.LookUpsAndLoadsRunAtOnce",
      "generics.AnInstanceIsFound", "generics.AnInstanceIsFoundInAnySpacing", "generics.AnInstanceHasAReadyRecord"}},
    // It stays locked after the system class loader is allocated, and every call to the registry locks it.
    {"registry.TheMutexIsFreeBetweenCalls",
     {"registry.EveryIndexBelowTheCountIsValid", "registry.EveryEntryHasAName",
      "registry.TheShortNameOutlivesTheFullNamesCall", "registry.ShortNamesAreTheTailsOfFullNames",
      "registry.NamesStayWhileOtherThreadsAsk", "registry.EveryRegisteredTypeHasAReadyRecord",
      "types.EveryRegisteredNameIsFound", "types.OneNameGivesOneObject", "types.EachAllocationIsANewObject",
      "sources.LookUpsAndLoadsRunAtOnce"}},
    {"class_path.AnAddedRootIsInTheList", {"class_path.LaterRootsComeLater", "packages.EverySourceOfAPackageIsLoaded"}},
    {"class_path.TheStandardLibraryHoldsTheLoaders", {"types.TheSystemClassLoaderIsAllocated"}},
    {"class_path.AClassUnderAnAddedRootIsFound",
     {"class_path.CachesAreDroppedWithTheClassPath", "generics.AnInstanceIsFound"}},
    {"sources.ALoadedSourceRegistersItsType",
     {"class_path.AClassUnderAnAddedRootIsFound", "class_path.CachesAreDroppedWithTheClassPath",
      "packages.EverySourceOfAPackageIsLoaded", "sources.AMendedSourceLoads", "sources.ALoadWaitsForTheMutex",
      "sources.ParallelLoadsOfOneSourceEndWell"}},
    {"sources.ASourceLoadsWithoutAContext", {"sources.APluginIsHandedBack"}},
    {"sources.AFailingLoadRegistersNothing", {"sources.AMendedSourceLoads"}},
    {"sources.AFailingLoadLeavesTheMutexFree", {"sources.AFailingLoadRegistersNothing", "sources.AMendedSourceLoads"}},
    // Precompiling builds the objects.
    {"precompiling.NoListenerIsNeeded",
     {"precompiling.NothingIsRegistered", "objects.ABundleRegistersItsTypes", "objects.AnUnequalIdentityIsRefused",
      "objects.IdentitiesOfEqualLengthAreToldApart", "objects.ARefusedBundleRegistersNothing",
      "objects.ADamagedObjectThrowsAStandardException"}},
    {"precompiling.NothingIsRegistered", {"objects.ARefusedBundleRegistersNothing"}},
    {"objects.AnUnequalIdentityIsRefused",
     {"objects.ARefusedBundleRegistersNothing", "objects.IdentitiesOfEqualLengthAreToldApart"}},
    // An index that is cut to fewer bits also loses those above 32.
    {"lists.ElementsOfLongListsAreReached", {"lists.TheIndexHas64Bits"}},
    // Other ways to break a check.
    {"lists.SizesCountTheElements in 8 bits", {"lists.SizesCountTheElements"}},
    {"lists.SizesCountTheElements in 16 bits", {"lists.SizesCountTheElements"}},
    {"lists.ElementsOfLongListsAreReached in 8 bits",
     {"lists.ElementsOfLongListsAreReached", "lists.TheIndexHas64Bits"}},
    {"sources.LookUpsAndLoadsRunAtOnce by the table first", {"sources.LookUpsAndLoadsRunAtOnce"}},
    {"sources.LookUpsAndLoadsRunAtOnce with bundles", {"sources.LookUpsAndLoadsRunAtOnce"}},
    {"sources.LookUpsAndLoadsRunAtOnce with instances", {"sources.LookUpsAndLoadsRunAtOnce"}},
    {"objects.IdentitiesOfEqualLengthAreToldApart of sources", {"objects.IdentitiesOfEqualLengthAreToldApart"}},
};

static std::vector<Outcome> outcomes(const std::vector<Check>& checks) {
  std::vector<Outcome> outcomes(checks.size());
  std::atomic<std::size_t> next = 0;
  std::vector<std::future<void>> workers;
  for (int worker = 0; worker < checksAtOnce; ++worker) {
    workers.push_back(std::async(std::launch::async, [&] {
      for (std::size_t at = next++; at < checks.size(); at = next++) {
        outcomes[at] = examine(checks[at], faulty_host::hooks(), seconds);
      }
    }));
  }
  for (std::future<void>& worker : workers) worker.get();
  return outcomes;
}

/// The checks that fail with the current fault.
static Names brokenChecks() {
  Names broken;
  const std::vector<Check>& checks = allChecks();
  const std::vector<Outcome> found = outcomes(checks);
  for (std::size_t at = 0; at < checks.size(); ++at) {
    EXPECT_NE(found[at].kind, Outcome::notRun) << checks[at].fullName() << ": " << found[at].seen;
    if (found[at].isBroken()) broken.insert(checks[at].fullName());
  }
  return broken;
}

static std::vector<std::string> checkNames() {
  std::vector<std::string> names;
  for (const Check& check : allChecks()) names.push_back(check.fullName());
  return names;
}

/// All faults: one for each check, and more for those that can break in several ways.
static Names faults() {
  const std::vector<std::string> names = checkNames();
  Names all(names.begin(), names.end());
  for (const auto& [fault, checks] : brokenWith) all.insert(fault);
  return all;
}

class Kit : public testing::TestWithParam<std::string> {};

TEST_P(Kit, SeesWhatTheHostBreaks) {
  faulty_host::fault = GetParam();
  Names expected;
  if (GetParam().find(' ') == std::string::npos) expected.insert(GetParam());
  if (const auto others = brokenWith.find(GetParam()); others != brokenWith.end()) {
    expected.insert(others->second.begin(), others->second.end());
  }
  EXPECT_EQ(brokenChecks(), expected);
}

INSTANTIATE_TEST_SUITE_P(Each, Kit, testing::ValuesIn(faults()), [](const auto& fault) {
  std::string name = fault.param;
  std::replace(name.begin(), name.end(), '.', '_');
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST(Kit, AHostWithoutAFaultKeepsEveryCheck) {
  faulty_host::fault.clear();
  EXPECT_EQ(brokenChecks(), Names{});
}

TEST(Kit, AHostMayIgnoreTheEndOfItsChildren) {
  faulty_host::fault = "nothing, but ignores its children";
  EXPECT_EQ(brokenChecks(), Names{});
}

TEST(Kit, EachCheckHasANameOfItsOwnAndSaysWhatBreaks) {
  const std::vector<std::string> names = checkNames();
  EXPECT_EQ(Names(names.begin(), names.end()).size(), names.size());
  for (const Check& check : allChecks()) EXPECT_EQ(check.because.back(), '.') << check.fullName();
}
