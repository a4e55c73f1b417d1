// Which bytes reach a terminal, and how a long line is cut.
#include "reference_host/language/printable_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace orva::language {
using namespace std::string_literals;

/// The UTF-8 form of a code point, even of one that UTF-8 forbids.
static std::string utf8(char32_t code) {
  if (code < 0x80) return {static_cast<char>(code)};
  std::string bytes;
  for (; code > (bytes.empty() ? 0x1FU : 0x3FU >> bytes.size()); code >>= 6U) {
    bytes.insert(bytes.begin(), static_cast<char>(0x80U | (code & 0x3FU)));
  }
  const auto mark = static_cast<unsigned char>(0xF0U << (3 - bytes.size()));
  return std::string(1, static_cast<char>(mark | code)) + bytes;
}

static bool isSafe(std::string_view text) {
  while (!text.empty()) {
    const Character character = firstCharacter(text);
    const char32_t code = character.code;
    if (!character.isValid || code < 0x20 || (code >= 0x7F && code < 0xA0)) return false;
    text.remove_prefix(character.size);
  }
  return true;
}

TEST(Printable, KeepsWhatIsVisible) {
  for (const std::string text : {"", "plain 'text'", "grün", "€", "😀", "日本", "\\n"})
    EXPECT_EQ(text, printable(text));
  for (char32_t code = ' '; code < 0x7F; ++code) EXPECT_EQ(utf8(code), printable(utf8(code)));
}

TEST(Printable, EscapesEveryControlCharacter) {
  for (unsigned code = 0; code < 0x20; ++code) {
    const std::string shown = printable(std::string(1, static_cast<char>(code)));
    EXPECT_EQ('\\', shown[0]) << code;
    EXPECT_TRUE(isSafe(shown)) << code;
  }
  EXPECT_EQ(R"(\n\r\t\x00\x07\x1B\x7F)", printable("\n\r\t\0\a\x1B\x7F"s));
  EXPECT_EQ(R"(\u0080\u009B\u009F)", printable(utf8(0x80) + utf8(0x9B) + utf8(0x9F)));
}

TEST(Printable, EscapesWhatIsInvisibleOrTurnsTheLine) {
  EXPECT_EQ(R"(\u061C\u200B\u200E\u200F\u2028\u2029\u202A\u202E\u2060\u2066\u2069\uFEFF)",
            printable("\u061C\u200B\u200E\u200F\u2028\u2029\u202A\u202E\u2060\u2066\u2069\uFEFF"));
}

TEST(Printable, EscapesBytesThatAreNotUtf8) {
  for (unsigned byte = 0x80; byte < 0x100; ++byte) {
    const std::string shown = printable("a" + std::string(1, static_cast<char>(byte)) + "b");
    EXPECT_EQ(6U, shown.size()) << byte;
    EXPECT_TRUE(isSafe(shown)) << byte;
  }
  EXPECT_EQ(R"(\xC0\x80)", printable("\xC0\x80"));
  EXPECT_EQ(R"(\xE0\x80\xAF)", printable("\xE0\x80\xAF"));
  EXPECT_EQ(R"(\xED\xA0\x80)", printable(utf8(0xD800)));
  EXPECT_EQ(R"(\xF4\x90\x80\x80)", printable(utf8(0x110000)));
  EXPECT_EQ(R"(\xE2\x82)", printable("\xE2\x82"));
  EXPECT_EQ(R"(\xF0\x9F\x98x)", printable("\xF0\x9F\x98x"));
}

TEST(Printable, IsSafeForAnyBytes) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string text;
    for (auto size = random() % 20; size > 0; --size) text += static_cast<char>(random());
    EXPECT_TRUE(isSafe(printable(text)));
    EXPECT_EQ(printable(text), printable(printable(text)));
  }
}

TEST(Printable, KeepsWhatItIsTold) { EXPECT_EQ("a\n\tb\\r\n\\x1B", printable("a\n\tb\r\n\x1B", "\n\t")); }

TEST(InQuotes, IsPrintable) { EXPECT_EQ(R"('a\n\x1B!')", inQuotes("a\n\x1B!")); }

TEST(FirstCharacter, ReadsEveryCodePoint) {
  for (char32_t code = 0; code < 0x110000; code += code < 0x1000 ? 1 : 0x35) {
    const std::string text = utf8(code) + "x";
    const Character character = firstCharacter(text);
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    ASSERT_EQ(!isSurrogate, character.isValid) << text;
    ASSERT_EQ(isSurrogate ? 1 : text.size() - 1, character.size) << text;
    if (!isSurrogate) {
      ASSERT_EQ(code, character.code);
    }
  }
}

