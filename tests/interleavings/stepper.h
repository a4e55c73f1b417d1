// Runs two threads so that only one goes on at a time, and lets a schedule say which.
#pragma once

#include <semaphore.h>

#include <array>
#include <functional>
#include <string>
#include <vector>

/// Steps two threads, A and B, through one schedule: a letter for each step, the thread that goes on. A step ends where
/// the thread calls into the host. A thread that is about to lock the mutex cannot go on while the other holds it.
class Stepper {
 public:
  /// @param schedule the letters of the first steps; after them A goes on for as long as it can.
  explicit Stepper(std::string schedule);
  ~Stepper();
  Stepper(const Stepper&) = delete;
  Stepper& operator=(const Stepper&) = delete;

  /// Runs both to their ends. Ends the process when neither calls into the host for too long.
  void run(const std::function<void()>& a, const std::function<void()>& b);

  /// Ends the step of the calling thread, and begins its next one when the schedule says so. Does nothing on a thread
  /// that is not stepped.
  void pass();

  /// Does the same before the call that `line` records; knows the mutex's lock and unlock by their lines.
  void passAt(const std::string& line);

  /// Records a call that goes on with the step before.
  void record(const std::string& line);

  /// The calling thread: 0 for A, 1 for B, -1 for one that is not stepped.
  static int self();

  /// The letters of all steps.
  const std::string& schedule() const { return taken_; }

  /// For each step, whether the other thread could have gone on as well.
  const std::vector<bool>& branches() const { return branches_; }

  /// The calls of one thread.
  const std::vector<std::string>& calls(int thread) const {
    return threads_.at(static_cast<std::size_t>(thread)).calls;
  }

  /// A line on what was wrong with the schedule, or with how the threads waited; empty when nothing was.
  const std::string& fault() const { return fault_; }

  /// Tells whether both threads wait for the mutex, so that a lock must fail.
  bool isDeadlocked() const { return deadlocked_; }

 private:
  struct Thread {
    sem_t turn = {};
    std::string next;  // the line of the call that its next step begins with
    std::vector<std::string> calls;
    bool ended = false;
  };

  Thread& current() { return threads_.at(static_cast<std::size_t>(self())); }
  bool canGoOn(int thread) const;
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
