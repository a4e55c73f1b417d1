// Every answer of the host, in every combination: values, exceptions with and without a text, and other thrown objects.
#include <cerrno>
#include <cstdint>

#include "small_worlds.h"

using namespace model;

using Series = std::vector<std::vector<Answer>>;

namespace {

class Answers : public SmallWorlds {
 protected:
  void playAll(const std::vector<Choice>& choices, const World& world, const Call& call) {
    forEachCombination(choices, world, [&](const World& each) { play(each, {call}); });
  }
};

}  // namespace

/// Returns, or throws.
static Series endings() { return {{}, {throwing("broken")}, {throwingOther()}}; }

/// The same, and also at the second call only.
static Series endingsOfTwo() {
  Series series = endings();
  series.push_back({returning(1), throwing("")});
  series.push_back({returning(1), throwingOther(), returning(1)});
  return series;
}

static Series valuesAndEndings(const std::vector<Answer>& values) {
  Series series{{throwing("no value")}, {throwingOther()}};
  for (const Answer& value : values) series.push_back({value});
  return series;
}

static Series yesNoAndEndings() { return valuesAndEndings({returning(0), returning(1)}); }

static const Choice raiseAnswers{Operation::raise, endings()};
static const Choice typeAnswers{Operation::typeByName, yesNoAndEndings()};
static const Choice contextAnswers{Operation::activeRuntimeContext, yesNoAndEndings()};
static const Choice countAnswers{Operation::typeCount, endingsOfTwo()};
static const Choice shortNameAnswers{Operation::typeName, endingsOfTwo()};
static const Choice fullNameAnswers{Operation::typeFullName, endingsOfTwo()};
static const Choice sizeAnswers{Operation::listSize, endingsOfTwo()};
static const Choice elementAnswers{Operation::listIndex, endingsOfTwo()};

/// Loads that register the entry type, another type, or nothing, and end in each way.
static Series loads() {
  Answer failing = registering("A", "p.A");
  failing.ending = Ending::throwsException;
  return {{}, {throwing("")}, {throwingOther()}, {registering("A", "p.A")}, {registering("A", "q.A")}, {failing}};
}

/// Registries with no type A, with one, and with two.
static std::vector<World> registries() {
  std::vector<World> worlds(3);
  worlds[0].registry = {{"B", "p.B"}};
  worlds[1].registry = {{"A", "p.A"}};
  worlds[2].registry = {{"A", "p.A"}, {"A", "q.A"}};
  return worlds;
}

TEST_F(Answers, EveryAnswerToALookUpOfAnInstance) {
  const std::vector<Answer> values{returning(0, "s"), returning(1, "s"), returning(1), returning(2, "s")};
  for (const int lockError : {0, EPERM, EDEADLK}) {
    World world;
    world.lockError = lockError;
    for (const bool ready : {false, true}) {
      world.table = {{{"A<B>", "", "", ""}, ready, true}};
      playAll({raiseAnswers,
               typeAnswers,
               contextAnswers,
               {Operation::materialize, valuesAndEndings(values)},
               {Operation::load, endings()}},
              world, getTypeByName("A<B >"));
    }
  }
}

TEST_F(Answers, EveryAnswerToALookUpOfAClass) {
  const Choice sources{Operation::sourceFileForClass, valuesAndEndings({returning(1, ""), returning(1, "s")})};
  for (const World& world : registries()) {
    playAll({raiseAnswers, typeAnswers, countAnswers, contextAnswers, sources, {Operation::load, endings()}}, world,
            getTypeByName("A"));
    playAll({raiseAnswers, countAnswers, shortNameAnswers, fullNameAnswers, sources}, world, getTypeByName("A"));
  }
}

TEST_F(Answers, EveryAnswerToANameWithoutALookUp) {
  for (const std::optional<std::string>& name : std::vector<std::optional<std::string>>{std::nullopt, "", "A", "<"}) {
    for (const int64_t type : {0, 1, 7}) {
      const Choice types{Operation::typeByName, valuesAndEndings({returning(type)})};
      playAll({raiseAnswers, types}, {}, loadClass(name));
      playAll({raiseAnswers, types}, {}, getTypeByName(name));
    }
  }
}

TEST_F(Answers, EveryVersionIsReturned) {
  const std::vector<Answer> versions{returning(0), returning(1), returning(-1), returning(INT32_MIN),
                                     returning(INT32_MAX)};
  playAll({raiseAnswers, {Operation::objectAbiVersion, valuesAndEndings(versions)}}, {}, objectAbiVersion());
}

TEST_F(Answers, EveryAnswerToASourcePlugin) {
  for (const World& world : registries()) {
    playAll({raiseAnswers, typeAnswers, countAnswers, shortNameAnswers, fullNameAnswers, {Operation::load, loads()}},
            world, loadSourceClass("f", "A"));
  }
}

TEST_F(Answers, EveryAnswerToABundle) {
  const std::vector<std::optional<List>> lists{List{{"x"}, {}}, List{{"x", std::nullopt}, {}}, List{{"x", "y"}, {}}};
  for (const World& world : registries()) {
    for (const auto& objects : lists) {
      for (const auto& identities : lists) {
        playAll({raiseAnswers, countAnswers, sizeAnswers, elementAnswers, {Operation::loadBundle, loads()}}, world,
                loadObjectBundle(objects, identities, "A"));
      }
    }
  }
}

TEST_F(Answers, EveryAnswerToAPrecompilation) {
  const std::vector<std::optional<List>> lists{std::nullopt, List{}, List{{"x"}, {}}, List{{"x", "y"}, {}},
                                               List{{"x", std::nullopt}, {}}};
  for (const auto& files : lists) {
    playAll({raiseAnswers, sizeAnswers, elementAnswers, contextAnswers, {Operation::precompile, endings()}}, {},
            precompileSources(files));
  }
}

TEST_F(Answers, EveryAnswerToARoot) {
  World world;
  world.files = {{FileKind::folder, "d", ""}, {FileKind::file, "f", ""}};
  for (const std::optional<std::string>& root :
       std::vector<std::optional<std::string>>{std::nullopt, "", "d", "f", "missing"}) {
    playAll({raiseAnswers,
             {Operation::getInstance, endings()},
             {Operation::addKlassPath, yesNoAndEndings()},
             {Operation::invalidateCaches, endings()}},
            world, addSourceRoot(root));
  }
}

/// Raises that succeed, always fail, or fail only at first, because a raise within the bridge is itself bridged.
static Series raisesInWork() {
  Series series = endings();
  series.push_back({throwing("first"), returning(1)});
  series.push_back({throwingOther(), returning(1)});
  series.push_back({throwing("first"), throwing("second")});
  return series;
}

TEST_F(Answers, EveryAnswerToAPackage) {
  World world;
  world.roots = {"r"};
  world.files = {{FileKind::file, "r/a/1.ov", ""}, {FileKind::file, "r/a/2.ov", ""}, {FileKind::file, "r/a/3.ov", ""}};
  Series loads = endingsOfTwo();
  loads.push_back({returning(1), returning(1), throwing("third")});
  for (const char* package : {"a", "b"}) {
    for (const int error : {0, EIO, EACCES}) {
      world.openingError = error;
      playAll({{Operation::raise, raisesInWork()},
               {Operation::isValidPackageName, yesNoAndEndings()},
               {Operation::getInstance, endings()},
               {Operation::getKlassPaths, endings()},
               contextAnswers,
               {Operation::load, loads}},
              world, loadPackageTypes(package));
    }
  }
}
