// Enumerating the faults of a path.
#include "matrix.h"

#include <cerrno>
#include <utility>

#include "trial.h"

namespace faults {

std::string nameOf(Group group) {
  switch (group) {
    case Group::allocations: return "Allocations";
    case Group::hostCalls: return "HostCalls";
    case Group::lock: return "Lock";
    case Group::systemCalls: return "SystemCalls";
    case Group::raises: break;
  }
  return "Raises";
}

std::vector<Path> everyPath() {
  std::vector<Path> all;
  for (const auto& paths : {boundaryPaths(), typeLookupPaths(), classPathPaths(), pluginPaths(),
                            systemClassLoaderPaths(), packageLoadingPaths()}) {
    all.insert(all.end(), paths.begin(), paths.end());
  }
  return all;
}

Steps stepsOf(const Path& path) { return steps(path.usual.inside, path.usual.outside); }

/// The errors that each call is tried with, by its name: a choice of those that POSIX and Linux list for it, and EIO
/// where a file system may report it. EPERM and EBUSY are not among those of the lock: they are of unlocking and of
/// trying.
static const std::vector<std::pair<std::string, std::vector<int>>>& errorsTried() {
  static const std::vector<std::pair<std::string, std::vector<int>>> errors{
      {"lock", {EAGAIN, EDEADLK, EINVAL, ENOTRECOVERABLE, EOWNERDEAD}},
      {"stat", {EACCES, EIO, ELOOP, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
      {"openat", {EACCES, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
      {"opendir", {EACCES, EIO, ELOOP, EMFILE, ENAMETOOLONG, ENOENT, ENOMEM, ENOTDIR}},
      {"fdopendir", {ENOMEM, ENOTDIR}},
      {"readdir", {EIO, ENOENT, ENOTDIR}},
      {"closedir", {EINTR, EIO}}};
  return errors;
}

static std::vector<int> errorsOf(const Step& step) {
  for (const auto& [call, errors] : errorsTried()) {
    if (step.line.rfind(call + '(', 0) == 0) return errors;
  }
  return {};
}

static Fault throwing(std::size_t position, Thrown object) {
  Fault fault;
  fault.kind = Fault::Kind::thrown;
  fault.position = position;
  fault.object = object;
  return fault;
}

static Fault failing(std::size_t position, int error) {
  Fault fault;
  fault.kind = Fault::Kind::error;
  fault.position = position;
  fault.error = error;
  return fault;
}

/// What the standard library makes of a failing allocation, the `nth` after the last call, of the directory iterator.
static IteratorFailure iteratorFailure(const Path& path, std::size_t position, std::size_t nth) {
  const Steps calls = stepsOf(path);
  const bool isRead = position > 0 && calls[position - 1].kind == Step::Kind::read;
  if (path.listedFolder.empty() || !isRead) return IteratorFailure::throws;
  std::size_t readings = 0;
  for (std::size_t index = 0; index < position; ++index) readings += calls[index].kind == Step::Kind::read ? 1 : 0;
  const auto failures = iteratorFailures(path.listedFolder, path.typesHidden);
  const bool isIterators = readings < failures.size() && nth < failures[readings].size();
  return isIterators ? failures[readings][nth] : IteratorFailure::throws;
}

static std::vector<Case> allocationCases(const Path& path, const std::vector<std::size_t>& allocations) {
  std::vector<Case> cases;
  std::size_t nth = 0;
  for (std::size_t number = 0; number < allocations.size(); ++number) {
    nth = number > 0 && allocations[number - 1] == allocations[number] ? nth + 1 : 0;
    Fault fault;
    fault.kind = Fault::Kind::allocation;
    fault.position = allocations[number];
    fault.number = number;
    fault.iterator = iteratorFailure(path, fault.position, nth);
    for (const bool forGood : {false, true}) {
      fault.forGood = forGood;
      cases.push_back({Group::allocations, fault.position, fault});
    }
  }
  return cases;
}

static std::vector<Case> hostCallCases(const Path& path) {
  std::vector<Case> cases;
  const Steps calls = stepsOf(path);
  for (std::size_t position = 0; position < calls.size(); ++position) {
    if (calls[position].kind != Step::Kind::hostCall) continue;
    for (const Thrown object : kEveryObject) cases.push_back({Group::hostCalls, position, throwing(position, object)});
  }
  return cases;
}

static std::vector<Case> errorCases(const Path& path, Group group) {
  std::vector<Case> cases;
  const Steps calls = stepsOf(path);
  for (std::size_t position = 0; position < calls.size(); ++position) {
    if ((calls[position].kind == Step::Kind::lock) != (group == Group::lock)) continue;
    for (const int error : errorsOf(calls[position])) cases.push_back({group, position, failing(position, error)});
  }
  return cases;
}

/// Lists the faults that may end in a raise: each call once for each way that its failure takes, and one allocation
/// for each place between two calls.
static std::vector<Case> faultsBeforeRaises(const Path& path, const std::vector<std::size_t>& allocations) {
  std::vector<Case> cases;
  for (const Case& tried : allocationCases(path, allocations)) {
    const bool samePlace = !cases.empty() && cases.back().position == tried.position;
    const bool ends = tried.fault.iterator == IteratorFailure::endsProcess;
    if (!tried.fault.forGood && !ends && !samePlace) cases.push_back(tried);
  }
  for (const Case& tried : hostCallCases(path)) {
    if (tried.fault.object == Thrown::message || tried.fault.object == Thrown::noException) cases.push_back(tried);
  }
  for (const Group group : {Group::lock, Group::systemCalls}) {
    for (const Case& tried : errorCases(path, group)) cases.push_back(tried);
  }
  return cases;
}

static void addRaises(const Path& path, std::size_t position, Fault fault, std::vector<Case>& cases) {
  if (foretell(path, path.usual, fault).raises == 0) return;
  for (const bool forGood : {false, true}) {
    for (const Thrown object : kEveryObject) {
      fault.raise = RaiseFault{object, forGood};
      cases.push_back({Group::raises, position, fault});
    }
  }
}

static std::vector<Case> raiseCases(const Path& path, const std::vector<std::size_t>& allocations) {
  std::vector<Case> cases;
  const Steps calls = stepsOf(path);
  for (std::size_t position = 0; position < calls.size(); ++position) {
    if (calls[position].kind == Step::Kind::raise) addRaises(path, position, Fault(), cases);
  }
  for (const Case& before : faultsBeforeRaises(path, allocations)) {
    // A fault that the path gets over leaves its own raise where it was.
    if (foretell(path, path.usual, before.fault).code != "as usual")
      addRaises(path, before.position, before.fault, cases);
  }
  return cases;
}

std::vector<Case> casesOf(const Path& path, Group group, const std::vector<std::size_t>& allocations) {
  switch (group) {
    case Group::allocations: return allocationCases(path, allocations);
    case Group::hostCalls: return hostCallCases(path);
    case Group::lock:
    case Group::systemCalls: return errorCases(path, group);
    case Group::raises: break;
  }
  return raiseCases(path, allocations);
}

bool isCounted(const Path& path, const Case& tried) {
  if (tried.fault.kind == Fault::Kind::allocation) return false;
  if (tried.fault.kind != Fault::Kind::error) return true;
  return stepsOf(path)[tried.position].line.rfind("fdopendir(", 0) != 0;
}

}  // namespace faults
