// Writes records into the file of this process. Nothing here throws, ends the program or is a cancellation point; a
// failure ends the recording.
#pragma once

#include <cstdint>

#include "tracing/events/event_file.h"

namespace orva::tracing {

/// Tells whether this process is one of those that record, as `processVariable` had it when recording started.
bool mayRecord();

/// Makes this process's file in the folder that the environment names.
/// @return its header; null if no folder is named, no file can be made, or this process may not record.
FileHeader* createEventFile();

/// The beginning of every record.
struct RecordHead {
  RecordKind kind;
  std::uint32_t thread;
  std::uint16_t call;
  std::uint16_t depth;
  std::uint64_t time;
};

/// Appends a record.
/// @return its payload in the file; null when recording has stopped.
void* writeRecord(const RecordHead& head, const void* payload, std::uint32_t size);

inline bool isStopped(const FileHeader& header) { return header.stopped.load(std::memory_order_relaxed) != 0; }

}  // namespace orva::tracing
