// Loading a plugin from a source file or from a bundle of objects: its entry type must be unknown before the load, and
// known after it.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/standard_library.h"

using namespace scripted;

static const std::string sourceRequired =
    raised("ValueException", "Plugin source filename and entry type are required");
static const std::string bundleRequired =
    raised("ValueException", "Plugin object bundle, source identities and entry type are required");
static const std::string ambiguous =
    raised("Exception", "Ambiguous plugin entry type 'Map'; use its fully qualified name");

static std::string alreadyRegistered(const std::string& name) {
  return raised("IllegalStateException", "Plugin entry type is already registered: " + name);
}

static std::string notRegistered(const std::string& name) {
  return raised("ClassNotFoundException", "Plugin entry type is not registered: " + name);
}

/// A load that registers one type.
static auto registers(const std::string& shortName, const std::string& fullName) {
  return [=] { host().registry.push_back({shortName, fullName}); };
}

namespace {

class LoadSourceClass : public HostTest {};

class LoadObjectBundle : public HostTest {
 protected:
  void SetUp() override {
    HostTest::SetUp();
    objects = host().list("objects", {"/b.o", "/a.o"});
    identities = host().list("identities", {"B.ov#1", "A.ov#2"});
  }

  void* loadBundle(const char* entryType) const {
    return orva_ClassLoader_loadObjectBundle(objects, identities, entryType);
  }

  static std::string bundle(const std::string& paths, const std::string& names) {
    return "Compiler::ensureObjectBundleLoadedInActiveJit({" + paths + "}, {" + names + "})";
  }

  void* objects = nullptr;
  void* identities = nullptr;
};

/// What both natives do alike. The parameter says whether the plugin is a bundle.
class LoadPlugin : public LoadObjectBundle, public testing::WithParamInterface<bool> {
 protected:
  void* load(const char* entryType) const {
    return GetParam() ? loadBundle(entryType) : orva_ClassLoader_loadSourceClass("/p/Plugin.ov", entryType);
  }

  /// Scripts the compiler's next load.
  template <typename Step>
  static void onLoad(const Step& step) {
    if (GetParam()) {
      host().loadBundle.next(step);
    } else {
      host().load.next(step);
    }
  }

  static std::vector<std::string> callsOfTheLoad() {
    if (!GetParam()) return {loaded("/p/Plugin.ov", "empty")};
    return sequence(listRead("objects", 2), listRead("identities", 2),
                    bundle(R"("/b.o", "/a.o")", R"("B.ov#1", "A.ov#2")"));
  }

  const std::vector<std::string> loadCalls = callsOfTheLoad();
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Of, LoadPlugin, testing::Bool(),
                         [](const auto& isBundle) { return isBundle.param ? "ABundle" : "ASource"; });

TEST_P(LoadPlugin, LoadsAndReturnsTheType) {
  onLoad(registers("Entry", "a.Entry"));
  host().typeByName.next(returns(token(4)));
  EXPECT_EQ(token(4), load("a.Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.Entry"));
}

TEST_P(LoadPlugin, TheTypeIsAskedForByItsResolvedName) {
  onLoad(registers("Entry", "a.very.long.package.name.Entry"));
  onLoad(registers("Bare", ""));
  host().typeByName.always(returns(token(4)));
  EXPECT_EQ(token(4), load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.very.long.package.name.Entry"));
  EXPECT_EQ(token(4), load("Bare"));
  EXPECT_CALLS(scan(1), loadCalls, scan(2), typeByName("Bare"));
}

TEST_P(LoadPlugin, ANullTypeObjectIsReturnedSilently) {
  onLoad(registers("Entry", "a.Entry"));
  host().typeByName.next(returns(static_cast<void*>(nullptr)));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.Entry"));
}

TEST_P(LoadPlugin, ARegisteredEntryTypeIsRefusedByItsRegisteredName) {
  host().registry = {{"Entry", "a.Entry"}, {"Bare", std::nullopt}};
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(2), alreadyRegistered("a.Entry"));
  EXPECT_EQ(nullptr, load("a.Entry"));
  EXPECT_CALLS(scan(2), alreadyRegistered("a.Entry"));
  EXPECT_EQ(nullptr, load("Bare"));
  EXPECT_CALLS(scan(2), alreadyRegistered("Bare"));
}

TEST_P(LoadPlugin, AnEntryTypeThatIsStillUnknownIsReportedByTheNameGiven) {
  onLoad(registers("Other", "a.Other"));
  onLoad(registers("Other", "a.Other"));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), notRegistered("Entry"));
  EXPECT_EQ(nullptr, load(" a.Entry"));
  EXPECT_CALLS(scan(1), loadCalls, scan(2), notRegistered(" a.Entry"));
}

TEST_P(LoadPlugin, ASecondLoadIsRefused) {
  onLoad(registers("Entry", "a.Entry"));
  host().typeByName.next(returns(token(4)));
  EXPECT_EQ(token(4), load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.Entry"));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(1), alreadyRegistered("a.Entry"));
}

TEST_P(LoadPlugin, AnAmbiguousNameIsRaisedBeforeAndAfterTheLoad) {
  host().registry = {{"Map", "a.Map"}, {"Map", "b.Map"}};
  EXPECT_EQ(nullptr, load("Map"));
  EXPECT_CALLS(scan(2), ambiguous);
  host().registry.clear();
  onLoad([] { host().registry = {{"Map", "a.Map"}, {"Map", "b.Map"}, {"x", "y.x"}}; });
  EXPECT_EQ(nullptr, load("Map"));
  EXPECT_CALLS(scan(0), loadCalls, scan(2), ambiguous);
}

TEST_P(LoadPlugin, TheCompilersTextIsRaisedUnchanged) {
  onLoad(throws(std::runtime_error("p.ov:1: oops")));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, raised("Exception", "p.ov:1: oops"));
  onLoad(throws(CustomFailure("")));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, raised("Exception", ""));
}

