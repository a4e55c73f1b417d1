// A replaced `operator new` that fails on command.
#pragma once

#include <array>
#include <cstddef>
#include <functional>

namespace allocations {

/// Makes the `number`-th allocation from now on (1 is the next) throw `std::bad_alloc`; 0 takes the command back.
void failAllocation(int number);

/// Tells whether a commanded failure has not happened yet.
bool isFailurePending();

/// Follows the allocations that the library makes on this thread while it lives; those made in the host's turn are
/// the host's own.
class Watch {
 public:
  /// @param fails asked at each allocation whether it is to fail.
  explicit Watch(std::function<bool()> fails);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// Counts the blocks that were allocated and not freed since.
  std::size_t held() const { return held_; }

  // For the allocation functions.
  bool fails() const;
  void add(void* block);
  void remove(void* block);

 private:
  static constexpr std::size_t mostBlocks = 1024;

  std::function<bool()> fails_;
  std::array<void*, mostBlocks> blocks_{};
  std::size_t held_ = 0;
};

}  // namespace allocations
