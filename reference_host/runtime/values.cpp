// Keeps every value of the running program.
#include "reference_host/runtime/values.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <mutex>

#include "reference_host/runtime/address_space.h"
#include "reference_host/runtime/call_stack.h"

namespace orva::runtime {

namespace {

/// Hands out memory piece by piece from chunks that are never freed.
class Arena {
 public:
  void* allocate(std::size_t size, std::size_t alignment) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (size > largestShared) return newChunk(size) + 1;
    std::size_t gap = (alignment - reinterpret_cast<std::uintptr_t>(next_) % alignment) % alignment;
    if (gap + size > left_) {
      next_ = reinterpret_cast<char*>(newChunk(chunkSize) + 1);
      left_ = chunkSize;
      gap = 0;
    }
    void* const place = next_ + gap;
    next_ += gap + size;
    left_ -= gap + size;
    return place;
  }

 private:
  /// The beginning of each chunk. The chunks form a list, so that all of them stay reachable.
  struct alignas(std::max_align_t) Chunk {
    Chunk* previous;
  };
  static constexpr std::size_t chunkSize = std::size_t{64} * 1024;
  static constexpr std::size_t largestShared = chunkSize / 8;

  Chunk* newChunk(std::size_t size) {
    chunks_ = new (::operator new(sizeof(Chunk) + size)) Chunk{chunks_};
    return chunks_;
  }

  std::mutex mutex_;
  Chunk* chunks_ = nullptr;
  char* next_ = nullptr;
  std::size_t left_ = 0;
};

/// A share of the address space that is kept in reserve.
class Kept {
 public:
  void release() {
    void* const addresses = addresses_.exchange(nullptr);
    if (addresses != nullptr) munmap(addresses, size_);
  }

 private:
  static constexpr std::size_t share = 8;

  const std::size_t size_ = remainingAddresses(share * 16 * mebibyte) / share;
  std::atomic<void*> addresses_{reserveAddresses(size_)};
};

/// All that values need.
struct Memory {
  Arena arena;
  Kept forHandlers;
  Kept forReport;
};

}  // namespace

/// Never destroyed: threads may still run while the process ends. It needs no allocation.
static Memory& memory() {
  alignas(Memory) static std::array<std::byte, sizeof(Memory)> room;
  static auto* const only = new (room.data()) Memory();
  return *only;
}

OutOfMemory::OutOfMemory(const char* kind, std::size_t count, const char* units) noexcept : text_{} {
  std::snprintf(text_.data(), text_.size(), "Out of memory: no room for a %s of %zu %s", kind, count, units);
}

void* newBytes(std::size_t size, std::size_t alignment, const char* kind) {
  try {
    return memory().arena.allocate(size, alignment);
  } catch (const std::bad_alloc&) {
    throw OutOfMemory(kind, size, "bytes");
  }
}

const char* newText(std::string_view text) { return newText(text, {}); }

const char* newText(std::string_view left, std::string_view right) {
  const std::size_t size = left.size() + right.size();
  auto* const text = static_cast<char*>(newBytes(size + 1, 1, "text"));
  std::copy(left.begin(), left.end(), text);
  std::copy(right.begin(), right.end(), text + left.size());
  text[size] = '\0';
  return text;
}

ArrayList* newList() { return new (newBytes(sizeof(ArrayList), alignof(ArrayList), "list")) ArrayList(); }

void addElement(ArrayList& list, const char* element) {
  try {
    list.elements.push_back(element);
  } catch (const std::bad_alloc&) {
    throw OutOfMemory("list", list.elements.size() + 1, "elements");
  }
}

Object* newObject(const Type& type) {
  auto* const object = newValue<Object>();
  object->type = &type;
  return object;
}

Exception* newException(std::string_view className, std::string_view message, const SourceLocation* location) {
  auto* const exception = newValue<Exception>();
  *exception = {newText(className), newText(message), location, nullptr};
  if (placesInTrace() == 0) return exception;
  auto* const trace = newValue<CallTrace>();
  *trace = traceOf(location, newValues<Place>(placesInTrace()));
  exception->trace = trace;
  return exception;
}

namespace {

/// An exception with its own storage.
struct LastException {
  Exception* fill(const char* message, const SourceLocation* location) noexcept {
    std::snprintf(text.data(), text.size(), "%s", message);
    trace = traceOf(location, places.data());
    exception = {"Exception", text.data(), location, &trace};
    return &exception;
  }

  Exception exception;
  std::array<char, sizeof(OutOfMemory)> text;
  CallTrace trace;
  std::array<Place, mostPlacesInTrace> places;
};

}  // namespace

Exception* newMemoryException(const std::bad_alloc& failure, const SourceLocation* location) noexcept {
  static thread_local LastException last;
  release(Reserve::handlers);
  const auto* detailed = dynamic_cast<const OutOfMemory*>(&failure);
  const char* const message = detailed != nullptr ? detailed->what() : "Out of memory";
  try {
    return newException("Exception", message, location);
  } catch (const std::bad_alloc&) {
    return last.fill(message, location);
  }
}

void release(Reserve reserve) noexcept {
  (reserve == Reserve::handlers ? memory().forHandlers : memory().forReport).release();
}

}  // namespace orva::runtime
