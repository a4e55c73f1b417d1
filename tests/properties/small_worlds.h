// Families of small worlds: every combination of a few things, played and counted.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "world_text.h"

namespace model {

/// Visits every sequence of up to `longest` things, the empty one first.
template <typename Thing, typename Visit>
void forEachSequence(const std::vector<Thing>& things, std::size_t longest, const Visit& visit,
                     std::vector<Thing> start = {}) {
  visit(std::as_const(start));
  if (longest == 0) return;
  for (const Thing& thing : things) {
    start.push_back(thing);
    forEachSequence(things, longest - 1, visit, start);
    start.pop_back();
  }
}

/// Every text of up to `longest` letters from `letters`.
std::vector<std::string> everyText(const std::string& letters, std::size_t longest);

// Answers.
Answer returning(int64_t number, const std::string& text = "");
Answer throwing(const std::string& text);
Answer throwingOther();
/// Returns, and adds an entry to the registry.
Answer registering(const std::optional<std::string>& shortName, const std::optional<std::string>& fullName);

/// The series of answers that an operation may give.
struct Choice {
  Operation operation;
  std::vector<std::vector<Answer>> series;
};

/// Visits a world with every combination of the choices.
template <typename Visit>
void forEachCombination(const std::vector<Choice>& choices, World world, const Visit& visit, std::size_t first = 0) {
  if (first == choices.size()) return visit(std::as_const(world));
  const Choice& choice = choices[first];
  for (const std::vector<Answer>& answers : choice.series) {
    answersOf(world, choice.operation) = answers;
    forEachCombination(choices, world, visit, first + 1);
  }
}

// Calls.
Call objectAbiVersion();
Call getTypeByName(const std::optional<std::string>& name);
Call addSourceRoot(const std::optional<std::string>& root);
Call precompileSources(const std::optional<List>& files);
Call loadSourceClass(const std::optional<std::string>& file, const std::optional<std::string>& entryType);
Call loadObjectBundle(const std::optional<List>& objects, const std::optional<List>& identities,
                      const std::optional<std::string>& entryType);
Call loadClass(const std::optional<std::string>& name);
Call loadPackageTypes(const std::optional<std::string>& package);

/// One family. At the end, it prints how many worlds it played.
class SmallWorlds : public testing::Test {
 protected:
  void TearDown() override;

  /// Plays a world. Fails the test for the first one in which the library breaks the rules.
  void play(const World& world, const std::vector<Call>& calls);

  /// Does the same in a process in which the library is in its first state.
  void playAfresh(const World& world, const std::vector<Call>& calls);

 private:
  std::size_t worlds_ = 0;
  std::size_t disagreements_ = 0;
};

/// How many worlds all families have played so far, and more than how many they play in all.
std::size_t worldsPlayed();
inline constexpr std::size_t fewestSmallWorlds = 850'000;

}  // namespace model
