// The replaced allocation functions; the array and nothrow forms of the standard library end up here as well.
#include "allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace allocations {

static thread_local int untilFailure = 0;

void failAllocation(int number) { untilFailure = number; }

bool isFailurePending() { return untilFailure > 0; }

static void countDown() {
  if (untilFailure == 0) return;
  --untilFailure;
  if (untilFailure == 0) throw std::bad_alloc();
}

static void* allocate(std::size_t size) {
  countDown();
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

}  // namespace allocations

void* operator new(std::size_t size) { return allocations::allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
