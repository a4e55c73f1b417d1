/// How a compiler lays out the type record: the host contract kit compares the library's layout with the host's.
/// @file
#pragma once

#include <cstddef>
#include <type_traits>

#include "runtime_api/reflection.h"

namespace orva {

/// Sizes and offsets in bytes.
struct RecordLayout {
  long size;       ///< of a `TypeRecord`
  long alignment;  ///< of a `TypeRecord`
  long table;      ///< the size of `gTypes` itself
  /// Where the members of our own record are; -1 for a member that the record lacks. A record with our layout, but with
  /// members of other names, therefore counts as a different one.
  long name1, name2, name3, name4, type, members;
};

/// Compares two layouts.
/// @param left one layout.
/// @param right the other layout.
/// @return whether all of their sizes and offsets are equal.
constexpr bool operator==(const RecordLayout& left, const RecordLayout& right) {
  return left.size == right.size && left.alignment == right.alignment && left.table == right.table &&
         left.name1 == right.name1 && left.name2 == right.name2 && left.name3 == right.name3 &&
         left.name4 == right.name4 && left.type == right.type && left.members == right.members;
}

// A record with virtual functions or private parts has offsets all the same, on every compiler that builds the library.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#define ORVA_OFFSET_OF(member)                                                                                         \
  template <typename Record>                                                                                           \
  constexpr auto member##In(int)->std::enable_if_t<std::is_member_object_pointer_v<decltype(&Record::member)>, long> { \
    return static_cast<long>(offsetof(Record, member));                                                                \
  }                                                                                                                    \
  template <typename Record>                                                                                           \
  constexpr long member##In(...) {                                                                                     \
    return -1;                                                                                                         \
  }
ORVA_OFFSET_OF(name1)
ORVA_OFFSET_OF(name2)
ORVA_OFFSET_OF(name3)
ORVA_OFFSET_OF(name4)
ORVA_OFFSET_OF(type)
ORVA_OFFSET_OF(members)
#undef ORVA_OFFSET_OF
#pragma GCC diagnostic pop

/// Measures the record that a source sees. Sources may see different ones, so each has the result as its own constant.
/// @return the layout of `Record`, and the size of `Table`.
template <typename Record, typename Table>
constexpr RecordLayout recordLayout() {
  return {static_cast<long>(sizeof(Record)),
          static_cast<long>(alignof(Record)),
          static_cast<long>(sizeof(Table)),
          name1In<Record>(0),
          name2In<Record>(0),
          name3In<Record>(0),
          name4In<Record>(0),
          typeIn<Record>(0),
          membersIn<Record>(0)};
}

}  // namespace orva
