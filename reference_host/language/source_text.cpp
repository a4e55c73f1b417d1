// Finds lines, and formats diagnostics with the line that they are about.
#include "reference_host/language/source_text.h"

#include <algorithm>

#include "reference_host/language/printable_text.h"

namespace orva::language {

constexpr std::size_t mostDiagnostics = 20;

std::size_t SourceText::start() const {
  static constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  return text.compare(0, byteOrderMark.size(), byteOrderMark) == 0 ? byteOrderMark.size() : 0;
}

static std::string_view withoutCarriageReturn(std::string_view line) {
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::vector<std::size_t> SourceText::lineStarts() const {
  std::vector<std::size_t> starts;
  for (std::size_t begin = start(); begin <= text.size();) {
    starts.push_back(begin);
    begin = std::min(text.find('\n', begin), text.size()) + 1;
  }
  return starts;
}

std::string_view SourceText::lineFrom(std::size_t start) const {
  const std::string_view rest = std::string_view(text).substr(start);
  return withoutCarriageReturn(rest.substr(0, rest.find('\n')));
}

std::string_view SourceText::line(std::size_t number) const {
  std::size_t begin = start();
  for (; number > 1; --number) {
    const std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) return {};
    begin = end + 1;
  }
  return lineFrom(begin);
}

static std::string describe(const SourceText& source, const Diagnostic& diagnostic) {
  const auto& [position, message] = diagnostic;
  const Excerpt shown = excerpt(source.line(position.line), position.column);
  return printable(source.path) + ":" + std::to_string(position.line) + ":" + std::to_string(position.column) +
         ": error: " + printable(shortened(message)) + "\n  " + shown.text + "\n  " + shown.indentation + "^";
}

static std::string describe(const SourceText& source, const std::vector<Diagnostic>& diagnostics) {
  std::string text;
  const std::size_t shown = std::min(diagnostics.size(), mostDiagnostics);
  for (std::size_t i = 0; i < shown; ++i) text += (i == 0 ? "" : "\n") + describe(source, diagnostics[i]);
  const std::size_t more = diagnostics.size() - shown;
  if (more > 0) text += "\nand " + std::to_string(more) + (more == 1 ? " more error" : " more errors");
  return text;
}

SourceError::SourceError(const SourceText& source, const std::vector<Diagnostic>& diagnostics)
    : std::runtime_error(describe(source, diagnostics)) {}

SourceError::SourceError(const SourceText& source, Position position, const std::string& message)
    : SourceError(source, std::vector<Diagnostic>{{position, message}}) {}

}  // namespace orva::language