TEST_P(LoadPlugin, WhatTheLookupThrowsIsRaised) {
  onLoad(registers("Entry", "a.Entry"));
  host().typeByName.next(throws(std::runtime_error("no type")));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.Entry"), raised("Exception", "no type"));
}

TEST_P(LoadPlugin, OtherObjectsPass) {
  onLoad(throws(5));
  EXPECT_THROWS_VALUE(load("Entry"), int, 5);
  EXPECT_CALLS(scan(0), loadCalls);
  onLoad(registers("Entry", "a.Entry"));
  host().typeByName.next(throws('c'));
  EXPECT_THROWS_VALUE(load("Entry"), char, 'c');
  EXPECT_CALLS(scan(0), loadCalls, scan(1), typeByName("a.Entry"));
}

TEST_P(LoadPlugin, WhatARaiseOutsideTheBridgeThrowsPasses) {
  const std::string required = GetParam() ? bundleRequired : sourceRequired;
  host().raise.next(throws(std::logic_error("raise 1"))).next(throws(5));
  EXPECT_THROWS_TEXT(load(nullptr), std::logic_error, "raise 1");
  EXPECT_THROWS_VALUE(load(""), int, 5);
  EXPECT_CALLS(required, required);
}

TEST_P(LoadPlugin, WhatARaiseInsideTheBridgeThrowsIsBridged) {
  host().registry = {{"Entry", "a.Entry"}};
  host().raise.next(throws(std::logic_error("raise 1"))).next(nothing()).next(throws(5));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(1), alreadyRegistered("a.Entry"), raised("Exception", "raise 1"));
  EXPECT_THROWS_VALUE(load("Entry"), int, 5);
  EXPECT_CALLS(scan(1), alreadyRegistered("a.Entry"));
}

TEST_P(LoadPlugin, WhatARaiseAfterTheLoadThrowsIsBridged) {
  onLoad(nothing());
  host().raise.next(throws(std::logic_error("raise 1")));
  EXPECT_EQ(nullptr, load("Entry"));
  EXPECT_CALLS(scan(0), loadCalls, scan(0), notRegistered("Entry"), raised("Exception", "raise 1"));
}

TEST_P(LoadPlugin, WhatARaiseOfTheBridgeThrowsPasses) {
  host().raise.next(throws(std::logic_error("raise 1"))).next(throws(5));
  onLoad(throws(std::runtime_error("oops")));
  EXPECT_THROWS_TEXT(load("Entry"), std::logic_error, "raise 1");
  EXPECT_CALLS(scan(0), loadCalls, raised("Exception", "oops"));
  onLoad(throws(std::runtime_error("oops")));
  EXPECT_THROWS_VALUE(load("Entry"), int, 5);
  EXPECT_CALLS(scan(0), loadCalls, raised("Exception", "oops"));
}

