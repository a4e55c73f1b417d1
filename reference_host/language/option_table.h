// A table of command-line options, from which a program prints its help and parses its arguments.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/language/nearest_word.h"
#include "reference_host/language/printable_text.h"

namespace orva::language {

struct Option {
  std::string_view name;
  std::string_view value;  ///< its placeholder in the help; empty if the option takes no value
  std::string_view help;
  bool isValueOptional = false;  ///< a value then follows `=`

  /// The option and its value, as the help shows them.
  std::string shown() const {
    if (isValueOptional) return std::string(name) + "[=" + std::string(value) + "]";
    return std::string(name) + " " + std::string(value);
  }
};

/// The help text for a table of options; the descriptions begin at a column.
template <typename Options>
std::string helpOf(const Options& options, std::size_t column) {
  std::string text;
  for (const Option& option : options) {
    std::string left = "  " + option.shown();
    left.resize(column, ' ');
    text += left + std::string(option.help) + "\n";
  }
  return text;
}

/// Tells whether a word names an option: `-` does not, and `--` ends the options.
inline bool isOption(std::string_view word) { return word.size() > 1 && word.front() == '-' && word != "--"; }

/// An option of the table, and the value that it was given; empty when it has none.
struct GivenOption {
  const Option& option;
  std::string_view value;
};

/// Reads the option at `words[at]`, and its value from the same word or the next one.
/// @param fail ends the process; it receives what is wrong, and the option that was probably meant, if any.
template <typename Options, typename Fail>
GivenOption takeOption(const Options& options, const std::vector<std::string_view>& words, std::size_t& at,
                       const Fail& fail) {
  const std::string_view word = words[at++];
  const std::size_t equals = word.find('=');
  const std::string_view name = word.substr(0, equals);
  const auto* option =
      std::find_if(options.begin(), options.end(), [&](const Option& each) { return each.name == name; });
  if (option == options.end()) fail("unknown option " + inQuotes(name), nearestOption(options, name));
  const bool isInWord = equals != std::string_view::npos;
  const bool isNextWord = !isInWord && !option->value.empty() && !option->isValueOptional;
  const auto failValue = [&](const std::string& problem) {
    fail("option " + inQuotes(name) + " " + problem + ": expected '" + option->shown() + "'", "");
  };
  if (isInWord && option->value.empty()) fail("option " + inQuotes(name) + " takes no value", "");
  // A value that begins with dashes must follow `=`.
  if (isNextWord && (at == words.size() || words[at].substr(0, 2) == "--")) failValue("has no value");
  const std::string_view value = isInWord ? word.substr(equals + 1) : isNextWord ? words[at++] : std::string_view();
  if (value.empty() && (isInWord || isNextWord)) failValue("has an empty value");
  return {*option, value};
}

}  // namespace orva::language
