// Makes any bytes safe to print: no text can control a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orva::language {

/// One character of a UTF-8 text; a byte that is not UTF-8 counts as a character of its own.
struct Character {
  char32_t code;
  std::size_t size;  ///< in bytes
  bool isValid;
};

/// Reads the first character of a text that is not empty.
Character firstCharacter(std::string_view text);

/// The text with each control character, invisible character and invalid byte as an escape, such as `\n`, `\x1B` or
/// `\u202E`.
/// @param kept characters to leave as they are.
std::string printable(std::string_view text, std::string_view kept = {});

/// A name or a path for a message: printable, in quotes.
std::string inQuotes(std::string_view text);

/// A text that is short enough for a message: a very long one is cut in the middle.
std::string shortened(const std::string& text);

/// The part of a source line that a message shows.
struct Excerpt {
  std::string text;         ///< printable; `…` marks where the line was cut
  std::string indentation;  ///< white space as wide as the text before the column
};

/// Cuts a line around a column, which starts at 1 and counts bytes. Takes the same time for any length of the line.
Excerpt excerpt(std::string_view line, std::size_t column);

}  // namespace orva::language
