// Finding lines, and writing diagnostics under the line that they speak of.
#include "reference_host/language/source_text.h"

#include <algorithm>

namespace orva::language {

std::vector<std::string_view> SourceText::lines() const {
  std::vector<std::string_view> all;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    all.push_back(std::string_view(text).substr(begin, end - begin));
    if (!all.back().empty() && all.back().back() == '\r') all.back().remove_suffix(1);
    begin = end + 1;
  }
  return all;
}

std::string_view SourceText::line(std::size_t number) const {
  const std::vector<std::string_view> all = lines();
  return number <= all.size() ? all[number - 1] : std::string_view();
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
