// Runs all schedules: after each, the next one changes the last free choice of A into B.
#include "schedules.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <iostream>
#include <sstream>

#include "command_line.h"

namespace {

/// The result of one schedule. `fault` is empty if nothing went wrong.
struct Execution {
  std::string schedule;
  std::string next;  // the first letters of the next schedule; empty when this was the last
  std::string outcome;
  std::string fault;
  std::string calls;
};

/// Prints the number of all schedules at the end of a run.
class Total : public testing::Environment {
 public:
  void add(std::size_t schedules) { schedules_ += schedules; }
  void TearDown() override { std::cout << "[SCHEDULES ] " << schedules_ << " in all\n"; }

 private:
  std::size_t schedules_ = 0;
};

}  // namespace

static Total& total = *static_cast<Total*>(testing::AddGlobalTestEnvironment(new Total));

static std::string nextAfter(const Stepper& stepper) {
  const std::string& schedule = stepper.schedule();
  for (std::size_t step = schedule.size(); step-- > 0;) {
    if (stepper.branches()[step] && schedule[step] == 'A') return schedule.substr(0, step) + 'B';
  }
  return "";
}

/// Returns the words of the path that a thread took. If it took none, adds its calls to the fault.
static std::string wordsOf(const Side& side, const std::vector<std::string>& calls, const std::string& ending,
                           std::string& fault) {
  for (const Path& path : side.paths) {
    if (path.calls == calls && path.ending == ending) return path.words;
  }
  fault += "not one of the allowed paths:\n" + scripted::joined(calls) + "and then: " + ending + "\n";
  return "takes an unknown path";
}

static std::string listing(const Stepper& stepper, const std::array<std::string, 2>& endings) {
  std::string text;
  for (const int thread : {0, 1}) {
    text += thread == 0 ? "thread A:\n" : "thread B:\n";
    for (const std::string& line : stepper.calls(thread)) text += "  " + line + '\n';
    text += "  and then: " + endings.at(static_cast<std::size_t>(thread)) + '\n';
  }
  return text;
}

static std::function<void()> calling(const Side& side, const SteppedHost& host, std::string& ending) {
  return [&] {
    try {
      ending = side.call(host);
    } catch (...) {
      ending = "something was thrown";
    }
  };
}

static Execution execute(const Pair& pair, const std::string& prefix) {
  Stepper stepper(prefix);
  SteppedHost host(stepper);
  pair.world(host);
  std::array<std::string, 2> endings;
  stepper.run(calling(pair.a, host, endings[0]), calling(pair.b, host, endings[1]));
  Execution done{stepper.schedule(), nextAfter(stepper), "", stepper.fault(), listing(stepper, endings)};
  done.outcome = "A " + wordsOf(pair.a, stepper.calls(0), endings[0], done.fault) + ". B " +
                 wordsOf(pair.b, stepper.calls(1), endings[1], done.fault) + ". " + pair.leaves(host) + '.';
  scripted::host().takeCalls();
  return done;
}

/// Packs the fields into one text, each after its length, so that the child can send them.
static std::string packed(const Execution& done) {
  std::ostringstream text;
  for (const std::string& field : {done.schedule, done.next, done.outcome, done.fault, done.calls}) {
    text << field.size() << ' ' << field;
  }
  return text.str();
}

static Execution unpacked(const std::string& packedText) {
  std::istringstream text(packedText);
  Execution done;
  for (std::string* field : {&done.schedule, &done.next, &done.outcome, &done.fault, &done.calls}) {
    std::size_t size = 0;
    text >> size;
    text.ignore();
    field->resize(size);
    text.read(field->data(), static_cast<std::streamsize>(size));
  }
  return done;
}

static std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 4096> bytes = {};
  for (ssize_t count = 0; (count = read(descriptor, bytes.data(), bytes.size())) > 0;) {
    text.append(bytes.data(), static_cast<std::size_t>(count));
  }
  return text;
}

/// Executes in a child process. Its report fits into a pipe, so the child never waits for its reader.
static Execution executeInOwnProcess(const Pair& pair, const std::string& prefix) {
  std::array<int, 2> ends = {};
  if (pipe(ends.data()) != 0) return {prefix, "", "", "cannot create a pipe", ""};
  const int status = scripted::statusOfOwnProcess([&] {
    const std::string report = packed(execute(pair, prefix));
    EXPECT_EQ(static_cast<ssize_t>(report.size()), write(ends[1], report.data(), report.size()));
  });
  close(ends[1]);
  Execution done = unpacked(readAll(ends[0]));
  close(ends[0]);
  if (status != 0) done.fault += "the schedule's process ended with status " + std::to_string(status) + '\n';
  // If the process could not report, the first letters are enough to run its schedule again.
  if (done.schedule.empty()) done.schedule = prefix.empty() ? "A" : prefix;
  return done;
}

static Execution run(const Pair& pair, const std::string& prefix) {
  Execution done = pair.inOwnProcess ? executeInOwnProcess(pair, prefix) : execute(pair, prefix);
  if (testing::Test::HasFailure()) done.fault += "the host refused a call, see above\n";
  return done;
}

/// Describes one schedule, and how to run it again.
static std::string report(const Execution& done) {
  return "schedule " + done.schedule + ": " + done.outcome + '\n' + done.calls + "again: " + commandFor(done.schedule);
}

static std::string joined(const std::set<std::string>& lines) {
  return scripted::joined(std::vector<std::string>(lines.begin(), lines.end()));
}

/// Fails the test for a schedule that went wrong.
/// @return whether it went right.
static bool isRight(const Execution& done, const std::set<std::string>& outcomes) {
  const bool isExpected = outcomes.count(done.outcome) > 0;
  if (isExpected && done.fault.empty()) return true;
  ADD_FAILURE() << done.fault << (isExpected ? "" : "an outcome that is not allowed\n") << report(done);
  return false;
}

static void expectAll(const Pair& pair, std::size_t schedules, const std::set<std::string>& outcomes) {
  std::set<std::string> seen;
  std::size_t count = 0;
  std::string prefix;
  do {
    const Execution done = run(pair, prefix);
    ++count;
    if (!isRight(done, outcomes)) return;
    seen.insert(done.outcome);
    prefix = done.next;
  } while (!prefix.empty());
  if (pair.isInTotal) total.add(count);
  std::cout << "[SCHEDULES ] " << count << ", outcomes " << seen.size() << '\n';
  EXPECT_EQ(joined(outcomes), joined(seen)) << "an outcome that no schedule has";
  EXPECT_EQ(schedules, count);
}

void expectOutcomes(const Pair& pair, std::size_t schedules, const std::set<std::string>& outcomes) {
  const std::string& only = scheduleOnCommandLine();
  if (only.empty()) return expectAll(pair, schedules, outcomes);
  const Execution done = run(pair, only);
  if (isRight(done, outcomes)) std::cout << report(done) << '\n';
}
