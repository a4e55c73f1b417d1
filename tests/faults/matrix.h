// The matrix: which faults a path meets, by their kinds.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "foretelling.h"
#include "path.h"

namespace faults {

enum class Group { allocations, hostCalls, lock, systemCalls, raises };

constexpr std::array<Group, 5> kEveryGroup{Group::allocations, Group::hostCalls, Group::lock, Group::systemCalls,
                                           Group::raises};

std::string nameOf(Group group);

/// One fault of a path. `position` is the row of the page: how many calls are made before the fault.
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

/// The errors that each call is tried with, by its name: a choice of those that POSIX and Linux list for it, and EIO
/// where a file system may report it.
const std::vector<std::pair<std::string, std::vector<int>>>& errorsTried();

/// The short name of an error, such as "EIO".
std::string errorName(int error);

}  // namespace faults
