// Turns the bytes of a file into trees of calls. The process may have been killed at any instruction, may still be
// writing, or may never have written this file: nothing in it is trusted.
#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <unordered_map>
#include <utility>

#include "tracing/reader/trace.h"
#include "tracing/reader/type_name.h"

namespace orva::tracing {

/// @return the difference, or 0 where clocks or torn records would make it negative.
static std::uint64_t between(std::uint64_t begin, std::uint64_t end) { return end > begin ? end - begin : 0; }

/// @return the sum, or the greatest number where it would be greater.
static std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
  return b > std::numeric_limits<std::uint64_t>::max() - a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

/// @return the number at an offset, or 0 where the bytes end before.
template <typename Number>
static Number numberAt(std::string_view bytes, std::size_t offset) {
  static_assert(std::is_integral_v<Number> || std::is_enum_v<Number>, "Only numbers may have any bytes");
  Number number{};
  if (offset <= bytes.size() && sizeof number <= bytes.size() - offset) {
    std::memcpy(&number, bytes.data() + offset, sizeof number);
  }
  return number;
}

/// @return up to `size` bytes from the front, which are no longer in `bytes`.
static std::string_view takeFront(std::string_view& bytes, std::size_t size) {
  const std::string_view front = bytes.substr(0, size);
  bytes.remove_prefix(front.size());
  return front;
}

static bool isNumber(StoredKind kind) {
  return kind == StoredKind::integer || kind == StoredKind::truth || kind == StoredKind::pointer ||
         kind == StoredKind::count;
}

/// Takes a value from the front, without the elements of a list.
/// @return false at the end, and for what no recorder wrote.
static bool takeValue(std::string_view& payload, Value& value, std::size_t& elements) {
  if (payload.size() < sizeof(StoredValue)) return false;
  const std::string_view head = takeFront(payload, sizeof(StoredValue));
  const auto length = numberAt<std::uint32_t>(head, offsetof(StoredValue, length));
  value.kind = numberAt<StoredKind>(head, offsetof(StoredValue, kind));
  if (value.kind > StoredKind::typeName || length > payload.size()) return false;
  if (isNumber(value.kind) && length != sizeof value.number) return false;
  const std::string_view bytes = takeFront(payload, length);
  takeFront(payload, (4 - length % 4) % 4);
  if (isNumber(value.kind)) value.number = numberAt<std::int64_t>(bytes, 0);
  if (value.kind == StoredKind::text) value.text = bytes;
  if (value.kind == StoredKind::typeName) value.text = demangled(std::string(bytes));
  value.isCut = numberAt<std::uint8_t>(head, offsetof(StoredValue, isCut)) != 0;
  elements = value.kind == StoredKind::count ? numberAt<std::uint16_t>(head, offsetof(StoredValue, elements)) : 0;
  return true;
}

static std::vector<Value> valuesOf(std::string_view payload) {
  std::vector<Value> values;
  std::size_t missing = 0;
  std::size_t elements = 0;
  for (Value value; takeValue(payload, value, elements); value = {}) {
    if (missing > 0 && value.kind == StoredKind::text) {
      --missing;
      values.back().elements.push_back(std::move(value));
    } else {
      missing = elements;
      values.push_back(std::move(value));
    }
  }
  return values;
}

namespace {

/// A finished record.
struct ReadRecord {
  RecordKind kind;
  std::uint32_t thread;
  std::uint16_t call;
  std::uint16_t depth;
  std::uint64_t time;  ///< after the start of the process
  std::string_view payload;
};

/// Makes the tree of one thread.
class CallTree {
 public:
  explicit CallTree(std::uint32_t process) { thread.process = process; }

  void add(const ReadRecord& record);
  std::uint32_t process() const { return thread.process; }
  std::uint64_t lastTime() const { return last; }
  std::uint64_t unshown() const { return tooDeep; }
  /// Treats calls that returned after a time as open: when a file is read while its process writes, the last calls that
  /// they made may be beyond the part that was read.
  void reopenAfter(std::uint64_t time);
  /// The calls that are still open last until a time.
  Thread finish(Ending ending, std::uint64_t time);

