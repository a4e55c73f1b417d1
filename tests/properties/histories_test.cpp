// Histories: calls that find what earlier calls left behind.
#include <algorithm>

#include "small_worlds.h"

using namespace model;

namespace {

class Histories : public SmallWorlds {};

}  // namespace

static Call getSystem() {
  Call call;
  call.native = Native::getSystem;
  return call;
}

/// Every series of exactly `length` of these answers.
static std::vector<std::vector<Answer>> everySeries(const std::vector<Answer>& answers, std::size_t length) {
  std::vector<std::vector<Answer>> series;
  forEachSequence(answers, length, [&](const std::vector<Answer>& each) {
    if (each.size() == length) series.push_back(each);
  });
  return series;
}

/// Each history runs in a fresh process. The last answers repeat, so the call after the last failure succeeds, or all
/// further calls fail.
TEST_F(Histories, EveryStartOfTheSystemClassLoader) {
  const std::vector<Answer> loads{returning(1), throwing("broken"), throwingOther()};
  const std::vector<Answer> objects{returning(0), returning(5), throwing("full"), throwingOther()};
  const std::vector<Choice> choices{{Operation::load, everySeries(loads, 3)},
                                    {Operation::allocObject, everySeries(objects, 2)}};
  World world;
  answersOf(world, Operation::standardLibraryPath) = {returning(1, "/lib/std/")};
  forEachCombination(choices, world, [&](const World& each) {
    playAfresh(each, {getSystem(), getSystem(), getSystem(), getSystem()});
  });
}

TEST_F(Histories, EveryStandardLibrary) {
  const std::vector<Answer> paths{returning(1, ""),  returning(1, "/"), returning(1, "l/"),
                                  returning(1, "l"), throwing("none"),  throwingOther()};
  const std::vector<Choice> choices{
      {Operation::standardLibraryPath, everySeries(paths, 2)},
      {Operation::getInstance, {{}, {throwing("no runtime"), returning(1)}, {throwingOther(), returning(1)}}},
      {Operation::allocObject, {{returning(0), returning(3)}, {returning(3)}}},
      {Operation::raise, {{}, {throwing("raising fails"), returning(1)}}}};
  forEachCombination(choices, {},
                     [&](const World& each) { playAfresh(each, {getSystem(), getSystem(), getSystem()}); });
}

/// Worlds in which a load leaves something behind that later calls find.
static std::vector<World> worldsThatGrow() {
  World grows;
  grows.files = {{FileKind::file, "r/a/A.ov", ""}, {FileKind::file, "s/a/B.ov", ""}};
  answersOf(grows, Operation::sourceFileForClass) = {returning(1, "A.ov")};
  answersOf(grows, Operation::materialize) = {returning(1, "instance.ov")};
  World becomesAmbiguous = grows;
  Answer instance;
  instance.records = {{{"", "A < A >", "", ""}, true, true}};
  answersOf(grows, Operation::load) = {registering("A", "p.A"), instance, registering("B", "p.A")};
  answersOf(becomesAmbiguous, Operation::load) = {registering("A", "p.A"), throwing("broken"), registering("A", "q.A")};
  answersOf(becomesAmbiguous, Operation::addKlassPath) = {returning(1), returning(0), returning(1)};
  answersOf(becomesAmbiguous, Operation::loadBundle) = {registering("A", "q.A"), instance};
  return {grows, becomesAmbiguous};
}

TEST_F(Histories, EveryHistoryOfCalls) {
  const List none;
  const std::vector<Call> calls{
      getTypeByName("A"), getTypeByName("A<A>"), loadSourceClass("f", "A"), loadObjectBundle(none, none, "p.A"),
      addSourceRoot("r"), addSourceRoot("s"),    loadPackageTypes("a")};
  for (const World& world : worldsThatGrow()) {
    forEachSequence(calls, 4, [&](const std::vector<Call>& history) { play(world, history); });
  }
}

TEST_F(Histories, EveryLongHistoryOfLookUps) {
  const std::vector<Call> calls{getTypeByName("A"), getTypeByName("A<A>"), loadSourceClass("f", "A"),
                                loadSourceClass("f", "q.A")};
  for (const World& world : worldsThatGrow()) {
    forEachSequence(calls, 6, [&](const std::vector<Call>& history) { play(world, history); });
  }
}
