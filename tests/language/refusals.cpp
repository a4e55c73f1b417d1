// Builds the text of the one diagnostic that is expected, and compares all of it.
#include "refusals.h"

#include <algorithm>
#include <utility>

#include "reference_host/language/printable_text.h"

namespace orva::language {

static std::string expectedText(const SourceText& source, std::size_t place, const std::string& message) {
  const auto line = 1 + std::count(source.text.begin(), source.text.begin() + static_cast<std::ptrdiff_t>(place), '\n');
  const std::size_t before = place == 0 ? std::string::npos : source.text.rfind('\n', place - 1);
  const std::size_t start = before == std::string::npos ? 0 : before + 1;
  const std::size_t column = place - start + 1;
  const Excerpt shown = excerpt(source.line(static_cast<std::size_t>(line)), column);
  return source.path + ":" + std::to_string(line) + ":" + std::to_string(column) + ": error: " + message + "\n  " +
         shown.text + "\n  " + shown.indentation + "^";
}

testing::AssertionResult refuses(SourceText source, const std::string& message,
                                 const std::function<void(const SourceText&)>& read) {
  const std::size_t place = source.text.find('^');
  if (place == std::string::npos || place != source.text.rfind('^')) {
    return testing::AssertionFailure() << "the source needs one mark:\n" << source.text;
  }
  source.text.erase(place, 1);
  const std::string expected = expectedText(source, place, message);
  try {
    read(source);
  } catch (const SourceError& error) {
    if (error.what() == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected\n" << expected << "\nbut the error is\n" << error.what();
  }
  return testing::AssertionFailure() << "expected\n" << expected << "\nbut the source is accepted";
}

testing::AssertionResult refuses(std::string marked, const std::string& message) {
  return refuses({"Main.ov", std::move(marked)}, message, parseSource);
}

testing::AssertionResult refusesBody(const std::string& marked, const std::string& message) {
  return refuses("class Main {\n  void main() {\n" + marked + "\n  }\n}\n", message);
}

}  // namespace orva::language
