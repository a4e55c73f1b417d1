// Compares registry entries as the library does; an entry counts under the first comparison that holds.
#include "tracing/recorder/scan.h"

#include <cstring>

namespace orva::tracing {

void Scan::open(const char* key, std::uint64_t time) {
  isOpen_ = true;
  key_ = key == nullptr ? "" : key;
  keyLength_ = std::strlen(key_);
  isQualified_ = std::strchr(key_, '.') != nullptr;
  shortName_ = "";
  begin_ = time;
  counts_ = ScanRecord{};
}

/// Tells whether a full name ends with a dot and the key.
bool Scan::isTail(const char* fullName) const {
  const std::uint64_t length = std::strlen(fullName);
  if (length <= keyLength_) return false;
  const char* const tail = fullName + (length - keyLength_);
  return tail[-1] == '.' && std::memcmp(tail, key_, keyLength_) == 0;
}

void Scan::keep(const char* name) {
  if (counts_.names == mostMatches) return;
  Match& match = matches_[counts_.names++];
  match.length = static_cast<std::uint32_t>(strnlen(name, sizeof match.name));
  std::memcpy(match.name, name, match.length);
}

/// Finds the counter for a match; null for an entry that does not match.
std::uint32_t* Scan::counterOf(const char* shortName, const char* fullName) {
  if (std::strcmp(fullName, key_) == 0) return &counts_.fullNames;
  if (isQualified_) return nullptr;
  if (std::strcmp(shortName, key_) == 0) return &counts_.shortNames;
  return isTail(fullName) ? &counts_.tails : nullptr;
}

void Scan::compare(const char* fullName) {
  const char* const shortName = shortName_ == nullptr ? "" : shortName_;
  if (fullName == nullptr) fullName = "";
  shortName_ = "";
  ++counts_.read;
  std::uint32_t* const counter = counterOf(shortName, fullName);
  if (counter == nullptr) return;
  ++*counter;
  keep(*fullName == '\0' ? shortName : fullName);
}

void Scan::close(std::uint64_t time, Payload& payload) {
  isOpen_ = false;
  counts_.duration = time - begin_;
  payload.clear();
  payload.putPart(counts_);
  payload.putText(key_);
  for (std::uint32_t i = 0; i < counts_.names; ++i) payload.putText(matches_[i].name, matches_[i].length);
}

}  // namespace orva::tracing
