// String lists: every small one, with every size that a list may claim.
#include <cstdint>

#include "small_worlds.h"

using namespace model;

using Text = std::optional<std::string>;

namespace {

class Lists : public SmallWorlds {};

}  // namespace

/// Every list of up to `longest` elements, and no list.
static std::vector<std::optional<List>> everyList(const std::vector<Text>& elements, std::size_t longest) {
  std::vector<std::optional<List>> lists{std::nullopt};
  forEachSequence(elements, longest, [&](const std::vector<Text>& list) { lists.push_back(List{list, std::nullopt}); });
  return lists;
}

static const std::vector<std::optional<int64_t>> sizes{std::nullopt, INT64_MIN,        -1,       0, 1, 2, 3, 4, 5,
                                                       1000,         int64_t{1} << 60, INT64_MAX};

/// Every list of up to `longest` elements, claiming every size, and no list.
static std::vector<std::optional<List>> everySizedList(const std::vector<Text>& elements, std::size_t longest) {
  std::vector<std::optional<List>> lists{std::nullopt};
  forEachSequence(elements, longest, [&](const std::vector<Text>& list) {
    for (const auto& size : sizes) lists.push_back(List{list, size});
  });
  return lists;
}

TEST_F(Lists, EveryListIsPrecompiled) {
  for (const auto& list : everySizedList({std::nullopt, "", "x", "y z"}, 4)) play({}, {precompileSources(list)});
}

TEST_F(Lists, EveryPairOfListsIsABundle) {
  const std::vector<std::optional<List>> lists = everyList({std::nullopt, "", "x", "y"}, 3);
  std::vector<World> worlds(3);
  worlds[1].registry = {{"A", "p.A"}};
  answersOf(worlds[2], Operation::loadBundle) = {registering("A", "p.A")};
  for (const World& world : worlds) {
    for (const auto& objects : lists) {
      for (const auto& identities : lists) play(world, {loadObjectBundle(objects, identities, "A")});
    }
  }
}

TEST_F(Lists, EveryPairOfSizesIsCompared) {
  const std::vector<std::optional<List>> allIdentities = everySizedList({std::nullopt, "y"}, 2);
  for (const auto& objects : everySizedList({std::nullopt, "x"}, 2)) {
    for (const auto& identities : allIdentities) play({}, {loadObjectBundle(objects, identities, "A")});
  }
}

TEST_F(Lists, EveryMissingArgumentIsRefused) {
  const List empty;
  for (const Text& file : std::vector<Text>{std::nullopt, "", "f"}) {
    for (const Text& entryType : std::vector<Text>{std::nullopt, "", "A"}) {
      play({}, {loadSourceClass(file, entryType)});
      for (const auto& objects : {std::optional<List>(), std::optional(empty)}) {
        for (const auto& identities : {std::optional<List>(), std::optional(empty)}) {
          play({}, {loadObjectBundle(objects, identities, entryType)});
        }
      }
    }
  }
}
