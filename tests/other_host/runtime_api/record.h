// This team's own record, in a separate header that reflection.h includes. Its names are views.
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
