// How a world answers, and how it changes.
#include "world.h"

namespace model {

Answer take(World& world, Operation operation) {
  std::vector<Answer>& answers = answersOf(world, operation);
  if (answers.empty()) return {};
  Answer answer = answers.front();
  if (answers.size() > 1) answers.erase(answers.begin());
  world.registry.insert(world.registry.end(), answer.entries.begin(), answer.entries.end());
  world.table.insert(world.table.end(), answer.records.begin(), answer.records.end());
  return answer;
}

Entry entryAt(const World& world, int32_t index) {
  const auto position = static_cast<std::size_t>(index);
  return index >= 0 && position < world.registry.size() ? world.registry[position] : Entry();
}

int32_t countOf(const World& world) { return world.count.value_or(static_cast<int32_t>(world.registry.size())); }

int64_t sizeOf(const List& list) { return list.size.value_or(static_cast<int64_t>(list.elements.size())); }

std::optional<std::string> elementAt(const List& list, int64_t index) {
  const auto position = static_cast<std::size_t>(index);
  return index >= 0 && position < list.elements.size() ? list.elements[position] : std::nullopt;
}

}  // namespace model
