// Works out the text of the one diagnostic that is expected, and compares the whole of it.
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
  const Excerpt shown = excerpt(source.text.substr(start, source.text.find('\n', start) - start), column);
  return source.path + ":" + std::to_string(line) + ":" + std::to_string(column) + ": error: " + message + "\n  " +
         shown.text + "\n  " + shown.indentation + "^";
}

testing::AssertionResult refuses(std::string marked, const std::string& message) {
  const std::size_t place = marked.find('^');
  if (place == std::string::npos || place != marked.rfind('^')) {
    return testing::AssertionFailure() << "the source needs one mark:\n" << marked;
  }
  const SourceText source{"Main.ov", marked.erase(place, 1)};
  const std::string expected = expectedText(source, place, message);
  try {
    parseSource(source);
  } catch (const SourceError& error) {
    if (error.what() == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "expected\n" << expected << "\nbut the error is\n" << error.what();
  }
  return testing::AssertionFailure() << "expected\n" << expected << "\nbut the source is accepted";
}

testing::AssertionResult refusesBody(const std::string& marked, const std::string& message) {
  return refuses("class Main {\n  void main() {\n" + marked + "\n  }\n}\n", message);
}

}  // namespace orva::language
