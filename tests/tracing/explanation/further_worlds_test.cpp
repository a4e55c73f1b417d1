// Worlds that the small worlds of the properties leave out: memory runs out, and traces lack events.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <vector>

#include "allocations.h"
#include "classloader/natives.h"
#include "explained_worlds.h"
#include "play.h"
#include "recorded_events.h"
#include "scripted_host.h"
#include "small_worlds.h"

using namespace model;
using orva::tracing::Event;
using orva::tracing::EventKind;

namespace {

const std::string kLong = "a text that does not fit into a string without memory";

struct Attempt {
  Call call;
  std::function<std::string()> run;
};

std::string isNull(const void* object) { return object == nullptr ? "null" : "object 1"; }

World worldOfLongTexts() {
  World world;
  world.registry = {{"Cart", kLong}};
  for (const Operation operation :
       {Operation::kSourceFileForClass, Operation::kMaterialize, Operation::kStandardLibraryPath}) {
    answersOf(world, operation) = {returning(1, kLong)};
  }
  return world;
}

/// Answers as the world above does.
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

std::vector<Attempt> attempts() {
  const char* const text = kLong.c_str();
  const std::string generic = kLong + "<>";
  const List list{{kLong}, std::nullopt};
  const auto made = [](const char* label) { return scripted::host().list(label, {kLong}); };
  return {
      {getTypeByName(kLong), [text] { return isNull(orva_ClassLoader_getTypeByName(text)); }},
      {getTypeByName(generic), [generic] { return isNull(orva_ClassLoader_getTypeByName(generic.c_str())); }},
      {getTypeByName("Cart"), [] { return isNull(orva_ClassLoader_getTypeByName("Cart")); }},
      {addSourceRoot(kLong), [text] { return std::to_string(orva_ClassLoader_addSourceRoot(text)); }},
      {loadSourceClass(kLong, kLong), [text] { return isNull(orva_ClassLoader_loadSourceClass(text, text)); }},
      {loadSourceClass(kLong, "Cart"), [text] { return isNull(orva_ClassLoader_loadSourceClass(text, "Cart")); }},
      {loadObjectBundle(list, list, kLong),
       [text, made] { return isNull(orva_ClassLoader_loadObjectBundle(made("files"), made("identities"), text)); }},
      {precompileSources(list),
       [made] {
         orva_ClassLoader_precompileSources(made("files"));
         return std::string("nothing");
       }},
      {loadPackageTypes(kLong),
       [text] {
         orva_SystemClassLoader_loadPackageTypes(nullptr, text);
         return std::string("nothing");
       }},
  };
}

/// Lets one allocation fail. @return whether there was one of that number.
bool runsOutOfMemory(const Attempt& attempt, int number) {
  script();
  Outcome outcome;
  bool hasFailed = false;
  try {
    const allocations::Watch watch([&] { return !hasFailed && (hasFailed = --number == 0); });
    outcome.result = attempt.run();
  } catch (const std::bad_alloc&) {
    outcome.result = "throws another exception: std::bad_alloc";
  }
  outcome.calls = scripted::host().takeCalls();
  if (hasFailed) explain(eventsOf(worldOfLongTexts(), attempt.call, outcome));
  scripted::reset();
  return hasFailed;
}

TEST(FurtherWorlds, MemoryRunsOut) {
  for (const Attempt& attempt : attempts()) {
    int number = 1;
    while (runsOutOfMemory(attempt, number)) ++number;
    EXPECT_LT(1, number);
  }
}

/// Explains a native from the rest of its events.
template <typename IsLost>
void explainWithout(Event native, const IsLost& isLost) {
  std::vector<Event> kept;
  for (const Event& event : native.inner) {
    if (!isLost(event)) kept.push_back(event);
  }
  native.inner = kept;
  explain(native);
}

TEST(FurtherWorlds, EventsAreLost) {
  World world;
  answersOf(world, Operation::kTypeByName) = {returning(0)};
  answersOf(world, Operation::kLoad) = {registering("A", "p.A")};
  for (const char* source : {"", "s"}) {
    answersOf(world, Operation::kSourceFileForClass) =
        answersOf(world, Operation::kMaterialize) = {returning(1, source)};
    for (const Call& call : {getTypeByName("A"), getTypeByName("A<B>"), getTypeByName("A<"), getTypeByName(""),
                             loadClass("A"), loadSourceClass("f", "A")}) {
      World played = world;
      const Outcome outcome = observed(played, call);
      const Event native = eventsOf(world, call, outcome);
      explainWithout(native, [](const Event&) { return false; });
      explainWithout(native, [](const Event&) { return true; });
      explainWithout(native, [](const Event& event) { return event.kind != EventKind::call; });
    }
  }
}

TEST(FurtherWorlds, MessagesHaveSeveralLines) {
  World world;
  answersOf(world, Operation::kLoad) = {throwing("f:1:2: error\n  class\n  ^")};
  for (const bool isRaised : {false, true}) {
    if (isRaised) answersOf(world, Operation::kRaise) = {throwing("pending")};
    World played = world;
    const Call call = loadSourceClass("f", "A");
    const Outcome outcome = observed(played, call);
    explain(eventsOf(world, call, outcome));
  }
}

}  // namespace
