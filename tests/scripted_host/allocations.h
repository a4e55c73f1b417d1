// A replaced `operator new` that fails on command.
#pragma once

#include <array>
#include <cstddef>
#include <functional>

namespace allocations {

/// Makes the `number`-th allocation from now on (1 is the next) throw `std::bad_alloc`; 0 cancels this.
void failAllocation(int number);

/// Tells whether a commanded failure has not happened yet.
bool isFailurePending();

/// While it lives, follows the library's allocations on this thread. Those in the host's turn are not the library's.
class Watch {
 public:
  /// @param fails says for each allocation whether it fails.
  explicit Watch(std::function<bool()> fails);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  /// Counts the blocks that were allocated and not freed.
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
