// Runs jobs on all cores.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

namespace orva::compiler {

/// Runs each of several jobs once, starting them in order. If no thread can be started, the caller's is enough.
class Workers {
 public:
  /// @param job does the job with a number below `count`, on any thread; must not throw.
  Workers(std::size_t count, std::function<void(std::size_t)> job);

  /// Starts no further job, and waits for those that are running.
  ~Workers();
  Workers(const Workers&) = delete;
  Workers& operator=(const Workers&) = delete;

  /// Does the next job on this thread.
  /// @return false when all have been started.
  bool doNext();

 private:
  const std::size_t count_;
  const std::function<void(std::size_t)> job_;
  std::atomic<std::size_t> next_{0};
  std::vector<std::thread> threads_;
};

}  // namespace orva::compiler
