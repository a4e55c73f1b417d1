// The matrix: which faults a path meets, by their kinds.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "foretelling.h"
#include "path.h"

namespace faults {

enum class Group { allocations, hostCalls, lock, systemCalls, raises };

constexpr std::array<Group, 5> kEveryGroup{Group::allocations, Group::hostCalls, Group::lock, Group::systemCalls,
                                           Group::raises};

std::string nameOf(Group group);

/// One fault of a path. `position` is how many calls are made before the fault.
struct Case {
  Group group;
  std::size_t position;
  Fault fault;
};

std::vector<Path> everyPath();

/// The calls of a path in order.
Steps stepsOf(const Path& path);

/// Lists the faults of one kind.
/// @param allocations what `allocationsOf` returned.
std::vector<Case> casesOf(const Path& path, Group group, const std::vector<std::size_t>& allocations);

/// Tells whether a case is one of those that every compiler and standard library has. How often memory is allocated
/// differs, and so does whether a directory is opened by one call or by two.
bool isCounted(const Path& path, const Case& tried);

}  // namespace faults
