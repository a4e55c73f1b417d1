// The values of a record, collected before the record claims its room, because the host's data may change meanwhile.
#pragma once

#include <cstdint>
#include <cstring>

#include "tracing/recorder/exports.h"

namespace orva::tracing {

class Payload {
 public:
  void clear() { size_ = 0; }
  const char* data() const { return bytes_; }
  std::uint32_t size() const { return size_; }

  /// Puts the fixed part of a record ahead of its values.
  template <typename Part>
  void putPart(const Part& part) {
    if (sizeof part > capacity - size_) return;
    std::memcpy(bytes_ + size_, &part, sizeof part);
    size_ += static_cast<std::uint32_t>(sizeof part);
  }

  void putNumber(StoredKind kind, std::int64_t number, std::uint16_t elements = 0);
  /// A null pointer is stored as such.
  void putPointer(const void* pointer);
  void putText(const char* text, std::uint64_t length, StoredKind kind = StoredKind::text);
  /// A C string, or null.
  void putText(const char* text);

  /// Puts a `std::string`, wherever the standard library of the host keeps its text.
  void putString(const void* string);
  /// Puts a `std::vector<std::string>`: its size, then the first elements.
  void putTexts(const void* vector);
  /// Puts a `std::string_view` as its two registers hold it.
  void putView(std::uint64_t first, std::uint64_t second);
  /// Puts a `std::shared_ptr` as the pointer that it holds.
  void putShared(const void* pointer);
  /// Puts a `std::function` as null, or as its own address when it is not empty.
  void putFunction(const void* function);

 private:
  void putPadded(const char* text, std::uint64_t length);
  void putHead(StoredKind kind, std::uint64_t length, bool isCut, std::uint16_t elements);

  // Two lists of the longest texts need half of it.
  static constexpr std::uint32_t capacity = 1U << 16;
  std::uint32_t size_;
  char bytes_[capacity];
};

}  // namespace orva::tracing
