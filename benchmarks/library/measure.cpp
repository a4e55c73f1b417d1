#include "measure.h"

#include <atomic>
#include <cstdlib>
#include <new>

static std::atomic<std::size_t> allocations{0};
static std::atomic<std::size_t> bytes{0};

HeapUse heapUse() { return {allocations, bytes}; }

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  bytes.fetch_add(size, std::memory_order_relaxed);
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }
