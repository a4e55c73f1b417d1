// The failure bridge: runs a native's work and turns a C++ exception into one raised language exception.
// The functions are `static` so that each source has a copy of its own and none is exported.
#pragma once

#include <exception>

#include "runtime_api/runtime.h"

/// Runs `work`. When it throws a `std::exception`, raises `exceptionClass` with the exception's text; all
/// that `work` built is gone by then. Other thrown objects pass through, and so does what `Orva_raise` throws.
/// @return whether `work` returned normally.
template <typename Work>
static inline bool bridged(const char* exceptionClass, const Work& work) {
  try {
    work();
    return true;
  } catch (const std::exception& failure) {
    Orva_raise(exceptionClass, failure.what());
  }
  return false;
}

/// Does the same, and raises `exceptionClass` with `otherText` when `work` throws any other object.
template <typename Work>
static inline bool bridged(const char* exceptionClass, const char* otherText, const Work& work) {
  try {
    work();
    return true;
  } catch (const std::exception& failure) {
    Orva_raise(exceptionClass, failure.what());
  } catch (...) {
    Orva_raise(exceptionClass, otherText);
  }
  return false;
}