 private:
  void begin(const ReadRecord& record);
  void end(const ReadRecord& record);
  void addWhole(const ReadRecord& record, Event event);
  void addScan(const ReadRecord& record);
  void addLock(const ReadRecord& record);
  void addOpen(const ReadRecord& record, Event event);
  void leave(Ending ending, std::uint64_t time);
  void leaveFrom(std::uint16_t depth, std::uint64_t time);
  void keep(Event event);

  struct Open {
    Event event;
    std::uint16_t depth;
  };

  Thread thread;
  std::vector<Open> open;     ///< each deeper than the one before
  std::uint64_t last = 0;     ///< the latest time that is known of the thread
  std::uint64_t tooDeep = 0;  ///< events that were left out
};

}  // namespace

/// Adds an ended event to the call that it is in, unless that is nested too deep.
void CallTree::keep(Event event) {
  if (open.size() > deepestNesting) {
    ++tooDeep;
    return;
  }
  (open.empty() ? thread.events : open.back().event.inner).push_back(std::move(event));
}

void CallTree::leave(Ending ending, std::uint64_t time) {
  Event event = std::move(open.back().event);
  open.pop_back();
  if (!event.hasEnded()) {
    event.ending = ending;
    event.duration = between(event.begin, time);
  }
  if (event.lock.isAwaited) event.lock.waited = event.duration;
  // A thread that did not get the lock and went on was refused it; one that read the registry has a record of that.
  if (event.kind != EventKind::call && ending == Ending::jumped) return;
  keep(std::move(event));
}

/// Ends the calls that are as deep as a new event: they were left without a recorded end.
void CallTree::leaveFrom(std::uint16_t depth, std::uint64_t time) {
  while (!open.empty() && open.back().depth >= depth) leave(Ending::jumped, time);
}

/// A call that has returned stays open until the next record that is not in it, because calls in it follow.
void CallTree::begin(const ReadRecord& record) {
  if (record.call >= static_cast<std::uint16_t>(CallId::count)) return;
  Event event;
  event.call = static_cast<CallId>(record.call);
  std::string_view arguments = record.payload;
  const std::string_view call = takeFront(arguments, sizeof(CallRecord));
  const auto duration = numberAt<std::uint64_t>(call, offsetof(CallRecord, duration));
  if (call.size() == sizeof(CallRecord) && duration != notYet) {
    event.ending = Ending::returned;
    event.duration = duration;
    event.results = valuesOf(call.substr(offsetof(CallRecord, values)));
    last = std::max(last, sum(record.time, duration));
  }
  event.arguments = valuesOf(arguments);
  addOpen(record, std::move(event));
}

/// Drops an end without a beginning: that was not recorded, or in the process that forked this one.
void CallTree::end(const ReadRecord& record) {
  const auto isOutside = [](const Open& call, std::uint16_t depth) { return call.depth < depth; };
  const auto call = std::lower_bound(open.begin(), open.end(), record.depth, isOutside);
  if (call == open.end() || call->depth != record.depth || call->event.call != static_cast<CallId>(record.call)) return;
  if (record.depth < std::numeric_limits<std::uint16_t>::max()) {
    leaveFrom(static_cast<std::uint16_t>(record.depth + 1), record.time);
  }
  std::vector<Value> values = valuesOf(record.payload);
  Event& event = open.back().event;
  if (record.kind == RecordKind::returned) {
    event.results = std::move(values);
    leave(Ending::returned, record.time);
  } else if (record.kind == RecordKind::threw) {
    event.thrown = values.empty() ? std::string() : values.front().text;
    leave(Ending::threw, record.time);
  } else {
    leave(Ending::jumped, record.time);
  }
}

/// Adds an event that is one record.
void CallTree::addWhole(const ReadRecord& record, Event event) {
  leaveFrom(record.depth, record.time);
  event.begin = record.time;
  event.ending = Ending::returned;
  keep(std::move(event));
}

static Event scanOf(std::string_view payload) {
  Event event;
  event.kind = EventKind::scan;
  event.duration = numberAt<std::uint64_t>(payload, offsetof(ScanRecord, duration));
  event.scan.count = numberAt<std::int32_t>(payload, offsetof(ScanRecord, count));
  event.scan.read = numberAt<std::uint32_t>(payload, offsetof(ScanRecord, read));
  event.scan.fullNames = numberAt<std::uint32_t>(payload, offsetof(ScanRecord, fullNames));
  event.scan.shortNames = numberAt<std::uint32_t>(payload, offsetof(ScanRecord, shortNames));
  event.scan.tails = numberAt<std::uint32_t>(payload, offsetof(ScanRecord, tails));
  takeFront(payload, sizeof(ScanRecord));
  for (Value& value : valuesOf(payload)) event.scan.matches.push_back(std::move(value.text));
  if (event.scan.matches.empty()) return event;
  event.scan.key = std::move(event.scan.matches.front());
  event.scan.matches.erase(event.scan.matches.begin());
  return event;
}

/// Adds an event that stays open for what happens in it.
void CallTree::addOpen(const ReadRecord& record, Event event) {
  leaveFrom(record.depth, record.time);
  event.begin = record.time;
  open.push_back({std::move(event), record.depth});
}

void CallTree::addScan(const ReadRecord& record) {
  if (record.payload.size() >= sizeof(ScanRecord)) return addWhole(record, scanOf(record.payload));
  Event event;
  event.kind = EventKind::scan;
  addOpen(record, std::move(event));
}

/// A lock that is waited for or held is open.
void CallTree::addLock(const ReadRecord& record) {
  Event event;
  event.kind = EventKind::lock;
  event.lock.waited = numberAt<std::uint64_t>(record.payload, offsetof(LockRecord, waited));
  event.lock.isAwaited = event.lock.waited == notYet;
  const auto held = numberAt<std::uint64_t>(record.payload, offsetof(LockRecord, held));
  event.duration = sum(event.lock.waited, held);
  if (held != notYet) return addWhole(record, std::move(event));
  addOpen(record, std::move(event));
}

void CallTree::add(const ReadRecord& record) {
  last = std::max(last, record.time);
  switch (record.kind) {
    case RecordKind::begin: return begin(record);
    case RecordKind::returned:
    case RecordKind::threw:
    case RecordKind::jumped: return end(record);
    case RecordKind::scan: return addScan(record);
    case RecordKind::lock: return addLock(record);
    default: break;
  }
  // A thread.
  const std::vector<Value> values =
      valuesOf(record.payload.substr(std::min(record.payload.size(), sizeof(ThreadRecord))));
  thread.process = numberAt<std::uint32_t>(record.payload, offsetof(ThreadRecord, process));
  thread.id = numberAt<std::uint32_t>(record.payload, offsetof(ThreadRecord, id));
  if (!values.empty()) thread.name = values.front().text;
}

void CallTree::reopenAfter(std::uint64_t time) {
  for (Open& call : open) {
    if (!call.event.hasEnded() || sum(call.event.begin, call.event.duration) <= time) continue;
    call.event.ending = Ending::open;
    call.event.results.clear();
  }
}

Thread CallTree::finish(Ending ending, std::uint64_t time) {
  // What is still open in a call that returned was left.
  const auto returned = std::find_if(open.begin(), open.end(), [](const Open& call) { return call.event.hasEnded(); });
  if (returned != open.end()) leaveFrom(returned->depth, sum(returned->event.begin, returned->event.duration));
  while (!open.empty()) leave(ending, time);
  return std::move(thread);
}

namespace {

/// Walks the records of a file in their order.
class FileReader {
 public:
  explicit FileReader(const std::string& path);

