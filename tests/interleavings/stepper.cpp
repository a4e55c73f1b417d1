// Passes the turn from thread to thread.
#include "stepper.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <utility>

#include "command_line.h"

static thread_local int selfNumber = -1;

static constexpr int patienceInSeconds = 30;

static const char* const lockCall = "lock(gReflectionMutex)";
static const char* const unlockCall = "unlock(gReflectionMutex)";

static char letterOf(int thread) { return thread == 0 ? 'A' : 'B'; }

static void wait(sem_t& semaphore) {
  while (sem_wait(&semaphore) != 0) {
  }
}

Stepper::Stepper(std::string schedule) : wanted_(std::move(schedule)) {
  for (Thread& thread : threads_) sem_init(&thread.turn, 0, 0);
  sem_init(&bothEnded_, 0, 0);
}

Stepper::~Stepper() {
  for (Thread& thread : threads_) sem_destroy(&thread.turn);
  sem_destroy(&bothEnded_);
}

int Stepper::self() { return selfNumber; }

void Stepper::run(const std::function<void()>& a, const std::function<void()>& b) {
  std::thread threadA([&] { live(0, a); });
  std::thread threadB([&] { live(1, b); });
  sem_post(&threads_.at(static_cast<std::size_t>(choose())).turn);
  awaitEnd();
  threadA.join();
  threadB.join();
}

void Stepper::live(int thread, const std::function<void()>& work) {
  selfNumber = thread;
  wait(current().turn);
  work();
  end();
}

void Stepper::pass() {
  if (self() < 0) return;
  const int next = choose();
  if (next == self()) return;
  sem_post(&threads_.at(static_cast<std::size_t>(next)).turn);
  wait(current().turn);
}

void Stepper::passAt(const std::string& line) {
  if (self() < 0) return;
  current().next = line;
  pass();
  current().next.clear();
  if (line == lockCall && !deadlocked_) mutexHolder_ = self();
  if (line == unlockCall) mutexHolder_ = -1;
  record(line);
}

void Stepper::record(const std::string& line) {
  if (self() >= 0) current().calls.push_back(line);
}

void Stepper::end() {
  current().ended = true;
  if (threads_[0].ended && threads_[1].ended) {
    sem_post(&bothEnded_);
  } else {
    sem_post(&threads_.at(static_cast<std::size_t>(choose())).turn);
  }
}

bool Stepper::canRun(int thread) const {
  const Thread& asked = threads_.at(static_cast<std::size_t>(thread));
  return !asked.ended && (asked.next != lockCall || mutexHolder_ < 0 || deadlocked_);
}

/// Returns the thread that the schedule names for the next step, or, if that one cannot run, one that can.
int Stepper::scheduled() {
  const int first = canRun(0) ? 0 : 1;
  if (taken_.size() >= wanted_.size()) return first;
  const int named = wanted_[taken_.size()] == 'A' ? 0 : 1;
  if (canRun(named)) return named;
  const bool ended = threads_.at(static_cast<std::size_t>(named)).ended;
  fault_ = "the schedule does not fit: its step " + std::to_string(taken_.size() + 1) + " is for " + letterOf(named) +
           ", which " + (ended ? "has ended" : "waits for the mutex") + '\n';
  return first;
}

int Stepper::choose() {
  if (!canRun(0) && !canRun(1)) {
    fault_ = "a deadlock: no thread can continue\n";
    deadlocked_ = true;
  }
  const int thread = scheduled();
  branches_.push_back(canRun(0) && canRun(1));
  taken_ += letterOf(thread);
  return thread;
}

/// Ends the process after a while, because a thread that waits for anything but its turn would block both forever.
void Stepper::awaitEnd() {
  timespec deadline = {};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += patienceInSeconds;
  while (sem_clockwait(&bothEnded_, CLOCK_MONOTONIC, &deadline) != 0) {
    if (errno != ETIMEDOUT) continue;
    std::fprintf(stderr, "a thread neither ends nor calls the host\nagain: %s\n", commandFor(taken_).c_str());
    std::_Exit(EXIT_FAILURE);
  }
}
