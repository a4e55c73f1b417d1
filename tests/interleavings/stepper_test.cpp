// The stepper itself: it follows a schedule, knows which steps have an alternative, and sees who waits.
#include "stepper.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

static const std::string lockCall = "lock(gReflectionMutex)";
static const std::string unlockCall = "unlock(gReflectionMutex)";

TEST(Steppers, FollowASchedule) {
  for (const std::string& schedule : std::vector<std::string>{"AAABBB", "BBBAAA", "ABABAB", "BAABAB"}) {
    Stepper stepper(schedule);
    std::string order;
    const auto work = [&] {
      const char letter = Stepper::self() == 0 ? 'A' : 'B';
      order += letter;
      stepper.passAt("one");
      order += letter;
      stepper.passAt("two");
      order += letter;
    };
    stepper.run(work, work);
    EXPECT_EQ("", stepper.fault());
    EXPECT_EQ(schedule, stepper.schedule());
    EXPECT_EQ(schedule, order);
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), stepper.calls(0));
    EXPECT_EQ((std::vector<std::string>{"one", "two"}), stepper.calls(1));
  }
}

TEST(Steppers, LetAContinueAfterTheSchedule) {
  Stepper stepper("B");
  const auto work = [&] { stepper.passAt("call"); };
  stepper.run(work, work);
  EXPECT_EQ("BAAB", stepper.schedule());
  EXPECT_EQ((std::vector<bool>{true, true, true, false}), stepper.branches());
}

TEST(Steppers, KeepAThreadWaitingForTheMutex) {
  Stepper stepper("ABA");
  const auto work = [&] {
    stepper.passAt(lockCall);
    stepper.passAt(unlockCall);
  };
  stepper.run(work, work);
  EXPECT_EQ("", stepper.fault());
  EXPECT_EQ("ABAABB", stepper.schedule());
  EXPECT_EQ((std::vector<bool>{true, true, true, false, false, false}), stepper.branches());
}

TEST(Steppers, ReportTheStepAtWhichAScheduleDoesNotFit) {
  Stepper waiting("ABAB");
  const auto locking = [&] {
    waiting.passAt(lockCall);
    waiting.passAt(unlockCall);
  };
  waiting.run(locking, locking);
  EXPECT_EQ("the schedule does not fit: its step 4 is for B, which waits for the mutex\n", waiting.fault());
  Stepper ended("AA");
  ended.run([] {}, [] {});
  EXPECT_EQ("the schedule does not fit: its step 2 is for A, which has ended\n", ended.fault());
}

TEST(Steppers, SeeADeadlock) {
  Stepper stepper("AB");
  bool failed = false;
  const auto lockTwice = [&] {
    stepper.passAt(lockCall);
    EXPECT_FALSE(stepper.isDeadlocked());
    stepper.passAt(lockCall);
    failed = stepper.isDeadlocked();
  };
  stepper.run(lockTwice, [] {});
  EXPECT_EQ("a deadlock: no thread can continue\n", stepper.fault());
  EXPECT_TRUE(failed);
}
