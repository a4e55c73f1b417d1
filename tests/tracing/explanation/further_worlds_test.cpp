// Worlds that the small worlds of the properties leave out: memory runs out, messages have several
// lines, and compilers name no source.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <optional>
#include <string>

#include "allocations.h"
#include "classloader/natives.h"
#include "play.h"
#include "scripted_host.h"
#include "small_worlds.h"

using namespace model;

namespace {

const std::string kLong = "a text that does not fit into a string without memory";

void script() {
  scripted::reset();
  scripted::Host& host = scripted::host();
  host.registry = {{"Cart", kLong}};
  host.typeByName.always([] { return scripted::token(1); });
  host.load.always(scripted::nothing());
  host.loadBundle.always(scripted::nothing());
  host.precompile.always(scripted::nothing());
  host.sourceFileForClass.always([] { return kLong; });
  host.materialize.always([](std::string&, std::string& source, scripted::ContextPointer&) {
    source = kLong;
    return true;
  });
  host.addKlassPath.always([] { return true; });
  host.isValidPackageName.always([] { return true; });
}

/// Lets one allocation fail. @return whether there was one of that number.
bool runsOutOfMemory(const std::function<void()>& call, int number) {
  script();
  bool hasFailed = false;
  try {
    const allocations::Watch watch([&] { return !hasFailed && (hasFailed = --number == 0); });
    call();
  } catch (const std::bad_alloc&) {
    // Some natives let it out.
  }
  scripted::host().takeCalls();
  scripted::reset();
  return hasFailed;
}

TEST(FurtherWorlds, MemoryRunsOut) {
  const char* const text = kLong.c_str();
  const std::string generic = kLong + "<>";
  const auto list = [](const char* label) { return scripted::host().list(label, {kLong}); };
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

void play(World world, const Call& call) { observed(world, call); }

TEST(FurtherWorlds, MessagesHaveSeveralLines) {
  World world;
  answersOf(world, Operation::kLoad) = {throwing("f:1:2: error\n  class\n  ^")};
  play(world, loadSourceClass("f", "A"));
  answersOf(world, Operation::kRaise) = {throwing("pending")};
  play(world, loadSourceClass("f", "A"));
}

TEST(FurtherWorlds, NamesAreUnclosedAndInstancesHaveNoSource) {
  World world;
  answersOf(world, Operation::kTypeByName) = {returning(0)};
  answersOf(world, Operation::kMaterialize) = {returning(1, "")};
  play(world, getTypeByName("A<"));
  play(world, getTypeByName("A<B>"));
}

TEST(FurtherWorlds, ArgumentsAreMissing) {
  World world;
  answersOf(world, Operation::kIsValidPackageName) = {returning(0)};
  play(world, loadPackageTypes(""));
  play(world, loadPackageTypes(std::nullopt));
  play(world, loadSourceClass("", "A"));
  play(world, loadSourceClass("f", ""));
  play(world, loadObjectBundle(std::nullopt, List{}, "A"));
  play(world, loadObjectBundle(List{}, std::nullopt, "A"));
}

}  // namespace
