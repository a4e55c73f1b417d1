// The file that a traced process writes and `orva-trace` reads. The process maps it into memory, so that its finished
// records survive whatever ends it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace orva::tracing {

constexpr std::uint64_t fileMagic = 0x3165636172545652ULL;
constexpr std::uint32_t fileVersion = 2;

/// Where the file of each process is: a folder, by its absolute path. A process takes the first name that is free of
/// PID-0.events, PID-1.events, …. A file that is empty, or zero throughout, has no header: there was no room for it, or
/// the process ended first.
constexpr const char* folderVariable = "ORVA_TRACE_FOLDER";
/// The most bytes that one process may write, in decimal; without it `usualLimit`.
constexpr const char* limitVariable = "ORVA_TRACE_LIMIT";
constexpr std::uint64_t usualLimit = std::uint64_t{256} << 20;
/// The number of the only process that records, in decimal; without it, each process that has the folder in its
/// environment records. A child that a process forks has another number, so it records nothing.
constexpr const char* processVariable = "ORVA_TRACE_PROCESS";

/// Why recording ended before the process did.
enum class Stopped : std::uint32_t {
  no,
  limit,   ///< `FileHeader::limit` is reached
  failed,  ///< no more room could be made; the error number is `FileHeader::error`
};

/// How the calls are caught.
enum class Attached : std::uint32_t {
  notYet,  ///< no class-loading library was loaded
  audit,   ///< the dynamic linker redirects the calls of a shared library
  linked,  ///< the program has the traced library in it
};

/// Numbers are stored as the writing machine has them; times are nanoseconds of CLOCK_MONOTONIC.
struct FileHeader {
  std::uint64_t magic;  ///< written last of all that does not change
  std::uint32_t version;
  std::uint32_t headerSize;  ///< where the first record begins
  std::uint64_t limit;
  std::uint64_t startTime;
  std::uint64_t startOfDay;  ///< the same moment in nanoseconds since 1970
  std::uint32_t process;
  std::uint32_t parent;
  std::atomic<std::uint64_t> end;       ///< where the next record begins; may be beyond the file when recording stopped
  std::atomic<std::uint64_t> reserved;  ///< how many bytes of the file have room on the disk
  std::atomic<std::uint32_t> stopped;   ///< a `Stopped`
  std::atomic<std::uint32_t> error;
  std::atomic<std::uint32_t> attached;   ///< an `Attached`
  std::atomic<std::uint32_t> unseen;     ///< references to traced functions, and libraries, that are not redirected
  std::atomic<std::uint32_t> threads;    ///< how many have recorded, of all processes
  std::atomic<std::uint32_t> missed;     ///< calls of natives that could not be recorded
  std::atomic<std::uint32_t> extending;  ///< 1 while a thread extends the file; others wait on it as a futex
};

enum class RecordKind : std::uint32_t {
  unfinished,  ///< claimed, and perhaps never written
  begin,       ///< of a call, see `CallRecord`; its arguments, without the texts that it fills
  returned,    ///< a call's end; its result and the texts that it filled, which its `CallRecord` has no room for
  threw,       ///< a call's end by an exception; a `typeName`, or nothing for one that is not of C++
  jumped,      ///< a call's end by longjmp, or by the end of its thread
  scan,        ///< all registry calls in a row, see `ScanRecord`
  lock,        ///< the table's mutex, see `LockRecord`
  thread,      ///< the first record of a thread, see `ThreadRecord`; its name as a text
  program,     ///< the program's path, its working folder, and its arguments, all as texts
};

/// At a multiple of 8. `payload` follows, up to `size`.
struct Record {
  std::uint32_t size;               ///< with this head, a multiple of 8; written first
  std::atomic<std::uint32_t> kind;  ///< a `RecordKind`, written last
  std::uint32_t thread;             ///< counted from 1 in each file
  std::uint16_t call;               ///< a `CallId`, of begin and end
  std::uint16_t depth;              ///< how many calls of the thread it is in
  std::uint64_t time;
};

struct ThreadRecord {
  std::uint32_t process;  ///< differs from the header's after fork
  std::uint32_t id;       ///< of the system
};

/// One reading of the registry. A record without this part says that one begins, so that a reading that never ends is
/// seen too. In the record of its end, the key follows as a text, then the matched names as texts.
struct ScanRecord {
  std::uint64_t duration;
  std::int32_t count;       ///< that the registry returned
  std::uint32_t read;       ///< entries whose names were read
  std::uint32_t fullNames;  ///< matches by full name
  std::uint32_t shortNames;
  std::uint32_t tails;  ///< matches by what follows the last dot of a full name
  std::uint32_t names;  ///< how many of the names are kept, at most `mostMatches`
};
constexpr std::uint32_t mostMatches = 8;

constexpr std::uint64_t notYet = ~std::uint64_t{0};  ///< in place of a time that is put into a record later

/// One walk of the type table, as the library's lock on it shows it. The record is finished when the lock is asked for,
/// so that a thread that never gets it is seen; its times are put into it as they are known, and are `notYet` before.
/// The lock may also be refused: then the thread goes on, and the times stay.
struct LockRecord {
  std::atomic<std::uint64_t> waited;
  std::atomic<std::uint64_t> held;
};

/// What a value in a payload is.
enum class StoredKind : std::uint8_t {
  null,      ///< a null pointer; no bytes
  integer,   ///< 8 bytes, signed
  truth,     ///< 8 bytes, 0 or 1
  pointer,   ///< 8 bytes
  text,      ///< the bytes
  count,     ///< 8 bytes: of a list whose first texts follow as values of their own
  typeName,  ///< of a C++ type, mangled
};

/// A value's bytes follow it, padded to a multiple of 4.
struct StoredValue {
  StoredKind kind;
  std::uint8_t isCut;      ///< 1 for a text of which only the first `longestText` bytes are kept
  std::uint16_t elements;  ///< of a count: how many texts follow
  std::uint32_t length;
};
/// In place of a value where none follows.
constexpr StoredValue noValue = {static_cast<StoredKind>(255), 0, 0, 0};
constexpr std::uint32_t longestText = 1024;
constexpr std::uint16_t mostElements = 16;

/// How a call returned. Most results fit here: a record of their own would cost more time. Any other end of a call is a
/// record, and `duration` stays.
struct CallRecord {
  std::atomic<std::uint64_t> duration = notYet;  ///< written last
  StoredValue values[2] = {noValue, noValue};    ///< the result and the texts that the call filled
};

}  // namespace orva::tracing
