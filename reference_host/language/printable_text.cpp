// Decodes UTF-8, escapes what a terminal must not receive, and cuts long texts between characters.
#include "reference_host/language/printable_text.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>
#include <vector>

namespace orva::language {

constexpr std::size_t longestMessage = 1000;
constexpr std::size_t widestLine = 120;
constexpr std::size_t widestTab = 8;

static bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

Character firstCharacter(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(text[i])); };
  const char32_t first = byte(0);
  if (first < 0x80) return {first, 1, true};
  const Character invalid{first, 1, false};
  const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < size) return invalid;
  char32_t code = first & (0x7FU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if (!continuesCharacter(text[i])) return invalid;
    code = code << 6U | (byte(i) & 0x3FU);
  }
  constexpr std::array<char32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest[size] || isSurrogate || code > 0x10FFFF) return invalid;
  return {code, size, true};
}

/// Returns false for control characters, zero-width marks, and characters that change the direction of a line.
static bool isVisible(const Character& character) {
  static constexpr std::array<std::pair<char32_t, char32_t>, 8> invisible = {{{0x00, 0x1F},
                                                                              {0x7F, 0x9F},
                                                                              {0x61C, 0x61C},
                                                                              {0x200B, 0x200B},
                                                                              {0x200E, 0x200F},
                                                                              {0x2028, 0x202E},
                                                                              {0x2060, 0x206F},
                                                                              {0xFEFF, 0xFEFF}}};
  return character.isValid && std::none_of(invisible.begin(), invisible.end(), [&](const auto& range) {
           return character.code >= range.first && character.code <= range.second;
         });
}

static std::string escaped(const Character& character) {
  switch (character.code) {
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: break;
  }
  const bool isByte = !character.isValid || character.code < 0x80;
  std::array<char, 16> text{};
  std::snprintf(text.data(), text.size(), isByte ? "\\x%02X" : "\\u%04X", static_cast<unsigned>(character.code));
  return text.data();
}

std::string printable(std::string_view text, std::string_view kept) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const bool stays = isVisible(character) || kept.find(text.front()) != std::string_view::npos;
    result += stays ? std::string(text.substr(0, character.size)) : escaped(character);
    text.remove_prefix(character.size);
  }
  return result;
}

std::string inQuotes(std::string_view text) { return "'" + printable(text) + "'"; }

/// Where the character that contains a byte begins.
static std::size_t startOfCharacter(std::string_view text, std::size_t at) {
  for (std::size_t steps = 0; steps < 3 && at > 0 && at < text.size() && continuesCharacter(text[at]); ++steps) --at;
  return at;
}

std::string shortened(const std::string& text) {
  if (text.size() <= longestMessage) return text;
  const std::size_t end = startOfCharacter(text, longestMessage / 2);
  const std::size_t begin = startOfCharacter(text, text.size() - longestMessage / 2);
  return text.substr(0, end) + "…" + text.substr(begin);
}

namespace {

/// A character of a line as it is shown.
struct Cell {
  std::size_t end;  ///< one past its last byte in the line
  std::string text;
  std::size_t width;  ///< at most
};

}  // namespace

static std::vector<Cell> cellsOf(std::string_view line, std::size_t begin) {
  std::vector<Cell> cells;
  while (begin < line.size()) {
    const std::size_t size = firstCharacter(line.substr(begin)).size;
    std::string text = printable(line.substr(begin, size), "\t");
    const auto width = static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return !continuesCharacter(byte); }));
    begin += size;
    cells.push_back({begin, text, text == "\t" ? widestTab : width});
  }
  return cells;
}

/// The range of cells that fits around the caret: as many before it as after it, or more on one side if the line ends
/// on the other.
static std::pair<std::size_t, std::size_t> widestRange(const std::vector<Cell>& cells, std::size_t caret) {
  std::size_t first = caret;
  std::size_t last = caret;
  std::size_t room = widestLine;
  const auto fits = [&](std::size_t cell) {
    if (cell >= cells.size() || cells[cell].width > room) return false;
    room -= cells[cell].width;
    return true;
  };
  for (bool grows = true; grows;) {
    const bool growsBehind = fits(last);
    if (growsBehind) ++last;
    const bool growsBefore = first > 0 && fits(first - 1);
    if (growsBefore) --first;
    grows = growsBehind || growsBefore;
  }
  return {first, last};
}

Excerpt excerpt(std::string_view line, std::size_t column) {
  // A character has at most four bytes, so nothing beyond this is ever shown.
  constexpr std::size_t reach = 4 * (widestLine + 1);
  const std::size_t place = std::min(column - 1, line.size());
  const std::size_t begin = place > reach ? startOfCharacter(line, place - reach) : 0;
  const std::vector<Cell> cells = cellsOf(line.substr(0, place + reach), begin);
  const auto isBehind = [&](const Cell& cell) { return cell.end > place; };
  const auto caret = static_cast<std::size_t>(std::find_if(cells.begin(), cells.end(), isBehind) - cells.begin());
  const auto [first, last] = widestRange(cells, caret);

  const bool isCut = begin > 0 || first > 0;
  Excerpt shown{isCut ? "…" : "", isCut ? " " : ""};
  for (std::size_t i = first; i < last; ++i) {
    const Cell& cell = cells[i];
    shown.text += cell.text;
    if (i < caret) shown.indentation += cell.text == "\t" ? cell.text : std::string(cell.width, ' ');
  }
  if (last < cells.size()) shown.text += "…";
  return shown;
}

}  // namespace orva::language
