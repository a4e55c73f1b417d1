// Constructs of other languages, and what the dialect offers instead.
#pragma once

#include <string>
#include <string_view>

namespace orva::language {

/// Where the parser finds a word or a symbol that the dialect does not have.
enum class Place {
  file,          ///< first, where a class is expected
  member,        ///< first, where a method is expected
  statement,     ///< first in a statement
  inClassHead,   ///< later, in the head of a class
  inMethodHead,  ///< later, in the head of a method
  inStatement,   ///< later in a statement
  call,          ///< called without a class, as in `print(…)`
  symbol,        ///< an operator or another symbol in a statement
  character,     ///< a character that begins no token
  typeName,      ///< an unknown type
  variableName,  ///< an unknown variable
};

/// The message for a construct of another language; for an unknown type or variable, the advice that follows the
/// message. Empty for a spelling that no other language is known for.
std::string adviceOn(Place place, std::string_view spelling);

/// The longest foreign symbol that a text begins with; empty when there is none.
std::string_view foreignSymbol(std::string_view text);

/// The message for a type that does not exist. `spelling` is the type as written, `name` is the same without type
/// arguments.
std::string unknownType(const std::string& spelling, const std::string& name);

/// The message for a variable that does not exist.
std::string unknownVariable(const std::string& name);

}  // namespace orva::language
