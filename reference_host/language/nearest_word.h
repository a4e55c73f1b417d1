// Finds the word that a misspelt one was probably meant to be.
#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>
#include <vector>

namespace orva::language {

/// The number of letters to add, remove or replace to turn one word into the other.
inline std::size_t editDistance(std::string_view one, std::string_view other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

/// The name of the option that a word was probably meant to be: one that it abbreviates or is similar to. Empty if
/// there is none.
template <typename Options>
std::string_view nearestOption(const Options& options, std::string_view word) {
  std::string_view nearest;
  std::size_t least = std::max<std::size_t>(2, word.size() / 4) + 1;
  for (const auto& option : options) {
    const bool isAbbreviation = word.size() > 3 && option.name.substr(0, word.size()) == word;
    // Swapped letters are the likeliest mistake.
    const bool isSwapped = std::is_permutation(word.begin(), word.end(), option.name.begin(), option.name.end());
    const std::size_t distance = isAbbreviation ? 0 : isSwapped ? 1 : editDistance(word, option.name);
    if (distance >= least) continue;
    nearest = option.name;
    least = distance;
  }
  return nearest;
}

}  // namespace orva::language
