// Turns the calls that the thunks see into records.
#include "tracing/recorder/thread_trace.h"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "tracing/events/clock.h"
#include "tracing/recorder/event_writer.h"

/// The lock of the type table, which the host defines. The library locks others too when it is built with a standard
/// library that checks iterators.
extern "C" __attribute__((weak)) char tableMutex[] __asm__("gReflectionMutex");

namespace orva::tracing {

namespace {

constexpr auto countSlot = static_cast<std::uint64_t>(CallId::Reflection_getTypeCount);
constexpr auto shortNameSlot = static_cast<std::uint64_t>(CallId::Reflection_getTypeName);
constexpr auto fullNameSlot = static_cast<std::uint64_t>(CallId::Reflection_getTypeFullName);

const CallDescription& descriptionAt(std::uint64_t slot) { return calls.data()[slot]; }

bool isRegistry(std::uint64_t slot) { return slot >= countSlot && slot <= fullNameSlot; }
bool isLock(std::uint64_t slot) { return slot >= ORVA_TRACE_LOCK; }

bool isOtherLock(const Frame& frame) {
  return isLock(frame.slot) && tableMutex != nullptr &&
         frame.arguments[0] != reinterpret_cast<std::uintptr_t>(tableMutex);
}

template <typename Pointed = void>
const Pointed* pointer(std::uint64_t word) {
  return reinterpret_cast<const Pointed*>(word);
}

void putArgument(ValueType type, const std::uint64_t* words, Payload& payload) {
  switch (type) {
    case ValueType::nothing:
    case ValueType::filled: return;
    case ValueType::integer32: return payload.putNumber(StoredKind::integer, static_cast<std::int32_t>(*words));
    case ValueType::integer64: return payload.putNumber(StoredKind::integer, static_cast<std::int64_t>(*words));
    case ValueType::truth: return payload.putNumber(StoredKind::truth, static_cast<std::int64_t>(*words & 1));
    case ValueType::object: return payload.putPointer(pointer(*words));
    case ValueType::text: return payload.putText(pointer<char>(*words));
    case ValueType::string: return payload.putString(pointer(*words));
    case ValueType::view: return payload.putView(words[0], words[1]);
    case ValueType::texts: return payload.putTexts(pointer(*words));
    case ValueType::context: return payload.putShared(pointer(*words));
    case ValueType::listener: return payload.putFunction(pointer(*words));
  }
}

/// Calls `visit` with the type of each parameter and the registers that hold it.
template <typename Visit>
void forEachArgument(const Frame& frame, const Visit& visit) {
  const CallDescription& call = descriptionAt(frame.slot);
  const std::uint64_t* words = frame.arguments + (call.isResultInMemory() ? 1 : 0) + (call.isMember ? 1 : 0);
  for (std::size_t i = 0; i < call.parameterCount; ++i) {
    const ValueType type = call.parameters.data()[i];
    visit(type, words);
    words += type == ValueType::view ? 2 : 1;
  }
}

constexpr std::size_t registersOf(const CallDescription& call) {
  std::size_t count = (call.isResultInMemory() ? 1U : 0U) + (call.isMember ? 1U : 0U);
  for (std::size_t i = 0; i < call.parameterCount; ++i) count += call.parameters[i] == ValueType::view ? 2 : 1;
  return count;
}

constexpr bool fitRegisters() {
  for (const CallDescription& call : calls) {
    if (registersOf(call) > 6) return false;
  }
  return true;
}
static_assert(fitRegisters(), "A thunk passes six registers on");

/// The name that a native scans the registry for. Natives are functions of C, so each parameter has one register.
const char* keyOf(const Frame& frame) {
  const CallDescription& call = descriptionAt(frame.slot);
  const std::size_t name = call.nameParameter();
  return call.isNative && name < call.parameterCount ? pointer<char>(frame.arguments[name]) : nullptr;
}

}  // namespace

void* ThreadTrace::write(RecordKind kind, std::uint16_t call, std::uint64_t time) {
  if (number_ == 0) announce(time);
  return writeRecord({kind, number_, call, depth(), time}, payload_.data(), payload_.size());
}

/// Numbers the thread, and writes its first record, ahead of the one that `payload_` is for.
void ThreadTrace::announce(std::uint64_t time) {
  // As long as the system's names are: it writes all 16 bytes.
  char name[16] = {};
  prctl(PR_GET_NAME, name);
  struct {
    ThreadRecord thread;
    StoredValue head;
    char text[sizeof name];
  } record{};
  const std::size_t length = strnlen(name, sizeof name);
  record.thread = {static_cast<std::uint32_t>(getpid()), static_cast<std::uint32_t>(syscall(SYS_gettid))};
  record.head = {StoredKind::text, 0, 0, static_cast<std::uint32_t>(length)};
  std::memcpy(record.text, name, length);
  number_ = orva_trace_exports.header.load()->threads.fetch_add(1) + 1;
  const auto size = static_cast<std::uint32_t>(offsetof(decltype(record), text) + (length + 3) / 4 * 4);
  writeRecord({RecordKind::thread, number_, 0, 0, time}, &record, size);
}

void ThreadTrace::closeScan(std::uint64_t time) {
  if (!scan_.isOpen()) return;
  const std::uint64_t begin = scan_.begin();
  scan_.close(time, payload_);
  write(RecordKind::scan, 0, begin);
}

/// Removes the innermost call.
/// @return null for one that began in the parent before a fork, whose end is not recorded.
const ThreadTrace::OpenCall* ThreadTrace::closeCall() {
  const OpenCall& call = open_[--openCount_];
  if (openCount_ >= inherited_) return &call;
  inherited_ = openCount_;
  return nullptr;
}

/// Ends the innermost call by a record with the contents of `payload_`.
void ThreadTrace::end(RecordKind kind, std::uint64_t time) {
  if (const OpenCall* const call = closeCall()) write(kind, call->slot, time);
}

/// Ends the innermost call, which returned the contents of `payload_`, in its first record if they fit. Once recording
/// has stopped, no call ends: what was called from it may not be recorded.
void ThreadTrace::endReturned(std::uint64_t time) {
  if (payload_.size() > sizeof(CallRecord::values)) return end(RecordKind::returned, time);
  const OpenCall* const call = closeCall();
  if (call == nullptr || call->record == nullptr || isStopped(*orva_trace_exports.header.load())) return;
  std::memcpy(call->record->values, payload_.data(), payload_.size());
  call->record->duration.store(time - call->begin, std::memory_order_release);
}

/// Ends the calls whose frames a longjmp removed: they are deeper in the stack than the part in use.
void ThreadTrace::closeJumped(const Frame* deepest, std::uint64_t time) {
  while (openCount_ > 0 && open_[openCount_ - 1].frame < deepest) {
    payload_.clear();
    end(RecordKind::jumped, time);
  }
}

void ThreadTrace::begin(const Frame& frame, std::uint64_t time) {
  payload_.clear();
  payload_.putPart(CallRecord{});
  forEachArgument(frame, [this](ValueType type, const std::uint64_t* words) { putArgument(type, words, payload_); });
  openCall(&frame, frame.slot, keyOf(frame), time);
}

/// Begins a call by a record with the contents of `payload_`.
void ThreadTrace::openCall(const Frame* frame, std::uint64_t slot, const char* key, std::uint64_t time) {
  const auto call = static_cast<std::uint16_t>(slot);
  auto* const record = static_cast<CallRecord*>(write(RecordKind::begin, call, time));
  open_[openCount_++] = {frame, key, record, time, call};
}

void ThreadTrace::enterRegistry(std::uint64_t slot) {
  if (scan_.isOpen() && slot != countSlot) return;
  const std::uint64_t time = monotonicTime();
  closeScan(time);
  scan_.open(openCount_ == 0 ? nullptr : open_[openCount_ - 1].key, time);
  payload_.clear();
  write(RecordKind::scan, 0, time);
}

void ThreadTrace::enter(const Frame& frame) {
  if (isOtherLock(frame)) return;
  briefSlot_ = isRegistry(frame.slot) || isLock(frame.slot) ? frame.slot + 1 : 0;
  if (isRegistry(frame.slot)) return enterRegistry(frame.slot);
  if (frame.slot == ORVA_TRACE_UNLOCK) return enterUnlock();
  const std::uint64_t time = monotonicTime();
  closeScan(time);
  if (isLock(frame.slot)) return enterLock(time);
  closeJumped(&frame + 1, time);
  if (openCount_ < mostOpenCalls) begin(frame, time);
}

void ThreadTrace::leaveRegistry(const Frame& frame) {
  const std::uint64_t result = frame.results[0];
  if (frame.slot == countSlot) {
    scan_.setCount(static_cast<std::int32_t>(result));
  } else if (frame.slot == shortNameSlot) {
    scan_.setShortName(pointer<char>(result));
  } else {
    scan_.compare(pointer<char>(result));
  }
}

/// Writes the record before the thread has the lock, so that no other thread waits for that.
void ThreadTrace::enterLock(std::uint64_t time) {
  payload_.clear();
  payload_.putPart(LockRecord{notYet, notYet});
  lockBegin_ = time;
  lock_ = static_cast<LockRecord*>(write(RecordKind::lock, 0, time));
}

void ThreadTrace::leaveLock(const Frame& frame) {
  const bool isRefused = frame.slot == ORVA_TRACE_LOCK && static_cast<int>(frame.results[0]) != 0;
  if (frame.slot == ORVA_TRACE_UNLOCK || lock_ == nullptr || isRefused) return;
  locked_ = monotonicTime();
  lock_->waited.store(locked_ - lockBegin_, std::memory_order_relaxed);
}

void ThreadTrace::enterUnlock() {
  if (lock_ != nullptr) lock_->held.store(monotonicTime() - locked_, std::memory_order_relaxed);
  lock_ = nullptr;
}

void ThreadTrace::leave(const Frame& frame) {
  if (isOtherLock(frame)) return;
  briefSlot_ = 0;
  if (isRegistry(frame.slot)) return leaveRegistry(frame);
  if (isLock(frame.slot)) return leaveLock(frame);
  const std::uint64_t time = monotonicTime();
  closeScan(time);
  closeJumped(&frame, time);
  // A call that was too deep was not opened.
  if (openCount_ == 0 || open_[openCount_ - 1].frame != &frame) return;
  payload_.clear();
  putArgument(descriptionAt(frame.slot).result, frame.results, payload_);
  forEachArgument(frame, [this](ValueType type, const std::uint64_t* words) {
    if (type == ValueType::filled) payload_.putString(pointer(*words));
  });
  endReturned(time);
}

void ThreadTrace::unwind(const Frame* frame, const char* type) {
  const std::uint64_t time = monotonicTime();
  const std::uint64_t slot = briefSlot_ - 1;
  const bool isBrief = briefSlot_ != 0;
  briefSlot_ = 0;
  if (isBrief && isLock(slot)) return;
  closeScan(time);
  closeJumped(frame, time);
  // What a scan was about to count is shown as a call when it fails.
  if (isBrief && openCount_ < mostOpenCalls) {
    payload_.clear();
    payload_.putPart(CallRecord{});
    openCall(frame, slot, nullptr, time);
  }
  // A call that was too deep was not opened.
  if (openCount_ == 0 || (frame != nullptr && open_[openCount_ - 1].frame != frame)) return;
  payload_.clear();
  if (type != nullptr) payload_.putText(type, strnlen(type, longestText + 1), StoredKind::typeName);
  end(RecordKind::threw, time);
}

void ThreadTrace::finish() {
  const std::uint64_t time = monotonicTime();
  closeScan(time);
  while (openCount_ > 0) {
    payload_.clear();
    end(RecordKind::jumped, time);
  }
}

void ThreadTrace::continueInChild() {
  number_ = 0;
  lock_ = nullptr;
  inherited_ = openCount_;
}

}  // namespace orva::tracing
