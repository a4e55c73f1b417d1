// Lists the faults of a path, and expresses each as a world for the rules.
#include "fault.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "directory_iterator.h"
#include "model.h"

namespace faults {

using model::Answer;
using model::Ending;
using model::Operation;
using model::Outcome;
using model::World;

static bool isCallOf(const std::string& call, const std::string& function) {
  return call.compare(0, function.size() + 1, function + '(') == 0;
}

bool isRaise(const std::string& call) { return isCallOf(call, "Orva_raise"); }

bool isLock(const std::string& call) { return isCallOf(call, "lock"); }

/// The errors that each call is tried with: some of those that POSIX and Linux document for it, and EIO if a file
/// system may report it. A lock never fails with EPERM or EBUSY; those are errors of unlocking and of trying to lock.
static const std::vector<std::pair<std::string, std::vector<int>>> errorsOfCalls{
    {"lock", {EAGAIN, EDEADLK, EINVAL, ENOTRECOVERABLE, EOWNERDEAD}},
    {"stat", {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
    {"openat", {EACCES, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
    {"opendir", {EACCES, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
    {"fdopendir", {ENOMEM, ENOTDIR}},
    {"readdir", {EIO, ENOENT, ENOTDIR}},
    {"closedir", {EINTR, EIO}}};

static std::vector<int> errorsOf(const std::string& call) {
  for (const auto& [function, errors] : errorsOfCalls) {
    if (isCallOf(call, function)) return errors;
  }
  return {};
}

bool isSystemCall(const std::string& call) { return !isLock(call) && !errorsOf(call).empty(); }

static constexpr std::size_t longText = 100'000;

/// The objects that a failing call throws: one of each kind that a native could distinguish.
static std::vector<Answer> objectsOf(const std::string& thrower) {
  return {{Ending::throwsException, 1, thrower + " failed", {}, {}},
          {Ending::throwsException, 1, "", {}, {}},
          {Ending::throwsException, 1, std::string(longText, thrower.back()), {}, {}},
          {Ending::throwsOther, 1, thrower + " failed", {}, {}}};
}

static std::size_t countBefore(const Course& course, std::size_t position, const std::string& function) {
  const auto end = course.calls.begin() + static_cast<std::ptrdiff_t>(position);
  const auto isIts = [&](const std::string& call) { return isCallOf(call, function); };
  return static_cast<std::size_t>(std::count_if(course.calls.begin(), end, isIts));
}

// The faults.

static void addAllocations(const Path& path, const Course& course, std::vector<Fault>& faults) {
  std::size_t nth = 0;  // among those after the same call
  for (std::size_t number = 0; number < course.allocations.size(); ++number) {
    Fault fault;
    fault.kind = Fault::Kind::allocation;
    fault.position = course.allocations[number];
    fault.number = number;
    nth = number > 0 && course.allocations[number - 1] == fault.position ? nth + 1 : 0;
    const bool isReading = fault.position > 0 && isCallOf(course.calls[fault.position - 1], "readdir");
    if (isReading) {
      fault.iterator = iteratorFailure(path, course, countBefore(course, fault.position, "readdir"), nth);
    }
    for (const bool forGood : {false, true}) {
      fault.forGood = forGood;
      faults.push_back(fault);
    }
  }
}

bool goesIntoHost(const std::string& call) {
  return !isSystemCall(call) && !isLock(call) && !isCallOf(call, "unlock") && !isRaise(call);
}

static void addCalls(const Course& course, std::vector<Fault>& faults) {
  for (std::size_t position = 0; position < course.calls.size(); ++position) {
    Fault fault;
    fault.position = position;
    fault.kind = Fault::Kind::thrown;
    for (const Answer& object : objectsOf("the call")) {
      fault.thrown = object;
      if (goesIntoHost(course.calls[position])) faults.push_back(fault);
    }
    fault.kind = Fault::Kind::error;
    for (const int error : errorsOf(course.calls[position])) {
      fault.error = error;
      faults.push_back(fault);
    }
  }
}

/// The faults to combine with raises that throw. One allocation at each place is enough, and one object of each kind.
static std::vector<Fault> faultsBeforeRaises(const std::vector<Fault>& faults) {
  std::vector<Fault> chosen;
  std::optional<std::size_t> place;  // of the last allocation
  for (const Fault& fault : faults) {
    if (fault.kind == Fault::Kind::thrown && fault.thrown.text != objectsOf("the call").front().text) continue;
    if (fault.kind == Fault::Kind::allocation) {
      if (fault.forGood || fault.iterator == IteratorFailure::endsProcess || place == fault.position) continue;
      place = fault.position;
    }
    chosen.push_back(fault);
  }
  return chosen;
}

static bool raises(const Outcome& outcome) { return std::any_of(outcome.calls.begin(), outcome.calls.end(), isRaise); }

static void addRaises(Fault fault, std::vector<Fault>& faults) {
  for (const bool forGood : {false, true}) {
    for (const Answer& object : objectsOf("the raise")) {
      fault.raise = RaiseFault{object, forGood};
      faults.push_back(fault);
    }
  }
}

std::vector<Fault> faultsOf(const Path& path, const Course& course) {
  std::vector<Fault> faults;
  addAllocations(path, course, faults);
  addCalls(course, faults);
  const std::vector<Fault> besides = faultsBeforeRaises(faults);
  const Outcome usual = predict(path, course, Fault()).outcome;
  if (raises(usual)) addRaises(Fault(), faults);
  for (const Fault& fault : besides) {
    const Outcome outcome = predict(path, course, fault).outcome;
    // If the fault changes nothing, its raises are those of the path, which are tried already.
    if (raises(outcome) && !(outcome == usual)) addRaises(fault, faults);
  }
  return faults;
}

bool isCounted(const Course& course, const Fault& fault) {
  if (fault.kind == Fault::Kind::allocation) return false;
  return fault.kind != Fault::Kind::error || !isCallOf(course.calls[fault.position], "fdopendir");
}

// What they lead to.

World worldBefore(const Path& path) {
  World world = path.story.world;
  for (const model::Call& call : path.story.calls) {
    if (&call != &callOf(path)) model::expected(world, call);
  }
  return world;
}

/// Replaces the answer that a call would get.
static void replaceAnswer(std::vector<Answer>& answers, std::size_t place, const Answer& answer) {
  if (answers.empty()) answers.emplace_back();
  while (answers.size() < place + 2) answers.push_back(Answer(answers.back()));
  answers[place] = answer;
}

static void throwAt(World& world, const Course& course, const Fault& fault) {
  for (std::size_t index = 0; index < model::operationCount; ++index) {
    const std::string name = nameOf(static_cast<Operation>(index));
    if (!isCallOf(course.calls[fault.position], name)) continue;
    replaceAnswer(world.answers[index], countBefore(course, fault.position, name), fault.thrown);
  }
}

World worldWith(const Path& path, const Course& course, const Fault& fault) {
  World world = worldBefore(path);
  if (fault.kind == Fault::Kind::thrown) throwAt(world, course, fault);
  if (fault.kind == Fault::Kind::error && isLock(course.calls[fault.position])) world.lockError = fault.error;
  if (fault.raise) {
    Answer second;
    if (fault.raise->forGood) {
      second = fault.raise->thrown;
      second.text += " again";
    }
    answersOf(world, Operation::raise) = {fault.raise->thrown, second};
  }
  return world;
}

/// Removes what is at a path and below it.
static void remove(World& world, const std::string& path) {
  const auto isThere = [&path](const model::File& file) {
    return file.path == path || file.path.compare(0, path.size() + 1, path + '/') == 0;
  };
  world.files.erase(std::remove_if(world.files.begin(), world.files.end(), isThere), world.files.end());
}

/// Expresses an error of the system as a world: a file without a status does not exist.
static void fail(World& world, const Course& course, const Fault& fault) {
  const std::string& call = course.calls[fault.position];
  const std::size_t quote = call.find('"') + 1;
  if (isCallOf(call, "stat")) return remove(world, call.substr(quote, call.rfind('"') - quote));
  if (isCallOf(call, "readdir")) {
    world.readingsUntilError = static_cast<int>(countBefore(course, fault.position, "readdir")) + 1;
    world.readingError = fault.error;
  } else if (!isCallOf(call, "closedir")) {
    world.openingError = fault.error;
  }
}

Prediction predict(const Path& path, const Course& course, const Fault& fault) {
  World world = worldWith(path, course, fault);
  std::optional<std::size_t> callsWithMemory;
  if (fault.kind == Fault::Kind::error && isSystemCall(course.calls[fault.position])) fail(world, course, fault);
  if (fault.kind == Fault::Kind::allocation) {
    const auto end = course.calls.begin() + static_cast<std::ptrdiff_t>(fault.position);
    const auto ofSystem = std::count_if(course.calls.begin(), end, isSystemCall);
    callsWithMemory = fault.position - static_cast<std::size_t>(ofSystem);
  }
  const Outcome outcome = model::expected(world, callOf(path), callsWithMemory);
  return {outcome, world};
}

// Words.

static std::string quoted(const Answer& thrown) {
  if (thrown.ending == Ending::throwsOther) return "an object that is not an exception";
  if (thrown.text.empty()) return "an exception without a text";
  return thrown.text.size() > 1000 ? "an exception with a long text" : "an exception";
}

static std::string namedFailure(const Course& course, const Fault& fault) {
  const std::string place = ", after " + std::to_string(fault.position) + " calls";
  switch (fault.kind) {
    case Fault::Kind::allocation:
      return "allocation " + std::to_string(fault.number) + place + ", fails " + (fault.forGood ? "for good" : "once");
    case Fault::Kind::thrown: return course.calls[fault.position] + place + ", throws " + quoted(fault.thrown);
    case Fault::Kind::error: return course.calls[fault.position] + place + ", fails: " + std::strerror(fault.error);
    case Fault::Kind::none: break;
  }
  return "nothing fails";
}

std::string named(const Path& path, const Course& course, const Fault& fault) {
  std::string name = path.name + ": " + namedFailure(course, fault);
  if (!fault.raise) return name;
  return name + "; Orva_raise throws " + quoted(fault.raise->thrown) + (fault.raise->forGood ? " always" : " once");
}

}  // namespace faults
