// The record of this team, in a header of its own that reflection.h includes: its names are parts of one text.
#pragma once

#include <cstdint>
#include <string_view>

namespace other_host {
struct Type;
}

struct TypeRecord {
  const other_host::Type* type;
  uint32_t memberCount;
  std::string_view names[4];
};
