// What must come of a fault, by a few rules and a path's own list of calls; the library is not asked.
#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "objects.h"
#include "path.h"

namespace faults {

/// Lets a raise fail: the first one alone, or every one.
struct RaiseFault {
  Thrown object = Thrown::message;
  bool forGood = false;
};

/// What a standard library makes of an allocation that fails within its own directory iterator. There are libraries
/// that allocate where nothing may be thrown, and libraries that forget the directory which they opened; no native
/// can help either.
enum class IteratorFailure { throws, losesDirectory, endsProcess };

/// What fails on a path: one thing at one place, and perhaps the raises besides.
struct Fault {
  enum class Kind { none, allocation, thrown, error };

  Kind kind = Kind::none;
  std::size_t position = 0;  // how many calls are made before it
  std::size_t number = 0;    // of an allocation, from 0, among those of the whole path
  bool forGood = false;      // whether all allocations from there on fail too
  IteratorFailure iterator = IteratorFailure::throws;
  Thrown object = Thrown::message;
  int error = 0;
  std::optional<RaiseFault> raise;
};

struct Outcome {
  std::vector<std::string> calls;
  std::string ending;
  std::string code;           // on the page
  std::size_t completed = 0;  // calls that were answered before the fault
  intptr_t result = 0;
  bool endsProcess = false;
  bool losesDirectory = false;
  std::set<int> cleanRaises;  // by number from 1: those that nothing of the native's outlives
  int raises = 0;
};

std::string returned(intptr_t result);

/// Follows a course of a path, from its beginning, with a fault on the way.
Outcome foretell(const Path& path, const Course& course, const Fault& fault);

}  // namespace faults
