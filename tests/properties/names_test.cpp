// Type names, registries and type tables: every small one.
#include <array>
#include <cerrno>
#include <cstdint>

#include "small_worlds.h"

using namespace model;

using Text = std::optional<std::string>;

namespace {

class Names : public SmallWorlds {};

}  // namespace

/// Worlds in which names made of the letters below find every kind of match.
static std::vector<World> surroundings() {
  World bare;
  World nested;
  nested.registry = {{"A", "A.A"}, {std::nullopt, "A.A.A"}, {"A A", "A<A>"}, {"<", ".<"}};
  nested.table = {{{"A<A>", "A<", "<>", "<A>A"}, true, true}};
  World shortOnly;
  shortOnly.registry = {{"A", std::nullopt}, {".", "."}, {"A>", "A.>"}, {" A", "A. A"}, {"", ""}};
  shortOnly.table = {{{"", "", "", "< >"}, true, true}, {{">A<", "A <A>", ">", "<"}, true, false}};
  World ambiguous;
  ambiguous.registry = {{"A", "x.A"}, {">", "x.>"}, {" ", " "}, {"AA", "A"}};
  ambiguous.table = {{{"< A >", "<A><A>", "A", "A< "}, false, true}};
  for (World* world : {&nested, &ambiguous}) answersOf(*world, Operation::sourceFileForClass) = {returning(1, "s")};
  answersOf(shortOnly, Operation::materialize) = {returning(0, "s")};
  return {bare, nested, shortOnly, ambiguous};
}

TEST_F(Names, EveryNameIsLookedUp) {
  const std::vector<std::string> names = everyText("A.<> ", 6);
  for (const World& world : surroundings()) {
    for (const std::string& name : names) play(world, {getTypeByName(name)});
  }
}

TEST_F(Names, EveryNameIsAnEntryType) {
  const std::vector<std::string> names = everyText("A.<> ", 5);
  const List one{{"x"}, std::nullopt};
  for (World world : surroundings()) {
    for (const Answer& answer : {returning(1), registering("A", "A.A"), registering("A>", "A>")}) {
      answersOf(world, Operation::load) = answersOf(world, Operation::loadBundle) = {answer};
      for (const std::string& name : names) {
        play(world, {loadSourceClass("f", name)});
        play(world, {loadObjectBundle(one, one, name)});
      }
    }
  }
}

TEST_F(Names, EveryNameReachesTheRuntime) {
  World world;
  for (const int64_t type : {0, 1}) {
    answersOf(world, Operation::typeByName) = {returning(type)};
    for (const std::string& name : everyText("A.<> ", 5)) play(world, {loadClass(name)});
    for (const Call& call : {loadClass(std::nullopt), getTypeByName(std::nullopt)}) play(world, {call});
  }
}

/// Tries every byte in each part of the requested name, and in and around the name in the table.
TEST_F(Names, EveryByteIsABlankOrNot) {
  World world;
  world.table = {{{"A<B>", "C", "", ""}, true, true}};
  world.registry = {{"A", "p.A"}};
  for (int value = 1; value < 256; ++value) {
    const std::string byte(1, static_cast<char>(value));
    for (const std::string& name : {"A<B>" + byte, byte + "A<B>", "A" + byte + "<B>", "A<" + byte + "B>"}) {
      play(world, {getTypeByName(name)});
      World spelt = world;
      spelt.table[0].names[1] = name;
      play(spelt, {getTypeByName("A<B>"), getTypeByName("A<B>" + byte)});
    }
    for (const std::string& name : {byte + "A", "A" + byte, byte}) play(world, {getTypeByName(name)});
  }
}

TEST_F(Names, EveryRegistryIsSearched) {
  std::vector<Entry> entries;
  for (const Text& shortName : std::vector<Text>{std::nullopt, "", "A", "B", "p.A"}) {
    for (const Text& fullName : std::vector<Text>{std::nullopt, "", "A", "p.A", "q.A", "p.B"}) {
      entries.push_back({shortName, fullName});
    }
  }
  forEachSequence(entries, 3, [&](const std::vector<Entry>& registry) {
    World world;
    world.registry = registry;
    for (const char* name : {"A", "B", "p.A", "p.B", "q.", "a"}) play(world, {getTypeByName(name)});
    for (const char* name : {"A", "p.A"}) play(world, {loadSourceClass("f", name)});
  });
}

TEST_F(Names, EveryEntryIsRegisteredByALoad) {
  std::vector<Entry> entries;
  for (const Text& shortName : std::vector<Text>{std::nullopt, "A", "B"}) {
    for (const Text& fullName : std::vector<Text>{std::nullopt, "A", "p.A", "q.A"}) {
      entries.push_back({shortName, fullName});
    }
  }
  const List none;
  forEachSequence(entries, 1, [&](const std::vector<Entry>& before) {
    forEachSequence(entries, 3, [&](const std::vector<Entry>& added) {
      World world;
      world.registry = before;
      for (const Ending ending : {Ending::returns, Ending::throwsException}) {
        const Answer answer{ending, 1, "broken", added, {}};
        answersOf(world, Operation::load) = answersOf(world, Operation::loadBundle) = {answer};
        for (const char* name : {"A", "p.A"}) {
          play(world, {loadSourceClass("f", name)});
          play(world, {loadObjectBundle(none, none, name)});
        }
      }
    });
  });
}

TEST_F(Names, EveryCountIsRead) {
  World world;
  world.registry = {{"A", "p.A"}, {"A", "q.A"}, {"B", "p.B"}};
  for (const int32_t count : {INT32_MIN, -2, -1, 0, 1, 2, 3}) {
    world.count = count;
    for (const char* name : {"A", "B", "p.A", "p.B", "C"}) {
      play(world, {getTypeByName(name)});
      play(world, {loadSourceClass("f", name)});
    }
  }
}

/// Every record of these spellings, ready or not.
static std::vector<Record> everyRecord(const std::vector<std::string>& spellings) {
  std::vector<Record> records;
  forEachSequence(spellings, 4, [&](const std::vector<std::string>& names) {
    if (names.size() != 4) return;
    for (const bool hasPointer : {false, true}) {
      for (const bool hasMembers : {false, true}) {
        records.push_back({{names[0], names[1], names[2], names[3]}, hasPointer, hasMembers});
      }
    }
  });
  return records;
}

TEST_F(Names, EveryRecordIsCompared) {
  for (const Record& record : everyRecord({"A<B>", " A < B\t>", "A<C>", "", "A"})) {
    World world;
    world.table = {record};
    for (const char* name : {"A<B>", "A<B >", "A<D>", "a<B>"}) play(world, {getTypeByName(name)});
  }
}

TEST_F(Names, EveryTypeTableIsWalked) {
  forEachSequence(everyRecord({"A <B>", "A<C>"}), 2, [&](const std::vector<Record>& table) {
    World world;
    world.table = table;
    for (const char* name : {"A<B>", "A< B >"}) play(world, {getTypeByName(name)});
  });
  std::vector<Record> records;
  for (const Record& record : everyRecord({"A<B>", "x"})) {
    const bool oneName = record.names[0] + record.names[1] + record.names[2] + record.names[3] == "A<B>xxx";
    if (oneName || (record.names[3] == "A<B>" && record.names[0] == "x")) records.push_back(record);
  }
  forEachSequence(records, 3, [&](const std::vector<Record>& table) {
    World world;
    world.table = table;
    play(world, {getTypeByName("A< B>")});
  });
}
