// How the kit runs a check: whatever the host does in the check's process, the kit reports it and continues.
#include "host_contract/examine.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>

#include "fault.h"
#include "hooks.h"
#include "host_contract/calls.h"
#include "runtime_api/reflection.h"
#include "tests/scripted_host/temporary_folder.h"

using orva::host_contract::Calling;
using orva::host_contract::Needs;
using orva::host_contract::NotRun;
using orva::host_contract::Outcome;
using orva::host_contract::Trial;
using orva::host_contract::Weight;

/// Runs a check of this test for `seconds` at most.
static Outcome examine(void (*run)(Trial&), int seconds = 60) {
  faulty_host::fault.clear();
  return orva::host_contract::examine({"room", "Check", Weight::required, Needs::nothing, "Because.", run},
                                      faulty_host::hooks(), seconds);
}

static void expectBroken(void (*run)(Trial&), const std::string& seen, int seconds = 60,
                         Outcome::Kind kind = Outcome::broken) {
  const Outcome outcome = examine(run, seconds);
  EXPECT_EQ(outcome.kind, kind);
  EXPECT_EQ(outcome.seen, seen);
}

TEST(Examine, ReportsHowACheckEnded) {
  EXPECT_EQ(examine([](Trial&) {}).kind, Outcome::held);
  expectBroken([](Trial&) { orva::host_contract::expect(false, "what was seen"); }, "what was seen");
  const Outcome notRun = examine([](Trial&) { throw NotRun{"a reason"}; });
  EXPECT_EQ(notRun.kind, Outcome::notRun);
  EXPECT_EQ(notRun.seen, "a reason");
}

TEST(Examine, ReportsWhatTheHostThrew) {
  expectBroken([](Trial&) { throw std::runtime_error("a text"); }, "the host threw a std::exception: a text");
  expectBroken([](Trial&) { throw 1; }, "the host threw something not derived from std::exception");
}

TEST(Examine, ReportsHowTheHostEndedTheProcess) {
  expectBroken([](Trial&) { std::abort(); }, "the host was ended by signal 6 (Aborted)");
  expectBroken([](Trial&) { _exit(3); }, "the host ended the process with status 3, or closed the kit's pipe");
}

TEST(Examine, EndsACheckAfterItsTimeAndReportsAHeldMutex) {
  expectBroken([](Trial&) { pause(); }, "not done after 1 s", 1, Outcome::hung);
  expectBroken(
      [](Trial&) {
        gReflectionMutex.lock();
        pause();
      },
      "not done after 1 s; gReflectionMutex is held", 1, Outcome::hung);
}

TEST(Examine, NamesTheCallsIntoTheHostThatDidNotReturn) {
  expectBroken(
      [](Trial&) {
        const Calling first("the first call");
        std::thread([] {
          const Calling second("the second call");
          {
            const Calling inner("one that has returned");
          }
          pause();
        }).join();
      },
      "not done after 1 s; the first call and the second call have not returned", 1, Outcome::hung);
  expectBroken(
      [](Trial&) {
        const Calling call("a call");
        std::abort();
      },
      "the host was ended by signal 6 (Aborted) in a call");
}

TEST(Examine, EndsTheHostsProcessesWithTheCheck) {
  // Every process of the check inherits the second end, so the first one closes only when all of them have ended.
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const Outcome outcome = examine([](Trial&) {
    if (fork() == 0) {
      for (;;) pause();
    }
  });
  EXPECT_EQ(outcome.kind, Outcome::held);
  close(ends[1]);
  pollfd gone{ends[0], POLLIN, 0};
  EXPECT_EQ(poll(&gone, 1, 10'000), 1) << "a process that the host started still runs";
  close(ends[0]);
}

/// The file in which a check leaves a message for its test; set before the check's process starts.
static std::string wordFile;

TEST(Examine, LeavesNoFolderBehind) {
  const TemporaryFolder files;
  wordFile = files.path("word");
  examine([](Trial& trial) {
    std::ofstream(trial.folder / "file") << "left";
    std::ofstream(wordFile) << trial.folder.string();
  });
  std::string folder;
  std::ifstream(wordFile) >> folder;
  EXPECT_FALSE(folder.empty());
  EXPECT_FALSE(std::filesystem::exists(folder)) << folder;
}
