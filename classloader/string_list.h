// String-list arguments: turns a language `ArrayList` of `String` into owned strings.
// The function is `static` so that each source has a copy of its own and none is exported.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "runtime_api/runtime.h"

/// Copies the elements of `list` in order; empty strings and duplicates are kept.
/// @param label names the argument in messages.
/// Throws `std::runtime_error` for a null list and for a null element, and the standard library's length
/// error for a size that no vector can hold.
static inline std::vector<std::string> requireStringList(void* list, const char* label) {
  if (list == nullptr) throw std::runtime_error(std::string(label) + " is required");
  std::vector<std::string> strings;
  const int64_t count = orva_collections_ArrayList_size(list);
  if (count > 0) strings.reserve(static_cast<std::size_t>(count));
  for (int64_t index = 0; index < count; ++index) {
    const char* element = orva_collections_ArrayList_operator_index(list, index);
    if (element == nullptr) throw std::runtime_error(std::string(label) + " cannot contain null");
    strings.emplace_back(element);
  }
  return strings;
}
