// Worlds that are not among the small worlds: memory runs out, messages have several lines, and compilers name no
// source.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <optional>
#include <string>

#include "classloader/natives.h"
#include "play.h"
#include "small_worlds.h"
#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/scripted_host.h"

using namespace model;

static const std::string longText = "a text that does not fit into a string without memory";

static void script() {
  scripted::reset();
  scripted::Host& host = scripted::host();
  host.registry = {{"Cart", longText}};
  host.typeByName.always([] { return scripted::token(1); });
  host.load.always(scripted::nothing());
  host.loadBundle.always(scripted::nothing());
  host.precompile.always(scripted::nothing());
  host.sourceFileForClass.always([] { return longText; });
  host.materialize.always([](std::string&, std::string& source, scripted::ContextPointer&) {
    source = longText;
    return true;
  });
  host.addKlassPath.always([] { return true; });
  host.isValidPackageName.always([] { return true; });
}

/// Makes one allocation fail. @return whether there was one of that number.
static bool runsOutOfMemory(const std::function<void()>& call, int number) {
  script();
  bool hasFailed = false;
  try {
    const allocations::Watch watch([&] { return !hasFailed && (hasFailed = --number == 0); });
    call();
  } catch (const std::bad_alloc&) {
    // Some natives let it pass.
  }
  scripted::host().takeCalls();
  scripted::reset();
  return hasFailed;
}

TEST(FurtherWorlds, MemoryRunsOut) {
  const char* const text = longText.c_str();
  const std::string generic = longText + "<>";
  const auto list = [](const char* label) { return scripted::host().list(label, {longText}); };
  for (const std::function<void()>& call : std::initializer_list<std::function<void()>>{
           [&] { orva_ClassLoader_getTypeByName(text); }, [&] { orva_ClassLoader_getTypeByName(generic.c_str()); },
           [&] { orva_ClassLoader_getTypeByName("Cart"); }, [&] { orva_ClassLoader_addSourceRoot(text); },
           [&] { orva_ClassLoader_loadSourceClass(text, text); },
           [&] { orva_ClassLoader_loadSourceClass(text, "Cart"); },
           [&] { orva_ClassLoader_loadObjectBundle(list("files"), list("identities"), text); },
           [&] { orva_ClassLoader_precompileSources(list("files")); },
           [&] { orva_SystemClassLoader_loadPackageTypes(nullptr, text); }}) {
    int number = 1;
    while (runsOutOfMemory(call, number)) ++number;
    EXPECT_LT(1, number);
  }
}

static void play(World world, const Call& call) { observed(world, call); }

TEST(FurtherWorlds, MessagesHaveSeveralLines) {
  World world;
  answersOf(world, Operation::load) = {throwing("f:1:2: error\n  class\n  ^")};
  play(world, loadSourceClass("f", "A"));
  answersOf(world, Operation::raise) = {throwing("pending")};
  play(world, loadSourceClass("f", "A"));
}

TEST(FurtherWorlds, NamesAreUnclosedAndInstancesHaveNoSource) {
  World world;
  answersOf(world, Operation::typeByName) = {returning(0)};
  answersOf(world, Operation::materialize) = {returning(1, "")};
  play(world, getTypeByName("A<"));
  play(world, getTypeByName("A<B>"));
}

TEST(FurtherWorlds, ArgumentsAreMissing) {
  World world;
  answersOf(world, Operation::isValidPackageName) = {returning(0)};
  play(world, loadPackageTypes(""));
  play(world, loadPackageTypes(std::nullopt));
  play(world, loadSourceClass("", "A"));
  play(world, loadSourceClass("f", ""));
  play(world, loadObjectBundle(std::nullopt, List{}, "A"));
  play(world, loadObjectBundle(List{}, std::nullopt, "A"));
}
