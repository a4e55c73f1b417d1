// The faults of a path, and what the rules say each of them leads to.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "path.h"

namespace faults {

/// What a path does when nothing fails. Its calls go to the host and, for files, to the system.
struct Course {
  std::vector<std::string> calls;
  std::vector<std::size_t> allocations;  // for each, how many calls were made before it
};

/// What a standard library does when an allocation within its directory iterator fails. Some libraries allocate where
/// nothing may be thrown, and some leak the directory that they opened; no native can prevent either.
enum class IteratorFailure { throws, losesDirectory, endsProcess };

/// Makes raises throw: only the first, or all of them.
struct RaiseFault {
  model::Answer thrown;
  bool forGood = false;
};

/// What fails on a path: one thing at one place, and perhaps the raises too.
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
/// Tells whether a call goes to the system.
bool isSystemCall(const std::string& call);
/// Tells whether a call goes into the host and may throw; raises and locks are told apart.
bool goesIntoHost(const std::string& call);

/// Lists every fault of a path.
std::vector<Fault> faultsOf(const Path& path, const Course& course);

/// Tells whether a fault exists with every compiler and standard library. They differ in how often they allocate, and
/// in whether they open a directory with one call or with two.
bool isCounted(const Course& course, const Fault& fault);

/// The world after the history of a path.
model::World worldBefore(const Path& path);

/// The same world, in which the calls to the host fail as the fault says.
model::World worldWith(const Path& path, const Course& course, const Fault& fault);

struct Prediction {
  model::Outcome outcome;
  model::World after;
};

/// What the rules say about the call that is tried.
Prediction predict(const Path& path, const Course& course, const Fault& fault);

/// Describes a fault in a failure message.
std::string named(const Path& path, const Course& course, const Fault& fault);

}  // namespace faults
