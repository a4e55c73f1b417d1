// Runs two threads one at a time, in the order of a schedule.
#pragma once

#include <semaphore.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

/// Steps two threads, A and B, through one schedule, which has a letter for each step: the thread that runs. A step
/// ends when the thread calls the host. A thread that is about to lock the mutex cannot run while the other holds it.
class Stepper {
 public:
  /// @param schedule the letters of the first steps; after them A runs for as long as it can.
  explicit Stepper(std::string schedule);
  ~Stepper();
  Stepper(const Stepper&) = delete;
  Stepper& operator=(const Stepper&) = delete;

  /// Runs both to their ends. Ends the process if neither calls the host for too long.
  void run(const std::function<void()>& a, const std::function<void()>& b);

  /// Ends the calling thread's step, and returns when the schedule begins its next one. Does nothing on a thread that
  /// is not stepped.
  void pass();

  /// Does the same before the call that `line` records. Recognises the mutex's lock and unlock by their lines.
  void passAt(const std::string& line);

  /// Records a call that belongs to the current step.
  void record(const std::string& line);

  /// The calling thread: 0 for A, 1 for B, -1 for one that is not stepped.
  static int self();

  /// The letters of all steps.
  const std::string& schedule() const { return taken_; }

  /// For each step, whether the other thread could have run instead.
  const std::vector<bool>& branches() const { return branches_; }

  /// The calls of one thread.
  const std::vector<std::string>& calls(int thread) const {
    return threads_.at(static_cast<std::size_t>(thread)).calls;
  }

  /// A line that says what was wrong with the schedule, or with how the threads waited; empty if nothing was.
  const std::string& fault() const { return fault_; }

  /// Tells whether no thread can run, so that a lock must fail.
  bool isDeadlocked() const { return deadlocked_; }

 private:
  struct Thread {
    sem_t turn = {};
    std::string next;  // the line of the call with which its next step begins
    std::vector<std::string> calls;
    bool ended = false;
  };

  Thread& current() { return threads_.at(static_cast<std::size_t>(self())); }
  bool canRun(int thread) const;
  int scheduled();
  int choose();
  void end();
  void live(int thread, const std::function<void()>& work);
  void awaitEnd();

  std::string wanted_;
  std::string taken_;
  std::vector<bool> branches_;
  std::string fault_;
  std::array<Thread, 2> threads_;
  sem_t bothEnded_ = {};
  int mutexHolder_ = -1;
  bool deadlocked_ = false;
};
