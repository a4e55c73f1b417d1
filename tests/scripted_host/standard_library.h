// Texts of the standard library's own exceptions, which differ from one library to another.
#pragma once

#include <new>
#include <string>
#include <system_error>

namespace standard_library {

/// What a `std::mutex` says whose lock failed with `error`.
inline std::string lockFailure(int error) {
  const std::error_code code(error, std::generic_category());
#ifdef _LIBCPP_VERSION
  return std::system_error(code, "mutex lock failed").what();
#else
  return std::system_error(code).what();
#endif
}

/// What a `std::vector` says that is to reserve more than it can hold.
inline std::string impossibleReservation() {
#ifdef _LIBCPP_VERSION
  return "vector";
#else
  return "vector::reserve";
#endif
}

/// What a `std::bad_alloc` says.
inline std::string outOfMemory() { return std::bad_alloc().what(); }

}  // namespace standard_library
