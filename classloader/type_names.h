// Type names: compacting a generic spelling, and matching a name against the registry of loaded types.
// The functions are `static` so that each source has a copy of its own and none is exported.
#pragma once

#include <algorithm>
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
  // std::isspace is not defined for negative values.
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

/// Tells whether two names are equal. Both come from C strings, so neither contains a NUL.
static inline bool isSame(const char* registered, const std::string& name) {
  return std::strcmp(registered, name.c_str()) == 0;
}

/// Tells whether `name`, which has no dot, is what follows a full name's last dot, or all of a full name without one.
static inline bool isTailOf(std::string_view fullName, const std::string& name) {
  if (fullName.size() < name.size()) return false;
  const std::size_t begin = fullName.size() - name.size();
  // Compared from the end, where the names of a package differ.
  return (begin == 0 || fullName[begin - 1] == '.') && std::equal(name.rbegin(), name.rend(), fullName.rbegin());
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
    // Compared where the host keeps them, before it is called again; only a match is copied.
    const char* const shortName = orEmpty(Reflection_getTypeName(index));
    const char* const fullName = orEmpty(Reflection_getTypeFullName(index));
    const bool matches = qualified ? isSame(fullName, name) : isSame(shortName, name) || isTailOf(fullName, name);
    if (!matches) continue;
    // The scan continues after a match: only the whole registry shows that a short name is unambiguous.
    const char* const resolved = isMissing(fullName) ? shortName : fullName;
    if (!match) {
      match = resolved;
    } else if (*match != resolved) {
      throw std::runtime_error("Ambiguous plugin entry type '" + name + "'; use its fully qualified name");
    }
  }
  return match;
}
