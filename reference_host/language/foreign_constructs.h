// Constructs of other languages, and what the dialect has in their place.
#pragma once

#include <string>
#include <string_view>

namespace orva::language {

/// Where a word or a symbol stands that the dialect does not know.
enum class Place {
  file,           ///< at the head of what stands where a class is expected
  member,         ///< at the head of what stands where a method is expected
  statement,      ///< at the head of a statement
  inDeclaration,  ///< within the head of a class or a method
  inStatement,    ///< within a statement
  call,           ///< before `(`, without a class
  symbol,         ///< within a statement: an operator or another symbol
  character,      ///< one that no token holds
  typeName,       ///< an unknown type
  variableName,   ///< an unknown variable
};

/// What to tell someone who writes a construct of another language: a message; for unknown names, what follows the
/// message that says so. Empty when the spelling is not known from elsewhere.
std::string adviceOn(Place place, std::string_view spelling);

/// The longest foreign symbol that a text begins with; empty when there is none.
std::string_view foreignSymbol(std::string_view text);

/// The message for a type that does not exist. `spelling` is how it is written, `name` is that without arguments.
std::string unknownType(const std::string& spelling, const std::string& name);

/// The message for a variable that does not exist.
std::string unknownVariable(const std::string& name);

}  // namespace orva::language
