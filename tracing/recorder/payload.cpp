// Reads the values that hosts and the library pass each other, without the headers of a standard library: the recorder
// may be built with another one than the host.
#include "tracing/recorder/payload.h"

#include <algorithm>
#include <cstring>

namespace orva::tracing {

namespace {

constexpr std::uint32_t textAlignment = 4;

StringLayout stringLayout() { return orva_trace_exports.strings.load(std::memory_order_relaxed); }

template <typename Word = std::uint64_t>
Word wordAt(const void* place, std::size_t offset = 0) {
  Word word;
  std::memcpy(static_cast<void*>(&word), static_cast<const char*>(place) + offset, sizeof word);
  return word;
}

struct Text {
  const char* begin;
  std::uint64_t length;
};

Text llvmText(const void* string) {
  const auto first = wordAt<unsigned char>(string);
  const bool isLong = (first & 1) != 0;
  if (isLong) return {wordAt<const char*>(string, 16), wordAt(string, 8)};
  return {static_cast<const char*>(string) + 1, static_cast<std::uint64_t>(first >> 1)};
}

Text textOf(const void* string) {
  constexpr std::size_t lengthBeforeText = 24;
  if (stringLayout() == StringLayout::llvm) return llvmText(string);
  const auto* const begin = wordAt<const char*>(string);
  if (stringLayout() == StringLayout::gnu) return {begin, wordAt(string, 8)};
  return {begin, wordAt(begin - lengthBeforeText)};
}

std::size_t stringSize() {
  switch (stringLayout()) {
    case StringLayout::llvm: return 24;
    case StringLayout::gnuCountedReferences: return 8;
    default: return 32;
  }
}

}  // namespace

/// Puts a text and the zeros behind it. Where the compiler knows the longest text, it copies by an instruction that
/// takes longer to start than to copy a name, so the length must look like any other.
__attribute__((noinline)) void Payload::putPadded(const char* text, std::uint64_t length) {
  constexpr char zeros[textAlignment] = {};
  std::memcpy(bytes_ + size_, text, length);
  std::memcpy(bytes_ + size_ + length, zeros, sizeof zeros);
  size_ += static_cast<std::uint32_t>((length + textAlignment - 1) / textAlignment * textAlignment);
}

void Payload::putHead(StoredKind kind, std::uint64_t length, bool isCut, std::uint16_t elements) {
  putPart(StoredValue{kind, static_cast<std::uint8_t>(isCut), elements, static_cast<std::uint32_t>(length)});
}

void Payload::putNumber(StoredKind kind, std::int64_t number, std::uint16_t elements) {
  putHead(kind, sizeof number, false, elements);
  putPart(number);
}

void Payload::putPointer(const void* pointer) {
  if (pointer == nullptr) return putHead(StoredKind::null, 0, false, 0);
  putNumber(StoredKind::pointer, static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pointer)));
}

void Payload::putText(const char* text, std::uint64_t length, StoredKind kind) {
  const std::uint64_t kept = std::min<std::uint64_t>(length, longestText);
  if (sizeof(StoredValue) + kept + textAlignment > capacity - size_) return;
  putHead(kind, kept, kept < length, 0);
  putPadded(text, kept);
}

void Payload::putText(const char* text) {
  if (text == nullptr) return putPointer(nullptr);
  putText(text, strnlen(text, longestText + 1));
}

void Payload::putString(const void* string) {
  const Text text = textOf(string);
  putText(text.begin, text.length);
}

void Payload::putTexts(const void* vector) {
  const std::size_t offset = orva_trace_exports.vectorOffset.load(std::memory_order_relaxed);
  const auto* element = wordAt<const char*>(vector, offset);
  const auto* const end = wordAt<const char*>(vector, offset + sizeof element);
  const std::size_t size = stringSize();
  const std::size_t count = static_cast<std::size_t>(end - element) / size;
  const auto kept = static_cast<std::uint16_t>(std::min<std::size_t>(count, mostElements));
  putNumber(StoredKind::count, static_cast<std::int64_t>(count), kept);
  for (std::uint16_t i = 0; i < kept; ++i, element += size) putString(element);
}

void Payload::putView(std::uint64_t first, std::uint64_t second) {
  const bool isTextFirst = stringLayout() == StringLayout::llvm;
  const std::uint64_t text = isTextFirst ? first : second;
  putText(reinterpret_cast<const char*>(text), isTextFirst ? second : first);
}

void Payload::putShared(const void* pointer) { putPointer(wordAt<const void*>(pointer)); }

void Payload::putFunction(const void* function) {
  // libstdc++ keeps what manages the target, libc++ the target itself.
  const std::size_t offset = stringLayout() == StringLayout::llvm ? 32 : 16;
  putPointer(wordAt<const void*>(function, offset) == nullptr ? nullptr : function);
}

}  // namespace orva::tracing