  Trace read(const Writers& writers);

 private:
  void readHeader(const std::string& path);
  void skipUnwritten();
  void readRecord(std::string_view record);
  CallTree& treeOf(std::uint32_t number);
  void readProgram(std::string_view payload);
  void finishTrees(const Writers& writers);
  /// Tells whether the file ends before what it had room for.
  bool isCut() const {
    const auto reserved = ofHeader<std::uint64_t>(offsetof(FileHeader, reserved));
    return bytes.size() < std::min(reserved, ofHeader<std::uint64_t>(endOffset));
  }

  template <typename Number>
  Number ofHeader(std::size_t offset) const {
    return numberAt<Number>(bytes, offset);
  }

  static constexpr std::size_t endOffset = offsetof(FileHeader, end);

  std::string bytes;
  std::string_view left;  ///< of the bytes, from the next record
  std::uint64_t startTime = 0;
  Trace trace;
  std::vector<CallTree> trees;                             ///< in the order of their first records
  std::unordered_map<std::uint32_t, std::size_t> numbers;  ///< places in `trees`
};

}  // namespace

FileReader::FileReader(const std::string& path) {
  std::error_code ignored;
  // Opening a pipe would wait for its writer.
  if (std::filesystem::is_other(path, ignored)) throw std::runtime_error("'" + path + "' is not a file of events");
  errno = 0;
  std::ifstream file(path, std::ios::binary | std::ios::ate);
  const std::streamoff size = file ? std::streamoff{file.tellg()} : -1;
  if (size < 0) throw std::system_error(errno, std::generic_category(), "cannot read '" + path + "'");
  const auto take = [&](std::uint64_t end) {
    const std::size_t begin = bytes.size();
    bytes.resize(std::max<std::size_t>(begin, std::min(end, static_cast<std::uint64_t>(size))));
    file.read(bytes.data() + begin, static_cast<std::streamsize>(bytes.size() - begin));
    bytes.resize(begin + static_cast<std::size_t>(file.gcount()));
  };
  file.seekg(0);
  take(sizeof(FileHeader));
  const bool isRead = size == 0 || !bytes.empty();
  if (isRead && bytes.find_first_not_of('\0') == bytes.npos) {
    throw std::runtime_error("nothing is recorded in '" + path +
                             "': its process had no room for it on the disk or in memory, or ended first");
  }
  readHeader(path);
  // The file is sparse, and as long as it may become.
  take(ofHeader<std::uint64_t>(endOffset));
  left = bytes;
  takeFront(left, ofHeader<std::uint32_t>(offsetof(FileHeader, headerSize)));
}

void FileReader::readHeader(const std::string& path) {
  if (bytes.size() < sizeof(FileHeader) || ofHeader<std::uint64_t>(offsetof(FileHeader, magic)) != fileMagic) {
    throw std::runtime_error("'" + path + "' is not a file of events");
  }
  const auto version = ofHeader<std::uint32_t>(offsetof(FileHeader, version));
  if (version != fileVersion) {
    throw std::runtime_error("'" + path + "' has version " + std::to_string(version) + " of the events, not " +
                             std::to_string(fileVersion) + ": use the orva-trace that recorded it");
  }
  const auto headerSize = ofHeader<std::uint32_t>(offsetof(FileHeader, headerSize));
  if (headerSize < sizeof(FileHeader) || headerSize % 8 != 0) {
    throw std::runtime_error("'" + path + "' is not a file of events");
  }
  startTime = ofHeader<std::uint64_t>(offsetof(FileHeader, startTime));
  trace.startOfDay = ofHeader<std::uint64_t>(offsetof(FileHeader, startOfDay));
  trace.process = ofHeader<std::uint32_t>(offsetof(FileHeader, process));
  trace.parent = ofHeader<std::uint32_t>(offsetof(FileHeader, parent));
  trace.error = ofHeader<std::int32_t>(offsetof(FileHeader, error));
  trace.unseen = ofHeader<std::uint32_t>(offsetof(FileHeader, unseen));
  trace.missed = ofHeader<std::uint32_t>(offsetof(FileHeader, missed));
  const auto stopped = ofHeader<Stopped>(offsetof(FileHeader, stopped));
  trace.stopped = stopped > Stopped::failed ? Stopped::failed : stopped;
  const auto attached = ofHeader<Attached>(offsetof(FileHeader, attached));
  trace.attached = attached > Attached::linked ? Attached::notYet : attached;
}

/// Skips room that was claimed before the process died: all of it is zero, whereas a record begins with its size.
void FileReader::skipUnwritten() {
  while (left.size() >= 8 && numberAt<std::uint64_t>(left, 0) == 0) takeFront(left, 8);
  // Once the file has no more room, claimed bytes are not used.
  if (!left.empty() || trace.stopped == Stopped::no) ++trace.lost;
}

CallTree& FileReader::treeOf(std::uint32_t number) {
  const auto [place, isNew] = numbers.try_emplace(number, trees.size());
  if (isNew) trees.emplace_back(trace.process);
  return trees[place->second];
}

void FileReader::readProgram(std::string_view payload) {
  std::vector<std::string> texts;
  for (Value& value : valuesOf(payload)) texts.push_back(std::move(value.text));
  if (texts.size() < 2) return;
  trace.program = std::move(texts[0]);
  trace.folder = std::move(texts[1]);
  trace.arguments.assign(std::make_move_iterator(texts.begin() + 2), std::make_move_iterator(texts.end()));
}

void FileReader::readRecord(std::string_view bytesOfRecord) {
  const auto kind = numberAt<RecordKind>(bytesOfRecord, offsetof(Record, kind));
  const std::uint64_t time = between(startTime, numberAt<std::uint64_t>(bytesOfRecord, offsetof(Record, time)));
  const ReadRecord record{kind,
                          numberAt<std::uint32_t>(bytesOfRecord, offsetof(Record, thread)),
                          numberAt<std::uint16_t>(bytesOfRecord, offsetof(Record, call)),
                          numberAt<std::uint16_t>(bytesOfRecord, offsetof(Record, depth)),
                          time,
                          bytesOfRecord.substr(sizeof(Record))};
  if (kind == RecordKind::unfinished || kind > RecordKind::program) {
    ++trace.lost;
    return;
  }
  if (kind == RecordKind::program) return readProgram(record.payload);
  treeOf(record.thread).add(record);
}

void FileReader::finishTrees(const Writers& writers) {
  std::unordered_map<std::uint32_t, std::uint64_t> lastTimes;  // of each process
  for (const CallTree& tree : trees) {
    std::uint64_t& last = lastTimes[tree.process()];
    last = std::max(last, tree.lastTime());
  }
  for (CallTree& tree : trees) {
    const std::uint64_t last = lastTimes[tree.process()];
    if (trace.stopped != Stopped::no) {
      trace.threads.push_back(tree.finish(Ending::unknown, last));
    } else if (writers.processes.count(tree.process()) == 0) {
      trace.threads.push_back(tree.finish(Ending::abandoned, last));
    } else {
      const std::uint64_t now = between(startTime, writers.now);
      tree.reopenAfter(now);
      trace.threads.push_back(tree.finish(Ending::open, std::max(last, now)));
    }
    trace.tooDeep += tree.unshown();
  }
}

Trace FileReader::read(const Writers& writers) {
  while (!left.empty()) {
    const auto size = numberAt<std::uint32_t>(left, offsetof(Record, size));
    if (left.size() >= 8 && numberAt<std::uint64_t>(left, 0) == 0) {
      skipUnwritten();
    } else if (size < sizeof(Record) || size % 8 != 0 || size > left.size()) {
      // The next record cannot be found. If the program still runs, the file may have grown since it was read.
      const bool isShort = left.size() < std::max<std::size_t>(size, sizeof(Record));
      const bool mayHaveGrown = isShort && !isCut() && bytes.size() < ofHeader<std::uint64_t>(endOffset);
      if (mayHaveGrown) ++trace.lost;
      if (!mayHaveGrown) trace.damagedFrom = bytes.size() - left.size();
      break;
    } else {
      readRecord(takeFront(left, size));
    }
  }
  if (trace.damagedFrom == 0 && isCut()) trace.damagedFrom = bytes.size();
  finishTrees(writers);
  return std::move(trace);
}

Trace readTrace(const std::string& path, const Writers& writers) { return FileReader(path).read(writers); }

std::optional<Raise> raiseOf(const Event& native) {
  const auto isRaise = [](const Event& event) {
    return event.kind == EventKind::call && event.call == CallId::Orva_raise;
  };
  const auto raise = std::find_if(native.inner.rbegin(), native.inner.rend(), isRaise);
  if (raise == native.inner.rend()) return std::nullopt;
  const auto text = [&](std::size_t argument) {
    return argument < raise->arguments.size() ? raise->arguments[argument].text : std::string();
  };
  return Raise{text(0), text(1)};
}

}  // namespace orva::tracing
