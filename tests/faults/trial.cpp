// Runs the trials. A native whose state lasts as long as the process is tried in a child process, and so is a fault
// that ends the process.
#include "trial.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>

#include "agreement.h"
#include "directory_iterator.h"
#include "log.h"
#include "model.h"
#include "play.h"
#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/hosts_turn.h"
#include "tests/scripted_host/scripted_host.h"

namespace faults {

using model::Outcome;
using model::World;
using scripted::HostsTurn;

static constexpr int endedAsExpected = 42;
static const std::string allocationWord = "allocation";

namespace {

/// One call of a native, with a fault.
class Trial {
 public:
  explicit Trial(const Fault& fault) : fault_(fault) {}

  /// Makes the call. Whatever it threw is destroyed when this returns.
  Outcome run(World world, const model::Call& call);

  /// Tells whether the calls begin as those of a course up to the fault.
  bool beganAs(const Course& course) const;

  /// Tells whether an allocation was refused.
  bool hasFailed() const { return failed_; }

  std::size_t calls() const { return calls_.size(); }

 private:
  int onCall(const std::string& call);
  bool failsAllocation();
  bool isUsual() const { return fault_.kind == Fault::Kind::none && !fault_.raise; }
  void expectFilesClosed(const std::string& call) const;
  void expectNothingHeldAtRaise();
  int lostDescriptors() const { return failed_ && fault_.iterator == IteratorFailure::losesDirectory ? 1 : 0; }

  const Fault& fault_;
  const allocations::Watch* watch_ = nullptr;
  std::vector<std::string> calls_;
  std::size_t allocated_ = 0;
  std::size_t raises_ = 0;
  bool failed_ = false;
  int openAtFirst_ = 0;
};

}  // namespace

int Trial::onCall(const std::string& call) {
  if (calls_.empty()) openAtFirst_ = openDescriptors();
  const bool fails = calls_.size() == fault_.position && fault_.kind == Fault::Kind::error && isSystemCall(call);
  // Only the system can have opened anything since the call before.
  if (!calls_.empty() && isSystemCall(calls_.back()) && goesIntoHost(call)) expectFilesClosed(call);
  calls_.push_back(call);
  if (isUsual()) log::write(call);
  if (isRaise(call)) expectNothingHeldAtRaise();
  return fails ? fault_.error : 0;
}

void Trial::expectFilesClosed(const std::string& call) const {
  EXPECT_EQ(lostDescriptors(), openDescriptors() - openAtFirst_) << call << " finds descriptors open";
}

/// Once something was thrown, the native must have freed what it built. Without that, it may still hold its message.
void Trial::expectNothingHeldAtRaise() {
  expectFilesClosed("a raise");
  const bool hasThrown =
      failed_ || raises_ > 0 || (fault_.kind == Fault::Kind::thrown && calls_.size() > fault_.position + 1);
  ++raises_;
  EXPECT_EQ(0U, hasThrown ? watch_->held() : 0) << "blocks of memory are held at a raise";
}

bool Trial::failsAllocation() {
  const std::size_t number = allocated_++;
  if (isUsual()) log::write(allocationWord);
  if (fault_.kind != Fault::Kind::allocation) return false;
  const bool fails = number == fault_.number || (fault_.forGood && number > fault_.number);
  failed_ = failed_ || fails;
  return fails;
}

Outcome Trial::run(World world, const model::Call& call) {
  const HostsTurn turn;
  const int before = openDescriptors();
  const allocations::Watch watch([this] { return failsAllocation(); });
  watch_ = &watch;
  Outcome outcome = model::observed(world, call, [this](const std::string& made) { return onCall(made); });
  EXPECT_EQ(0U, watch.held()) << "blocks of memory are still held";
  EXPECT_EQ(lostDescriptors(), openDescriptors() - before) << "descriptors are still open, or too many were closed";
  return outcome;
}

bool Trial::beganAs(const Course& course) const {
  const std::size_t count = std::min(fault_.position, course.calls.size());
  return calls_.size() >= count &&
         std::equal(calls_.begin(), calls_.begin() + static_cast<std::ptrdiff_t>(count), course.calls.begin());
}

/// Shortens the long lines of a text.
static std::string shortened(const std::string& text) {
  constexpr std::size_t head = 160;
  std::string shown;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    shown += text.substr(start, std::min(end - start, head)) + (end - start > head ? "…\n" : "\n");
    start = end + 1;
  }
  return shown;
}

static void expectSame(const Outcome& expectation, const Outcome& observation) {
  EXPECT_TRUE(expectation == observation) << "expected:\n"
                                          << shortened(textOf(expectation)) << "observed:\n"
                                          << shortened(textOf(observation));
}

/// Runs something in its own process if the library would remember it.
static void isolated(const Path& path, const std::function<void()>& run) {
  if (callOf(path).native == model::Native::getSystem) return scripted::inOwnProcess(run);
  run();
}

static void playHistory(const Path& path) {
  World world = path.story.world;
  for (const model::Call& call : path.story.calls) {
    if (&call != &callOf(path)) model::observed(world, call);
  }
}

static void expectCourse(const World& world, const model::Call& call) {
  log::clear();
  World ofRules = world;
  const Fault none;
  const Outcome observation = Trial(none).run(world, call);
  expectSame(model::expected(ofRules, call), observation);
}

// For the handler below, in a child process that must end.
static const Trial* endingTrial = nullptr;
static const Course* endingCourse = nullptr;
static std::size_t callsBeforeTheEnd = 0;

[[noreturn]] static void endAsExpected() {
  const HostsTurn turn;
  const bool asExpected =
      endingTrial->hasFailed() && endingTrial->beganAs(*endingCourse) && endingTrial->calls() == callsBeforeTheEnd;
  if (!asExpected) std::fputs("the process was terminated at another place\n", stderr);
  _exit(asExpected ? endedAsExpected : EXIT_FAILURE);
}

static void tryEnding(const Path& path, const Course& course, const Fault& fault) {
  const int status = scripted::statusOfOwnProcess([&] {
    Trial trial(fault);
    endingTrial = &trial;
    endingCourse = &course;
    callsBeforeTheEnd = fault.position;
    std::set_terminate(endAsExpected);
    trial.run(worldBefore(path), callOf(path));
    std::fputs("the call returned, but should have ended the process\n", stderr);
  });
  EXPECT_EQ(endedAsExpected, WIFEXITED(status) ? WEXITSTATUS(status) : -1) << "the process did not end as expected";
}

Course courseOf(const Path& path) {
  isolated(path, [&path] {
    playHistory(path);
    expectCourse(worldBefore(path), callOf(path));
  });
  Course course;
  for (const std::string& line : log::lines()) {
    if (line == allocationWord) {
      course.allocations.push_back(course.calls.size());
    } else {
      course.calls.push_back(line);
    }
  }
  return course;
}

void tryFault(const Path& path, const Course& course, const Fault& fault) {
  if (fault.iterator == IteratorFailure::endsProcess) return tryEnding(path, course, fault);
  isolated(path, [&] {
    playHistory(path);
    Trial trial(fault);
    const Outcome observation = trial.run(worldWith(path, course, fault), callOf(path));
    const Prediction prediction = predict(path, course, fault);
    EXPECT_TRUE(trial.beganAs(course)) << "the calls before the fault differ from those without it";
    expectSame(prediction.outcome, observation);
    // The next host starts afresh; only the library remembers anything.
    World next = worldBefore(path);
    next.systemClassLoader = prediction.after.systemClassLoader;
    next.metadataLoaded = prediction.after.metadataLoaded;
    expectCourse(next, callOf(path));
  });
}

}  // namespace faults
