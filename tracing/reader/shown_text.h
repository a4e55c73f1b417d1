// How texts, numbers and times are shown, and how wide that is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tracing/reader/trace.h"

namespace orva::tracing {

/// `350 ns`, `12.3 µs`, `1.2 ms`, `2.1 s`.
std::string durationText(std::uint64_t nanoseconds);

/// With a comma after each three digits: `5,001`.
std::string numberText(std::int64_t number);

/// A number of things: `1 match`, `5,001 types`.
std::string countText(std::int64_t count, std::string_view one, std::string_view several);

/// A value as `null`, `-5`, `true`, `0x55d0`. Texts and the first elements of a list are shown in quotes, with control
/// characters escaped.
std::string valueText(const Value& value);

/// A word of a command line as shells read it: unchanged, in quotes if they would split or change it, or as `$'a\n'` if
/// it has characters that should not reach a terminal.
std::string shellWord(const std::string& word);

/// How many columns of a terminal a printable text takes.
std::size_t widthOf(std::string_view text);

/// The printable text, or its head and its tail with `…` in between if it is wider than that many columns.
std::string cutInMiddle(const std::string& text, std::size_t width);

/// Breaks a printable text between words, or within words that are wider than a line.
std::vector<std::string> wrapped(std::string_view text, std::size_t width);

/// The text with spaces after it, or before it, up to a width.
std::string padded(const std::string& text, std::size_t width);
std::string rightAligned(const std::string& text, std::size_t width);

}  // namespace orva::tracing
