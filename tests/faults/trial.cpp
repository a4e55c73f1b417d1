// The trials. A native whose state lasts as long as the process is tried in a child, and so is a fault that ends it.
#include "trial.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <new>
#include <system_error>
#include <utility>

#include "allocations.h"
#include "hosts_turn.h"
#include "system_calls.h"

namespace fs = std::filesystem;

namespace faults {

using scripted::host;
using scripted::HostsTurn;
using Lines = std::vector<std::string>;

namespace {

constexpr int kEndedAsForetold = 42;
constexpr int kLostDirectory = 43;

/// Numbers that a child process hands to its parent.
struct Shared {
  std::size_t count;
  std::array<std::uint16_t, 4096> numbers;
};

Shared& shared() {
  static void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  return *static_cast<Shared*>(memory);
}

void share(std::size_t number) { shared().numbers.at(shared().count++) = static_cast<std::uint16_t>(number); }

int openDescriptors() {
  constexpr int kMost = 256;
  int open = 0;
  for (int descriptor = 0; descriptor < kMost; ++descriptor) open += fcntl(descriptor, F_GETFD) >= 0 ? 1 : 0;
  return open;
}

/// What a raise found when it was made.
struct AtRaise {
  long contextHolders;
  std::size_t blocks;
};

/// One call of a path's native, with a fault.
class Trial {
 public:
  Trial(const Path& path, const Fault& fault) : path_(path), fault_(fault) {}

  /// Makes the call and describes how it ended.
  std::string run();

  /// Compares what was seen with what was foretold.
  void expect(const Outcome& foretold, const std::string& ending) const;

  const Lines& calls() const { return calls_; }

  /// Tells whether an allocation was refused.
  bool hasFailed() const { return failed_; }

 private:
  int onCall(const std::string& line);
  bool failsAllocation();
  void arrange();
  std::string call();
  void expectLists() const;

