// Writes files of events like those that a process records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tracing/calls/calls.h"
#include "tracing/events/event_file.h"

namespace orva::tracing {

/// The values of a record, one after another.
class Payload {
 public:
  Payload& null() { return value(StoredKind::null, {}); }
  Payload& integer(std::int64_t number) { return numeric(StoredKind::integer, number); }
  Payload& truth(bool isTrue) { return numeric(StoredKind::truth, isTrue ? 1 : 0); }
  Payload& pointer(std::int64_t address) { return numeric(StoredKind::pointer, address); }
  Payload& text(std::string_view content, bool isCut = false) { return value(StoredKind::text, content, isCut); }
  Payload& typeName(std::string_view mangled) { return value(StoredKind::typeName, mangled); }

  /// A list, of which only the first texts are recorded.
  Payload& list(std::int64_t count, const std::vector<std::string>& texts) {
    numeric(StoredKind::count, count, static_cast<std::uint16_t>(texts.size()));
    for (const std::string& each : texts) text(each);
    return *this;
  }

  /// The bytes of a structure or a number, without a head.
  template <typename Type>
  Payload& raw(const Type& bytesOf) {
    bytes.append(reinterpret_cast<const char*>(&bytesOf), sizeof bytesOf);
    return *this;
  }

  Payload& append(const Payload& other) {
    bytes += other.bytes;
    return *this;
  }

  std::string bytes;

 private:
  Payload& value(StoredKind kind, std::string_view content, bool isCut = false, std::uint16_t elements = 0) {
    raw(StoredValue{kind, static_cast<std::uint8_t>(isCut ? 1 : 0), elements,
                    static_cast<std::uint32_t>(content.size())});
    bytes += content;
    bytes.append((4 - content.size() % 4) % 4, '\0');
    return *this;
  }
  Payload& numeric(StoredKind kind, std::int64_t number, std::uint16_t elements = 0) {
    return value(kind, {reinterpret_cast<const char*>(&number), sizeof number}, false, elements);
  }
};

/// Writes records, each with the time that was set last.
class EventWriter {
 public:
  static constexpr std::uint64_t startTime = 5'000'000'000;

  explicit EventWriter(std::uint32_t process = 4711, std::uint32_t parent = 4000) {
    bytes.resize(sizeof(FileHeader));
    header(offsetof(FileHeader, magic), fileMagic);
    header(offsetof(FileHeader, version), fileVersion);
    header(offsetof(FileHeader, headerSize), static_cast<std::uint32_t>(sizeof(FileHeader)));
    header(offsetof(FileHeader, limit), usualLimit);
    header(offsetof(FileHeader, startTime), startTime);
    header(offsetof(FileHeader, startOfDay), std::uint64_t{1'700'000'000'000'000'000});
    header(offsetof(FileHeader, process), process);
    header(offsetof(FileHeader, parent), parent);
    header(offsetof(FileHeader, attached), static_cast<std::uint32_t>(Attached::audit));
  }

  template <typename Number>
  void header(std::size_t offset, Number number) {
    std::memcpy(bytes.data() + offset, &number, sizeof number);
  }

  /// The time of the records that follow, in nanoseconds after the start.
  EventWriter& at(std::uint64_t nanoseconds) {
    time = nanoseconds;
    return *this;
  }
  /// The thread of the records that follow.
  EventWriter& in(std::uint32_t number) {
    thread = number;
    return *this;
  }

  EventWriter& begin(CallId call, std::uint16_t depth, const Payload& arguments = {}) {
    return record(RecordKind::begin, call, depth, Payload().raw(CallRecord{}).append(arguments));
  }
  /// A call whose end is in its first record. Its results have room for 16 bytes.
  EventWriter& complete(CallId call, std::uint16_t depth, std::uint64_t duration, const Payload& results = {},
                        const Payload& arguments = {}) {
    CallRecord made;
    made.duration = duration;
    if (results.bytes.size() > sizeof made.values)
      throw std::length_error("A first record has no room for these results");
    std::memcpy(made.values, results.bytes.data(), results.bytes.size());
    return record(RecordKind::begin, call, depth, Payload().raw(made).append(arguments));
  }
  EventWriter& returned(CallId call, std::uint16_t depth, const Payload& results = {}) {
    return record(RecordKind::returned, call, depth, results);
  }
  EventWriter& threw(CallId call, std::uint16_t depth, const Payload& type = {}) {
    return record(RecordKind::threw, call, depth, type);
  }
  EventWriter& jumped(CallId call, std::uint16_t depth) { return record(RecordKind::jumped, call, depth, {}); }

  EventWriter& scan(std::uint16_t depth, const ScanRecord& scan, std::string_view key,
                    const std::vector<std::string>& names = {}) {
    Payload payload;
    payload.raw(scan).text(key);
    for (const std::string& name : names) payload.text(name);
    return record(RecordKind::scan, CallId{}, depth, payload);
  }
  EventWriter& scanBegins(std::uint16_t depth) { return record(RecordKind::scan, CallId{}, depth, {}); }
  EventWriter& lock(std::uint16_t depth, std::uint64_t waited, std::uint64_t held) {
    return record(RecordKind::lock, CallId{}, depth, Payload().raw(LockRecord{waited, held}));
  }
  EventWriter& threadNamed(std::string_view name, std::uint32_t process, std::uint32_t id) {
    return record(RecordKind::thread, CallId{}, 0, Payload().raw(ThreadRecord{process, id}).text(name));
  }
  EventWriter& program(const std::vector<std::string>& pathFolderAndArguments) {
    Payload payload;
    for (const std::string& text : pathFolderAndArguments) payload.text(text);
    return record(RecordKind::program, CallId{}, 0, payload);
  }

  EventWriter& record(RecordKind kind, CallId call, std::uint16_t depth, const Payload& payload) {
    const std::size_t size = (sizeof(Record) + payload.bytes.size() + 7) / 8 * 8;
    const std::size_t begin = bytes.size();
    bytes.resize(begin + size);
    const auto put = [&](std::size_t offset, auto number) {
      std::memcpy(bytes.data() + begin + offset, &number, sizeof number);
    };
    put(offsetof(Record, size), static_cast<std::uint32_t>(size));
    put(offsetof(Record, kind), kind);
    put(offsetof(Record, thread), thread);
    put(offsetof(Record, call), call);
    put(offsetof(Record, depth), depth);
    put(offsetof(Record, time), startTime + time);
    std::memcpy(bytes.data() + begin + sizeof(Record), payload.bytes.data(), payload.bytes.size());
    header(offsetof(FileHeader, end), std::uint64_t{bytes.size()});
    return *this;
  }

  /// Space that was claimed but not written.
  EventWriter& unwritten(std::size_t size) {
    bytes.resize(bytes.size() + size);
    header(offsetof(FileHeader, end), std::uint64_t{bytes.size()});
    return *this;
  }

  /// Writes the file and returns its path.
  std::string save(const std::string& path) const {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
  }

  std::string bytes;

 private:
  std::uint64_t time = 0;
  std::uint32_t thread = 1;
};

}  // namespace orva::tracing