TEST_F(LoadSourceClass, BothArgumentsAreRequired) {
  const char* const missing[] = {nullptr, ""};
  for (const char* none : missing) {
    EXPECT_EQ(nullptr, orva_ClassLoader_loadSourceClass(none, "a.Entry"));
    EXPECT_CALLS(sourceRequired);
    EXPECT_EQ(nullptr, orva_ClassLoader_loadSourceClass("/p/Plugin.ov", none));
    EXPECT_CALLS(sourceRequired);
    EXPECT_EQ(nullptr, orva_ClassLoader_loadSourceClass(none, none));
    EXPECT_CALLS(sourceRequired);
  }
}

TEST_F(LoadSourceClass, TheFileNameReachesTheCompilerUnchanged) {
  host().load.always(nothing());
  const std::string longName(300, 'p');
  for (const std::string& file : {std::string(" ./x//y.ov "), std::string("\xff"), longName}) {
    EXPECT_EQ(nullptr, orva_ClassLoader_loadSourceClass(file.c_str(), "E"));
    EXPECT_CALLS(scan(0), loaded(file, "empty"), scan(0), notRegistered("E"));
  }
}

TEST_F(LoadObjectBundle, EveryArgumentIsRequired) {
  EXPECT_EQ(nullptr, orva_ClassLoader_loadObjectBundle(nullptr, identities, "a.Entry"));
  EXPECT_CALLS(bundleRequired);
  EXPECT_EQ(nullptr, orva_ClassLoader_loadObjectBundle(objects, nullptr, "a.Entry"));
  EXPECT_CALLS(bundleRequired);
  EXPECT_EQ(nullptr, loadBundle(nullptr));
  EXPECT_CALLS(bundleRequired);
  EXPECT_EQ(nullptr, loadBundle(""));
  EXPECT_CALLS(bundleRequired);
  EXPECT_EQ(nullptr, orva_ClassLoader_loadObjectBundle(nullptr, nullptr, nullptr));
  EXPECT_CALLS(bundleRequired);
}

TEST_F(LoadObjectBundle, ARegisteredEntryTypeLeavesTheListsUnread) {
  host().registry = {{"Entry", "a.Entry"}};
  objects = host().list("objects", {std::nullopt});
  identities = host().list("identities", {std::nullopt, std::nullopt});
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(1), alreadyRegistered("a.Entry"));
}

TEST_F(LoadObjectBundle, TwoEmptyListsReachTheCompiler) {
  objects = host().list("objects", {});
  identities = host().list("identities", {}, -1);
  host().loadBundle.next(nothing());
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 0), listRead("identities", 0), bundle("", ""), scan(0),
               notRegistered("Entry"));
}

TEST_F(LoadObjectBundle, ListsOfDifferentSizesLoadNothing) {
  const std::string different = raised("Exception", "Plugin object and source identity lists must have the same size");
  identities = host().list("identities", {"B.ov#1"});
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 2), listRead("identities", 1), different);
  identities = host().list("identities", {"1", "2", "3"});
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 2), listRead("identities", 3), different);
}

TEST_F(LoadObjectBundle, ANullObjectPathLeavesTheIdentitiesUnread) {
  objects = host().list("objects", {"a.o", std::nullopt, "c.o"});
  identities = host().list("identities", {std::nullopt});
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 2), raised("Exception", "Plugin object path list cannot contain null"));
}

TEST_F(LoadObjectBundle, ANullIdentityIsRaisedBeforeTheSizesAreCompared) {
  identities = host().list("identities", {std::nullopt});
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 2), listRead("identities", 1),
               raised("Exception", "Plugin source identity list cannot contain null"));
}

TEST_F(LoadObjectBundle, AnImpossibleSizeIsRaised) {
  objects = host().list("objects", {}, std::numeric_limits<int64_t>::max());
  EXPECT_EQ(nullptr, loadBundle("Entry"));
  EXPECT_CALLS(scan(0), listRead("objects", 0), raised("Exception", standard_library::impossibleReservation()));
}

TEST_F(LoadObjectBundle, WhatAListThrowsPasses) {
  host().listSize.next(throws(std::string("text")));
  EXPECT_THROWS_VALUE(loadBundle("Entry"), std::string, "text");
  EXPECT_CALLS(scan(0), listRead("objects", 0));
}