  const Path& path_;
  const Fault& fault_;
  Arranged arranged_;
  std::vector<std::vector<std::optional<std::string>>> lists_;
  const allocations::Watch* watch_ = nullptr;
  Lines calls_;
  std::vector<AtRaise> raises_;
  std::size_t allocated_ = 0;
  bool failed_ = false;
  std::size_t held_ = 0;
  int opened_ = 0;
};

/// Records a call, and lets it fail when it is the one; returns the error that it fails with.
int Trial::onCall(const std::string& line) {
  const bool hit = calls_.size() == fault_.position;
  calls_.push_back(line);
  if (step(line).kind == Step::Kind::raise) {
    raises_.push_back({host().activeContext.use_count(), watch_->held()});
    const int number = static_cast<int>(raises_.size());
    if (fault_.raise && (fault_.raise->forGood || number == 1)) throwObject(fault_.raise->object, number);
  }
  if (!hit) return 0;
  if (fault_.kind == Fault::Kind::thrown) throwObject(fault_.object, 0);
  return fault_.kind == Fault::Kind::error ? fault_.error : 0;
}

bool Trial::failsAllocation() {
  const std::size_t number = allocated_++;
  if (fault_.kind == Fault::Kind::none) share(calls_.size());
  if (fault_.kind != Fault::Kind::allocation) return false;
  const bool fails = number == fault_.number || (fault_.forGood && number > fault_.number);
  failed_ = failed_ || fails;
  return fails;
}

void Trial::arrange() {
  scripted::reset();
  system_calls::reset();
  system_calls::sortEntries();
  if (path_.typesHidden) system_calls::hideEntryTypes();
  arranged_ = path_.arrange();
  for (void* list : arranged_.lists) lists_.push_back(host().findList(list)->elements);
  host().onCall = [this](const std::string& line) {
    if (const int error = onCall(line)) host().lockMutex.next(scripted::returns(error));
  };
  system_calls::onEachCall([this](const std::string& line) { return onCall(line); });
}

/// Makes the call; all that was thrown is gone when this returns.
std::string Trial::call() {
  intptr_t result = 0;
  try {
    result = arranged_.call();
  } catch (...) {
    const HostsTurn turn;
    return "throws " + caught();
  }
  const HostsTurn turn;
  return returned(result);
}

std::string Trial::run() {
  arrange();
  shared().count = 0;
  const int before = openDescriptors();
  const allocations::Watch watch([this] { return failsAllocation(); });
  watch_ = &watch;
  std::string ending = call();
  held_ = watch.held();
  opened_ = openDescriptors() - before;
  const HostsTurn turn;
  system_calls::reset();
  host().onCall = nullptr;
  host().takeCalls();
  return ending;
}

void Trial::expectLists() const {
  for (std::size_t index = 0; index < lists_.size(); ++index) {
    EXPECT_EQ(lists_[index], host().findList(arranged_.lists[index])->elements) << "a list was changed";
  }
}

Lines shortenedAll(const Lines& lines) {
  Lines all;
  for (const std::string& line : lines) all.push_back(shortened(line));
  return all;
}

void Trial::expect(const Outcome& foretold, const std::string& ending) const {
  EXPECT_TRUE(foretold.calls == calls_)
      << scripted::sameCalls(shortenedAll(foretold.calls), shortenedAll(calls_)).message();
  EXPECT_TRUE(foretold.ending == ending) << "expected that the call " << shortened(foretold.ending) << "\nbut it "
                                         << shortened(ending);
  const bool again = foretold.code.rfind("again", 0) == 0;
  EXPECT_EQ(again, raises_.size() == 2) << "the code is \"" << foretold.code << "\" after " << raises_.size()
                                        << " raises";
  EXPECT_EQ(0U, held_) << "blocks of memory are still held";
  EXPECT_EQ(foretold.losesDirectory ? 1 : 0, opened_) << "descriptors were opened and not closed, or more were closed";
  for (const std::string& wrong : host().leftovers()) ADD_FAILURE() << wrong;
  expectLists();
  for (const int number : foretold.cleanRaises) {
    if (static_cast<std::size_t>(number) > raises_.size()) continue;
    const AtRaise& found = raises_[static_cast<std::size_t>(number) - 1];
    EXPECT_EQ(1, found.contextHolders) << "raise " << number << " was made with a context still held";
    EXPECT_EQ(0U, found.blocks) << "raise " << number << " was made with blocks of memory still held";
  }
}

/// Runs a path without a fault and expects this course of it.
void expectCourse(const Path& path, const Course& course) {
  const Fault none;
  Trial trial(path, none);
  const std::string ending = trial.run();
  trial.expect(foretell(path, course, none), ending);
}

// What the handler below compares with, in a child whose end is foretold.
const Trial* endingTrial = nullptr;
const Lines* callsBeforeTheEnd = nullptr;

[[noreturn]] void endAsForetold() {
  const HostsTurn turn;
  if (!endingTrial->hasFailed()) std::fputs("the process was given up, and no allocation had failed\n", stderr);
  const auto same = scripted::sameCalls(*callsBeforeTheEnd, endingTrial->calls());
  if (!same) std::fputs(same.message(), stderr);
  _exit(endingTrial->hasFailed() && same ? kEndedAsForetold : EXIT_FAILURE);
}

void tryEnding(const Path& path, const Fault& fault, const Outcome& foretold) {
  const int status = scripted::statusOfOwnProcess([&] {
    Trial trial(path, fault);
    endingTrial = &trial;
    callsBeforeTheEnd = &foretold.calls;
    std::set_terminate(endAsForetold);
    std::fprintf(stderr, "expected that the process ends; but the call %s\n", trial.run().c_str());
  });
  EXPECT_EQ(kEndedAsForetold, WIFEXITED(status) ? WEXITSTATUS(status) : -1) << "the process did not end as foretold";
}

}  // namespace

std::string shortened(const std::string& line) {
  constexpr std::size_t kHead = 160;
  constexpr std::size_t kTail = 40;
  if (line.size() <= 2 * kHead) return line;
  return line.substr(0, kHead) + "…(" + std::to_string(line.size()) + " bytes)…" + line.substr(line.size() - kTail);
}

static std::string quoted(Thrown object) {
  switch (object) {
    case Thrown::message: return "an exception with a message";
    case Thrown::emptyMessage: return "an exception with an empty message";
    case Thrown::longMessage: return "an exception with a message of 100,000 bytes";
    case Thrown::noException: break;
  }
  return "an int";
}

static std::string namedFailure(const Fault& fault) {
  const std::string place = ", after " + std::to_string(fault.position) + " calls";
  switch (fault.kind) {
    case Fault::Kind::allocation:
      return "allocation " + std::to_string(fault.number) + place + ", fails " + (fault.forGood ? "for good" : "once");
    case Fault::Kind::thrown: return "the call" + place + ", throws " + quoted(fault.object);
    case Fault::Kind::error: return "the call" + place + ", fails with: " + std::strerror(fault.error);
    case Fault::Kind::none: break;
  }
  return "nothing fails";
}

std::string named(const Path& path, const Fault& fault) {
  std::string name = path.native->symbol + ", " + path.name + ": " + namedFailure(fault);
  if (!fault.raise) return name;
  return name + "; Orva_raise throws " + quoted(fault.raise->object) + (fault.raise->forGood ? " always" : " once");
}

std::vector<std::size_t> allocationsOf(const Path& path) {
  const auto run = [&path] {
    if (path.history) path.history();
    expectCourse(path, path.usual);
  };
  if (path.nextCall) {
    scripted::inOwnProcess(run);
  } else {
    run();
  }
  return {shared().numbers.data(), shared().numbers.data() + shared().count};
}

void tryFault(const Path& path, const Fault& fault) {
  const Outcome foretold = foretell(path, path.usual, fault);
  if (foretold.endsProcess) return tryEnding(path, fault, foretold);
  const auto run = [&] {
    if (path.history) path.history();
    Trial trial(path, fault);
    const std::string ending = trial.run();
    trial.expect(foretold, ending);
    expectCourse(path, path.nextCall ? path.nextCall(foretold.completed, foretold.result) : path.usual);
  };
  if (path.nextCall) {
    scripted::inOwnProcess(run);
  } else {
    run();
  }
}

/// Lists a folder with the standard library alone.
static void list(const std::string& folder) {
  std::error_code error;
  fs::directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  while (!error && entry != fs::directory_iterator()) entry.increment(error);
}

/// Lists a folder with an allocation failing, and shares after how many readings each allocation was made.
static void listUntil(const std::string& folder, bool typesHidden, std::size_t failing) {
  std::size_t readings = 0;
  std::size_t number = 0;
  const system_calls::Scope scope;
  system_calls::sortEntries();
  if (typesHidden) system_calls::hideEntryTypes();
  system_calls::onEachCall([&readings](const std::string& call) {
    if (call == "readdir()") ++readings;
    return 0;
  });
  const allocations::Watch watch([&] {
    share(readings);
    return number++ == failing;
  });
  try {
    list(folder);
  } catch (const std::bad_alloc&) {
    // It may as well be thrown.
  }
}

static IteratorFailure failureOf(const std::string& folder, bool typesHidden, std::size_t allocation) {
  const int status = scripted::statusOfOwnProcess([&] {
    std::set_terminate([] { _exit(kEndedAsForetold); });
    const int before = openDescriptors();
    listUntil(folder, typesHidden, allocation);
    if (openDescriptors() != before) _exit(kLostDirectory);
  });
  switch (WIFEXITED(status) ? WEXITSTATUS(status) : -1) {
    case EXIT_SUCCESS: return IteratorFailure::throws;
    case kLostDirectory: return IteratorFailure::losesDirectory;
    case kEndedAsForetold: return IteratorFailure::endsProcess;
    default: ADD_FAILURE() << "listing " << folder << " ended with status " << status;
  }
  return IteratorFailure::throws;
}

std::vector<std::vector<IteratorFailure>> iteratorFailures(const std::string& folder, bool typesHidden) {
  static std::map<std::pair<std::string, bool>, std::vector<std::vector<IteratorFailure>>> known;
  auto& failures = known[{folder, typesHidden}];
  if (!failures.empty()) return failures;
  shared().count = 0;
  listUntil(folder, typesHidden, SIZE_MAX);
  const std::vector<std::size_t> readings(shared().numbers.data(), shared().numbers.data() + shared().count);
  for (std::size_t number = 0; number < readings.size(); ++number) {
    if (failures.size() <= readings[number]) failures.resize(readings[number] + 1);
    failures[readings[number]].push_back(failureOf(folder, typesHidden, number));
  }
  return failures;
}

}  // namespace faults
