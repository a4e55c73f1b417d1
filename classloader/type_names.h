// Type names: compacting a generic spelling, and matching a name against the registry of loaded types.
// The functions are `static` so that each source has a copy of its own and none is exported.
#pragma once

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "classloader/string_argument.h"
#include "runtime_api/reflection.h"

/// Tells whether compaction drops a byte: whitespace, as `std::isspace` and the current locale see it.
static inline bool isDropped(char byte) {
  // A negative value would be outside of what std::isspace takes.
  return std::isspace(static_cast<unsigned char>(byte)) != 0;
}

/// Returns `name` without its whitespace, so that two spellings of a generic type compare equal. Throws only when
/// memory runs out.
static inline std::string compactTypeName(const std::string& name) {
  std::string compact;
  compact.reserve(name.size());
  for (const char byte : name) {
    if (!isDropped(byte)) compact.push_back(byte);
  }
  return compact;
}

/// Counts the bytes that two different words of 8 bytes begin with alike, without a branch that could go either way.
static inline std::size_t commonInWord(const char* left, const char* right) {
  std::size_t same = std::memcmp(left, right, 4) == 0 ? 4 : 0;
  same += std::memcmp(left + same, right + same, 2) == 0 ? 2 : 0;
  return same + (left[same] == right[same] ? 1 : 0);
}

/// Counts the bytes that a name and `key`, which is at most as long, begin with alike.
static inline std::size_t commonPrefix(std::string_view name, std::string_view key) {
  // Most names differ in the first byte; those of the key's own package begin alike.
  if (key.empty() || name.front() != key.front()) return 0;
  constexpr std::size_t wordSize = 8;
  std::size_t same = 0;
  for (; same + wordSize <= key.size(); same += wordSize) {
    if (std::memcmp(&name[same], &key[same], wordSize) != 0) return same + commonInWord(&name[same], &key[same]);
  }
  while (same < key.size() && name[same] == key[same]) ++same;
  return same;
}

/// Tells whether compacting `name` gives `key`, a compact name, and builds nothing to find out.
static inline bool compactsTo(std::string_view name, std::string_view key) {
  // Compacting never makes a name longer.
  while (name.size() >= key.size()) {
    // A byte of the key is not one that is dropped.
    const std::size_t same = commonPrefix(name, key);
    name.remove_prefix(same);
    key.remove_prefix(same);
    if (name.empty()) return true;
    if (!isDropped(name.front())) return false;
    name.remove_prefix(1);
  }
  return false;
}

/// Tells whether two names are the same. Those of one package begin alike, so their last bytes are compared first.
static inline bool areEqual(std::string_view left, std::string_view right) {
  constexpr std::size_t wordSize = 8;
  if (left.size() != right.size()) return false;
  if (left.size() >= wordSize) {
    const std::size_t last = left.size() - wordSize;
    if (std::memcmp(&left[last], &right[last], wordSize) != 0) return false;
  }
  return std::memcmp(left.data(), right.data(), left.size()) == 0;
}

/// Tells whether `name`, which has no dot, is what follows a full name's last dot, or all of a full name without one.
static inline bool isTailOf(std::string_view fullName, std::string_view name) {
  if (fullName.size() < name.size()) return false;
  const std::size_t begin = fullName.size() - name.size();
  return areEqual(fullName.substr(begin), name) && (begin == 0 || fullName[begin - 1] == '.');
}

/// Copies a text of the host into `room`, which grows where it must and is used again for the next one: half the cost
/// of assigning each text to a string.
/// @return the copy, a part of `room`.
static inline std::string_view copyInto(std::string& room, std::string_view text) {
  if (room.size() < text.size()) room.resize(text.size());
  text.copy(room.data(), text.size());
  return {room.data(), text.size()};
}

/// Resolves a name against the registry: a qualified name by full name, any other by short name or by the
/// tail of a full name.
/// @return the full name of the entry that `name` stands for, or its short name when it has no full name;
///         nothing when no entry matches.
/// Throws `std::runtime_error` when an unqualified name stands for entries that resolve to different names.
static inline std::optional<std::string> reflectedTypeMatch(const std::string& name) {
  std::optional<std::string> match;
  if (name.empty()) return match;
  const bool qualified = name.find('.') != std::string::npos;
  const int32_t count = Reflection_getTypeCount();
  std::string roomForShort;
  std::string roomForFull;
  for (int32_t index = 0; index < count; ++index) {
    const char* shortText = Reflection_getTypeName(index);
    const char* fullText = Reflection_getTypeFullName(index);
    const std::string_view shortName = copyInto(roomForShort, orEmpty(shortText));
    const std::string_view fullName = copyInto(roomForFull, orEmpty(fullText));
    const bool matches = qualified ? areEqual(fullName, name) : areEqual(shortName, name) || isTailOf(fullName, name);
    if (!matches) continue;
    // The scan goes on after a match: only the whole registry shows that a short name is unambiguous.
    const std::string_view candidate = fullName.empty() ? shortName : fullName;
    if (match && *match != candidate) {
      throw std::runtime_error("Ambiguous plugin entry type '" + name + "'; use its fully qualified name");
    }
    match = candidate;
  }
  return match;
}
