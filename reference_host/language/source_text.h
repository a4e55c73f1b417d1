// A source file's text, positions in it, and errors that point at them.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orva::language {

/// A place in a source text; both numbers start at 1, the column counts bytes.
struct Position {
  std::size_t line = 1;
  std::size_t column = 1;
};

/// The text of one source file and the path that messages name it by.
struct SourceText {
  std::string path;
  std::string text;

  /// Where the first line begins: after the byte order mark, if there is one.
  std::size_t start() const;

  /// Where each line begins in the text.
  std::vector<std::size_t> lineStarts() const;

  /// The text of the line that begins there, without its line end.
  std::string_view lineFrom(std::size_t start) const;

  /// The text of a line without its line end; empty when there is no such line.
  std::string_view line(std::size_t number) const;
};

/// One thing that is wrong with a source.
struct Diagnostic {
  Position position;
  std::string message;
};

/// A source that does not compile. Its text has a block for each of the first 20 diagnostics: `file:line:column: error:
/// …`, the line, and a caret below the column. A last line says how many more there are. The text is printable: its
/// only control characters are line ends and tabs.
class SourceError : public std::runtime_error {
 public:
  SourceError(const SourceText& source, const std::vector<Diagnostic>& diagnostics);
  SourceError(const SourceText& source, Position position, const std::string& message);
};

}  // namespace orva::language
