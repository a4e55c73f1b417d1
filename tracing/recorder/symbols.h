// From symbols to traced functions. Symbols of C++ functions are compared up to their parameters, which differ between
// standard libraries.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "tracing/recorder/exports.h"

namespace orva::tracing {

/// Removes `prefix` from the front of `text`, if it is there.
inline bool skip(const char*& text, std::string_view prefix) {
  if (std::strncmp(text, prefix.data(), prefix.size()) != 0) return false;
  text += prefix.size();
  return true;
}

/// Takes a name as C++ symbols spell it: its length, then its bytes.
inline bool skipName(const char*& symbol, std::string_view name) {
  std::size_t length = 0;
  const char* place = symbol;
  for (; *place >= '0' && *place <= '9'; ++place) length = length * 10 + static_cast<std::size_t>(*place - '0');
  if (length != name.size() || !skip(place, name)) return false;
  symbol = place;
  return true;
}

/// libstdc++ marks some functions that return strings: `B5cxx11` follows their names.
inline bool isOperation(const char* symbol, const CallDescription& call) {
  return skip(symbol, call.isConst ? "_ZNK4orva8compiler" : "_ZN4orva8compiler") && skipName(symbol, call.owner) &&
         skipName(symbol, call.operation) && (*symbol == 'E' || *symbol == 'B');
}

inline bool isSymbolOf(const char* symbol, const CallDescription& call) {
  if (!call.operation.empty()) return isOperation(symbol, call);
  return skip(symbol, call.symbol) && *symbol == '\0';
}

constexpr int noSlot = -1;

/// Finds the slot of a function of C or C++, or `noSlot`.
inline int slotOf(const char* symbol) {
  for (int slot = 0; slot < ORVA_TRACE_CALLS; ++slot) {
    if (isSymbolOf(symbol, calls.data()[slot])) return slot;
  }
  if (std::strcmp(symbol, "pthread_mutex_lock") == 0) return ORVA_TRACE_LOCK;
  if (std::strcmp(symbol, "pthread_mutex_unlock") == 0) return ORVA_TRACE_UNLOCK;
  // libc++ locks for its callers, and throws where it cannot.
  if (std::strncmp(symbol, "_ZNSt3__", 8) != 0) return noSlot;
  if (std::strstr(symbol, "5mutex4lockEv") != nullptr) return ORVA_TRACE_LOCK_OR_THROW;
  if (std::strstr(symbol, "5mutex6unlockEv") != nullptr) return ORVA_TRACE_UNLOCK;
  return noSlot;
}

inline bool isNativeSlot(int slot) { return slot >= 0 && slot < ORVA_TRACE_CALLS && calls.data()[slot].isNative; }

/// Finds out which standard library the library was built with, from a symbol that it refers to.
inline void noteLayout(const char* symbol, Exports& exports) {
  if (std::strstr(symbol, "NSt3__") != nullptr) exports.strings = StringLayout::llvm;
  if (std::strstr(symbol, "ClassLoader18sourceFileForClassERKSs") != nullptr) {
    exports.strings = StringLayout::gnuCountedReferences;
  }
  constexpr std::uint32_t sizeOfDebugBase = 24;
  if (std::strstr(symbol, "St7__debug6vector") != nullptr) exports.vectorOffset = sizeOfDebugBase;
}

}  // namespace orva::tracing
