// One reading of the registry: its calls are counted and compared here, so that a scan of thousands of entries is one
// record.
#pragma once

#include <cstdint>

#include "tracing/events/event_file.h"
#include "tracing/recorder/payload.h"

namespace orva::tracing {

class Scan {
 public:
  bool isOpen() const { return isOpen_; }
  std::uint64_t begin() const { return begin_; }

  /// @param key the name that is looked for, which stays valid until the scan ends; may be null.
  void open(const char* key, std::uint64_t time);
  void setCount(std::int32_t count) { counts_.count = count; }
  void setShortName(const char* name) { shortName_ = name; }
  /// Compares an entry, whose short name was set before.
  void compare(const char* fullName);
  /// Ends the scan, and puts the contents of its record.
  void close(std::uint64_t time, Payload& payload);

 private:
  bool isTail(const char* fullName) const;
  std::uint32_t* counterOf(const char* shortName, const char* fullName);
  void keep(const char* name);

  bool isOpen_;
  bool isQualified_;
  const char* key_;
  std::uint64_t keyLength_;
  const char* shortName_;
  std::uint64_t begin_;
  ScanRecord counts_;
  // Copied, because a name stays valid only until the host is called again.
  struct Match {
    std::uint32_t length;
    char name[longestText + 1];
  } matches_[mostMatches];
};

}  // namespace orva::tracing
