// The replaced allocation functions. The array and nothrow forms of the standard library call these.
#include "tests/scripted_host/allocations.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "tests/scripted_host/hosts_turn.h"

namespace allocations {

using scripted::HostsTurn;

static thread_local int untilFailure = 0;
static thread_local Watch* watch = nullptr;

void failAllocation(int number) { untilFailure = number; }

bool isFailurePending() { return untilFailure > 0; }

Watch::Watch(std::function<bool()> fails) : fails_(std::move(fails)) { watch = this; }

Watch::~Watch() { watch = nullptr; }

bool Watch::fails() const {
  const HostsTurn turn;
  return fails_();
}

void Watch::add(void* block) {
  if (held_ == mostBlocks) {
    std::fputs("The watch cannot follow more blocks; increase mostBlocks.\n", stderr);
    std::abort();
  }
  blocks_[held_++] = block;
}

void Watch::remove(void* block) {
  void** const end = blocks_.data() + held_;
  void** const place = std::find(blocks_.data(), end, block);
  if (place == end) return;
  *place = *(end - 1);
  --held_;
}

static void countDown() {
  if (untilFailure == 0) return;
  --untilFailure;
  if (untilFailure == 0) throw std::bad_alloc();
}

static void* allocate(std::size_t size) {
  countDown();
  const bool watched = watch != nullptr && !HostsTurn::isNow();
  if (watched && watch->fails()) throw std::bad_alloc();
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  if (watched) watch->add(memory);
  return memory;
}

static void release(void* memory) {
  if (watch != nullptr) watch->remove(memory);
  std::free(memory);
}

}  // namespace allocations

void* operator new(std::size_t size) { return allocations::allocate(size); }
void operator delete(void* memory) noexcept { allocations::release(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { allocations::release(memory); }
