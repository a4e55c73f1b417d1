// Counts columns as terminals do: combining marks take none, East Asian characters and emoji take two.
#include "tracing/reader/shown_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <utility>

#include "reference_host/language/printable_text.h"

namespace orva::tracing {

using language::Character;
using language::firstCharacter;
using language::printable;
using Ranges = std::initializer_list<std::pair<char32_t, char32_t>>;

template <typename... Numbers>
static std::string formatted(const char* format, Numbers... numbers) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), format, numbers...);
  return text.data();
}

std::string durationText(std::uint64_t nanoseconds) {
  if (nanoseconds < 1000) return std::to_string(nanoseconds) + " ns";
  const auto number = static_cast<double>(nanoseconds);
  // What would be rounded to 1000.0 is shown in the next unit.
  if (nanoseconds < 999'950) return formatted("%.1f µs", number / 1e3);
  if (nanoseconds < 999'950'000) return formatted("%.1f ms", number / 1e6);
  return formatted("%.1f s", number / 1e9);
}

std::string numberText(std::int64_t number) {
  std::string text = std::to_string(number);
  const std::size_t first = number < 0 ? 1 : 0;
  for (std::size_t at = text.size(); at > first + 3;) text.insert(at -= 3, 1, ',');
  return text;
}

std::string countText(std::int64_t count, std::string_view one, std::string_view several) {
  return numberText(count) + " " + std::string(count == 1 ? one : several);
}

/// So that a quote or a backslash of the text does not look like the text's end or like an escape.
static std::string withEscapedQuotes(const std::string& text, char quote) {
  std::string escaped;
  for (const char character : text) {
    if (character == quote || character == '\\') escaped += '\\';
    escaped += character;
  }
  return escaped;
}

std::string shellWord(const std::string& word) {
  const auto isPlain = [](unsigned char byte) {
    return byte >= 0x80 || std::isalnum(byte) != 0 || std::strchr("%+,-./:=@_", byte) != nullptr;
  };
  if (printable(word) != word) return "$'" + printable(withEscapedQuotes(word, '\'')) + "'";
  if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain)) return word;
  std::string quoted = "'";
  for (const char character : word) quoted += character == '\'' ? "'\\''" : std::string(1, character);
  return quoted + "'";
}

std::string valueText(const Value& value) {
  switch (value.kind) {
    case StoredKind::null: return "null";
    case StoredKind::integer: return std::to_string(value.number);
    case StoredKind::truth: return value.number != 0 ? "true" : "false";
    case StoredKind::pointer: return formatted("0x%llx", static_cast<unsigned long long>(value.number));
    case StoredKind::text: return '"' + printable(withEscapedQuotes(value.text, '"')) + (value.isCut ? "…\"" : "\"");
    case StoredKind::typeName: return printable(value.text);
    case StoredKind::count: break;
  }
  std::string list;
  for (const Value& element : value.elements) list += (list.empty() ? "" : ", ") + valueText(element);
  const auto shown = static_cast<std::int64_t>(value.elements.size());
  if (value.number > shown) list += (list.empty() ? "" : ", ") + countText(value.number - shown, "more", "more");
  return "[" + list + "]";
}

static bool isIn(const Ranges& ranges, char32_t code) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [&](const auto& range) { return code >= range.first && code <= range.second; });
}

static std::size_t widthOf(const Character& character) {
  const char32_t code = character.code;
  if (code < 0x300) return 1;
  static constexpr Ranges combining = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},    {0x610, 0x61A},
                                       {0x64B, 0x65F},   {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},  {0x20D0, 0x20FF},
                                       {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF}};
  static constexpr Ranges wide = {{0x1100, 0x115F},  {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xA960, 0xA97F},
                                  {0xAC00, 0xD7A3},  {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                                  {0xFFE0, 0xFFE6},  {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF},
                                  {0x20000, 0x3FFFD}};
  if (isIn(combining, code)) return 0;
  return isIn(wide, code) ? 2 : 1;
}

std::size_t widthOf(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    width += widthOf(character);
    text.remove_prefix(character.size);
  }
  return width;
}

/// How many bytes of the text fit into a width.
static std::size_t fitting(std::string_view text, std::size_t width) {
  std::size_t size = 0;
  while (size < text.size()) {
    const Character character = firstCharacter(text.substr(size));
    const std::size_t taken = widthOf(character);
    if (taken > width) break;
    width -= taken;
    size += character.size;
  }
  return size;
}

std::string cutInMiddle(const std::string& text, std::size_t width) {
  const std::size_t whole = widthOf(text);
  if (whole <= width) return text;
  if (width == 0) return "";
  const std::size_t before = (width - 1) / 2;
  std::size_t begin = fitting(text, whole - (width - 1 - before));
  // A wide character may cross the boundary.
  const auto isTooWide = [&] { return before + 1 + widthOf(std::string_view(text).substr(begin)) > width; };
  while (begin < text.size() && isTooWide()) begin += firstCharacter(std::string_view(text).substr(begin)).size;
  return text.substr(0, fitting(text, before)) + "…" + text.substr(begin);
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width) {
  std::vector<std::string> lines;
  while (widthOf(text) > width) {
    std::size_t size = std::max(fitting(text, width), firstCharacter(text).size);
    const std::size_t space = text.substr(0, size + 1).rfind(' ');
    const bool isBetweenWords = space != std::string_view::npos && space > 0;
    if (isBetweenWords) size = space;
    lines.emplace_back(text.substr(0, size));
    text.remove_prefix(std::min(text.size(), size + (isBetweenWords ? 1 : 0)));
  }
  if (!text.empty() || lines.empty()) lines.emplace_back(text);
  return lines;
}

static std::string spaces(const std::string& text, std::size_t width) {
  const std::size_t taken = widthOf(text);
  return std::string(taken < width ? width - taken : 0, ' ');
}

std::string padded(const std::string& text, std::size_t width) { return text + spaces(text, width); }
std::string rightAligned(const std::string& text, std::size_t width) { return spaces(text, width) + text; }

}  // namespace orva::tracing