TEST(Shortened, KeepsBothEnds) {
  EXPECT_EQ(std::string(1000, 'a'), shortened(std::string(1000, 'a')));
  EXPECT_EQ(std::string(500, 'a') + "…" + std::string(500, 'a'), shortened(std::string(1001, 'a')));
}

TEST(Shortened, CutsBetweenCharacters) {
  for (const std::string character : {"é", "€", "😀"}) {
    for (const std::string before : {"", "a", "aa", "aaa"}) {
      std::string text = before;
      while (text.size() < 3000) text += character;
      const std::string cut = shortened(text);
      EXPECT_EQ(cut, printable(cut));
      EXPECT_LT(cut.size(), 1010U);
    }
  }
}

static std::size_t widthOf(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

/// What the caret of an excerpt points at: the rest of the shown line.
static std::string pointedAt(const Excerpt& shown) {
  std::size_t at = 0;
  for (std::size_t columns = widthOf(shown.indentation); columns > 0; --columns) {
    at += firstCharacter(std::string_view(shown.text).substr(at)).size;
  }
  return shown.text.substr(at);
}

TEST(Excerpt, ShowsShortLinesWhole) {
  for (const std::string line : {"", "a", "\tclass A { }", "grün €", "😀"}) {
    EXPECT_EQ(line, excerpt(line, 1).text);
    EXPECT_EQ("", excerpt(line, 1).indentation);
    EXPECT_EQ(widthOf(line), widthOf(excerpt(line, line.size() + 1).indentation));
  }
  EXPECT_EQ("\t  ", excerpt("\té x", 5).indentation);
}

TEST(Excerpt, StandsBelowEscapes) {
  EXPECT_EQ(R"(a\x1B!)", excerpt("a\x1B!", 3).text);
  EXPECT_EQ("     ", excerpt("a\x1B!", 3).indentation);
  EXPECT_EQ(R"(\u202Ex)", excerpt("\u202Ex", 4).text);
  EXPECT_EQ("      ", excerpt("\u202Ex", 4).indentation);
}

TEST(Excerpt, CutsOnEitherSide) {
  const std::string line(500, 'a');
  EXPECT_EQ(std::string(120, 'a') + "…", excerpt(line, 1).text);
  EXPECT_EQ("…" + std::string(120, 'a') + "…", excerpt(line, 250).text);
  EXPECT_EQ("…" + std::string(120, 'a'), excerpt(line, 501).text);
  EXPECT_EQ("…" + std::string(120, 'a'), excerpt(line, 9000).text);
  EXPECT_EQ(std::string(120, 'a'), excerpt(std::string(120, 'a'), 60).text);
  EXPECT_EQ("…" + std::string(15, '\t') + "…", excerpt(std::string(100, '\t'), 50).text);
}

/// A line of `count` characters from a list.
static std::string lineOf(const std::vector<std::string>& characters, std::size_t count) {
  std::string line;
  for (std::size_t i = 0; i < count; ++i) line += characters[i * 7 % characters.size()];
  return line;
}

TEST(Excerpt, PointsAtTheSameCharacterWhereverItCuts) {
  const std::vector<std::vector<std::string>> alphabets = {{"a"},         {"é"},
                                                           {"😀"},        {"\t"},
                                                           {"\x1B"},      {"\xFF"},
                                                           {"\x80"},      {"a", "€", "\t", "😀"},
                                                           {"\xF0", "é"}, {"\u202E", "b", "\xC3"}};
  for (const auto& alphabet : alphabets) {
    for (const std::size_t count : {1U, 119U, 120U, 121U, 700U}) {
      const std::string line = lineOf(alphabet, count);
      for (std::size_t place = 0; place < line.size();) {
        const Excerpt shown = excerpt(line, place + 1);
        const std::size_t size = firstCharacter(std::string_view(line).substr(place)).size;
        const std::string character = line.substr(place, size);
        const std::string expected = character == "\t" ? character : printable(character);
        ASSERT_EQ(expected, pointedAt(shown).substr(0, expected.size())) << count << " " << place;
        ASSERT_LE(widthOf(shown.text), 122U);
        ASSERT_EQ(shown.text, printable(shown.text, "\n\t"));
        place += size;
      }
    }
  }
}

TEST(Excerpt, OfAVeryLongLineReadsOnlyWhatItShows) {
  std::string line;
  line.resize(10'000'000, '\xE2');
  for (std::size_t column = 1; column < line.size(); column += 100'000) {
    ASSERT_LT(excerpt(line, column).text.size(), 200U);
  }
}
}  // namespace orva::language
