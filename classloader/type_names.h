// Type names: compacting a generic spelling, and matching a name against the registry of loaded types.
// The functions are `static` so that each source has a copy of its own and none is exported.
#pragma once

#include <cctype>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "classloader/string_argument.h"
#include "runtime_api/reflection.h"

/// Returns `name` without its whitespace, as `std::isspace` and the current locale see it, so that two
/// spellings of a generic type compare equal. Throws only when memory runs out.
static inline std::string compactTypeName(const std::string& name) {
  std::string compact;
  compact.reserve(name.size());
  for (const char byte : name) {
    // A negative value would be outside of what std::isspace takes.
    if (std::isspace(static_cast<unsigned char>(byte)) == 0) compact.push_back(byte);
  }
  return compact;
}

/// Tells whether an entry's full name ends in `name` after its last dot, or is `name` where it has none.
static inline bool isTailOf(const std::string& fullName, const std::string& name) {
  const std::string::size_type dot = fullName.rfind('.');
  const std::string::size_type tail = dot == std::string::npos ? 0 : dot + 1;
  return fullName.compare(tail, std::string::npos, name) == 0;
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
  for (int32_t index = 0; index < count; ++index) {
    const char* shortText = Reflection_getTypeName(index);
    const char* fullText = Reflection_getTypeFullName(index);
    std::string shortName(orEmpty(shortText));
    std::string fullName(orEmpty(fullText));
    const bool matches = qualified ? name == fullName : name == shortName || isTailOf(fullName, name);
    if (!matches) continue;
    // The scan goes on after a match: only the whole registry shows that a short name is unambiguous.
    std::string& candidate = fullName.empty() ? shortName : fullName;
    if (match && *match != candidate) {
      throw std::runtime_error("Ambiguous plugin entry type '" + name + "'; use its fully qualified name");
    }
    match = std::move(candidate);
  }
  return match;
}
