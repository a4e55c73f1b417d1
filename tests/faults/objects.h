// The objects that a failing host throws: one of each kind that a native may tell apart.
#pragma once

#include <array>
#include <optional>
#include <string>

namespace faults {

enum class Thrown { message, emptyMessage, longMessage, noException };

constexpr std::array<Thrown, 4> kEveryObject{Thrown::message, Thrown::emptyMessage, Thrown::longMessage,
                                             Thrown::noException};

/// Throws an object of a kind; `number` goes into it wherever it can, so that it is told from others.
[[noreturn]] void throwObject(Thrown kind, int number);

/// What an object says of itself; nothing for one that is no `std::exception`.
std::optional<std::string> textOf(Thrown kind, int number);

/// Type and text, or type and value, of an object as `caught` describes it.
std::string described(Thrown kind, int number);

/// Describes the exception that is being handled.
std::string caught();

/// Describes a `std::bad_alloc`.
std::string outOfMemory();

}  // namespace faults
