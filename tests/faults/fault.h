// The faults of a path: which there are, and what the rules say comes of each.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "path.h"

namespace faults {

/// What a path does when nothing fails. Its calls go into the host and, for files, into the system.
struct Course {
  std::vector<std::string> calls;
  std::vector<std::size_t> allocations;  // for each, how many calls were made before it
};

/// What a standard library makes of an allocation that fails within its own directory iterator. There are libraries
/// that allocate where nothing may be thrown, and libraries that forget the directory which they opened; no native
/// can help either.
enum class IteratorFailure { throws, losesDirectory, endsProcess };

/// Lets a raise throw: the first one alone, or every one.
struct RaiseFault {
  model::Answer thrown;
  bool forGood = false;
};

/// What fails on a path: one thing at one place, and perhaps the raises besides.
struct Fault {
  enum class Kind { none, allocation, thrown, error };

  Kind kind = Kind::none;
  std::size_t position = 0;  // how many calls are made before it
  std::size_t number = 0;    // of an allocation, from 0, among those of the whole path
  bool forGood = false;      // whether all allocations from there on fail too
  IteratorFailure iterator = IteratorFailure::throws;
  model::Answer thrown;
  int error = 0;
  std::optional<RaiseFault> raise;
};

bool isRaise(const std::string& call);
bool isLock(const std::string& call);
/// Tells whether a call goes into the system.
bool isSystemCall(const std::string& call);
/// Tells whether a call goes into the host and may throw; raises and locks are told apart.
bool goesIntoHost(const std::string& call);

/// Lists every fault of a path.
std::vector<Fault> faultsOf(const Path& path, const Course& course);

/// Tells whether a fault is one of those that every compiler and standard library has. How often memory is allocated
/// differs, and so does whether a directory is opened by one call or by two.
bool isCounted(const Course& course, const Fault& fault);

/// The world as the history of a path leaves it.
model::World worldBefore(const Path& path);

/// The same with everything in it that fails for the host.
model::World worldWith(const Path& path, const Course& course, const Fault& fault);

struct Foretold {
  model::Outcome outcome;
  model::World after;
};

/// What the rules say of the call that is tried.
Foretold foretell(const Path& path, const Course& course, const Fault& fault);

/// Names a fault for whoever reads a failure.
std::string named(const Path& path, const Course& course, const Fault& fault);

}  // namespace faults
