// Finding lines, and writing diagnostics under the line that they speak of.
#include "reference_host/language/source_text.h"

#include <algorithm>

namespace orva::language {

std::string_view SourceText::line(std::size_t number) const {
  std::string_view rest = text;
  for (; number > 1; --number) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) return {};
    rest.remove_prefix(end + 1);
  }
  rest = rest.substr(0, rest.find('\n'));
  if (!rest.empty() && rest.back() == '\r') rest.remove_suffix(1);
  return rest;
}

/// White space as wide as the text before a column: tabs stay tabs, the later bytes of a UTF-8 character take no room.
static std::string indentation(std::string_view line, std::size_t column) {
  std::string blanks;
  for (const char byte : line.substr(0, column - 1)) {
    const bool continues = (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
    if (!continues) blanks.push_back(byte == '\t' ? '\t' : ' ');
  }
  return blanks;
}

static std::string describe(const SourceText& source, const std::vector<Diagnostic>& diagnostics) {
  std::string text;
  for (const auto& [position, message] : diagnostics) {
    const std::string_view line = source.line(position.line);
    if (!text.empty()) text += '\n';
    text += source.path + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) +
            ": error: " + message + "\n  ";
    text += line;
    // A message ends at its first zero byte wherever it is handed on as a C string.
    std::replace(text.begin(), text.end(), '\0', ' ');
    text += "\n  " + indentation(line, position.column) + "^";
  }
  return text;
}

SourceError::SourceError(const SourceText& source, const std::vector<Diagnostic>& diagnostics)
    : std::runtime_error(describe(source, diagnostics)) {}

SourceError::SourceError(const SourceText& source, Position position, const std::string& message)
    : SourceError(source, std::vector<Diagnostic>{{position, message}}) {}

}  // namespace orva::language
