// Texts of the standard library's exceptions, which differ between implementations.
#pragma once

#include <new>
#include <string>
#include <system_error>

namespace standard_library {

/// The text of the exception when locking a `std::mutex` fails with `error`.
inline std::string lockFailure(int error) {
  const std::error_code code(error, std::generic_category());
#ifdef _LIBCPP_VERSION
  return std::system_error(code, "mutex lock failed").what();
#else
  return std::system_error(code).what();
#endif
}

/// The text of the exception when a `std::vector` cannot reserve as much as it should.
inline std::string impossibleReservation() {
#ifdef _LIBCPP_VERSION
  return "vector";
#else
  return "vector::reserve";
#endif
}

/// The text of a `std::bad_alloc`.
inline std::string outOfMemory() { return std::bad_alloc().what(); }

}  // namespace standard_library
