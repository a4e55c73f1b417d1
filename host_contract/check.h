// A check of the kit, and what it works with.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host_contract/hooks.h"

namespace orva::host_contract {

/// Without what is required, the library gives a wrong result, hangs or crashes; good hosts do what is advised too.
enum class Weight { required, advised };

/// What a host must be able to do for a check to run.
enum class Needs { nothing, sources, generics, objects };

/// What a check is given.
struct Trial {
  Hooks& hooks;
  std::filesystem::path folder;  ///< empty, and removed after the check
  int seconds;                   ///< how long the check may take
};

struct Check {
  std::string room;
  std::string name;
  Weight weight;
  Needs needs;
  std::string because;  ///< what goes wrong when the host breaks it
  void (*run)(Trial&);  ///< throws `Broken`, `Unusable` or `NotRun`; anything else that it throws breaks the check too

  std::string fullName() const { return room + "." + name; }
};

/// Makes the checks of one room.
struct Room {
  std::string name;
  Needs needs = Needs::nothing;

  Check required(const char* check, void (*run)(Trial&), const char* because) const {
    return {name, check, Weight::required, needs, because, run};
  }
  Check advised(const char* check, void (*run)(Trial&), const char* because) const {
    return {name, check, Weight::advised, needs, because, run};
  }
};

/// Thrown by a check that the host breaks.
struct Broken {
  std::string seen;
};

/// Thrown in place of `Broken` when no other check can be run on this host either.
struct Unusable {
  std::string seen;
};

/// Thrown by a check that cannot be run on this host.
struct NotRun {
  std::string reason;
};

/// Throws `Broken` unless `held`.
/// @param seen what the check saw instead of what it expected.
void expect(bool held, const std::string& seen);

/// Throws `Broken` when an exception is pending on this thread, and clears it.
void expectNothingPending(Trial& trial);

/// Throws `Broken` unless `action` throws a `std::exception` with a message.
/// @param what names the action, for the message.
template <typename Action>
void expectFailure(const std::string& what, const Action& action) {
  std::string text;
  try {
    action();
  } catch (const std::exception& failure) {
    text = failure.what();
    expect(!text.empty(), what + " threw a std::exception without a message");
    return;
  } catch (...) {
    throw Broken{what + " threw something that is not derived from std::exception"};
  }
  throw Broken{what + " threw nothing"};
}

/// All checks, in the order in which they run.
const std::vector<Check>& allChecks();

std::vector<Check> recordChecks();
std::vector<Check> exceptionChecks();
std::vector<Check> typeChecks();
std::vector<Check> listChecks();
std::vector<Check> registryChecks();
std::vector<Check> nativeChecks();
std::vector<Check> classPathChecks();
std::vector<Check> packageChecks();
std::vector<Check> sourceChecks();
std::vector<Check> precompilingChecks();
std::vector<Check> genericChecks();
std::vector<Check> objectChecks();

}  // namespace orva::host_contract
