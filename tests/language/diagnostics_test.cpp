// How errors show their place: file, line, column, the line itself, and a caret under it.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "reference_host/language/parser.h"
#include "reference_host/language/source_text.h"

namespace orva::language {
using namespace std::string_literals;

static std::string refusal(const std::string& text) {
  try {
    parseSource({"some folder/Main.ov", text});
  } catch (const SourceError& error) {
    return error.what();
  }
  return "no error";
}

TEST(SourceText, FindsLinesByNumber) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> texts = {
      {"one\n\nthree\r\nfour", {"one", "", "three", "four", "", ""}},
      {"a\rb\r\r\nc\r", {"a\rb\r", "c"}},
      {"a\n", {"a", ""}},
      {"", {"", ""}},
  };
  for (const auto& [text, lines] : texts) {
    const SourceText source{"Main.ov", text};
    for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i], source.line(i + 1)) << text;
    EXPECT_EQ("", source.line(50));
  }
}

TEST(SourceError, ShowsThePlaceOfTheFirstErrorBelowItsLine) {
  const std::string noName = "error: expected a class name, found ";
  const std::string noBrace = "error: expected '{', found the end of the input\n";
  const std::string letters = "  class A { void m() { x = \"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\" /* \xC3\xA9 */ } }";
  const std::vector<std::pair<std::string, std::string>> errors = {
      {"class { }", "1:7: " + noName + "'{'\n  class { }\n        ^"},
      {"class (\nclass )", "1:7: " + noName + "'('\n  class (\n        ^"},
      {"class (\nclass #", "1:7: " + noName + "'('\n  class (\n        ^"},
      {"class 007", "1:7: " + noName + "'007'\n  class 007\n        ^"},
      {R"(class "a\"\n")", "1:7: " + noName + R"('"a\"\n"')" + "\n  class \"a\\\"\\n\"\n        ^"},
      {"class A {\n\t \t;", "2:4: error: expected a type, found ';'\n  \t \t;\n  \t \t^"},
      {letters.substr(2), "1:47: error: expected ';', found '}'\n" + letters + "\n" + std::string(41, ' ') + "^"},
      {"class A {}\r\n  ;\r\n", "2:3: error: expected 'class', found ';'\n    ;\n    ^"},
      {"class A{};\r", "1:10: error: expected 'class', found ';'\n  class A{};\n           ^"},
      {"class A", "1:8: " + noBrace + "  class A\n         ^"},
      {"class A\n\n", "3:1: " + noBrace + "  \n  ^"},
      {"class A\n// behind", "2:10: " + noBrace + "  // behind\n           ^"},
      {"/* a\0b\0c */"s, "1:12: error: expected a class\n  /* a\\x00b\\x00c */\n                   ^"},
      {"class A\0{}"s, "1:8: error: unexpected character 0x00\n  class A\\x00{}\n         ^"},
  };
  for (const auto& [text, error] : errors) EXPECT_EQ("some folder/Main.ov:" + error, refusal(text));
}

TEST(SourceError, PutsOneBlockUnderAnother) {
  const SourceText source{"Main.ov", "first\n\tsecond"};
  const SourceError error(source, {{{1, 1}, "one"}, {{2, 4}, "two"}});
  EXPECT_STREQ("Main.ov:1:1: error: one\n  first\n  ^\nMain.ov:2:4: error: two\n  \tsecond\n  \t  ^", error.what());
}

TEST(SourceError, CanPointBehindTheText) {
  const SourceText source{"Main.ov", "ab\n"};
  EXPECT_STREQ("Main.ov:1:3: error: here\n  ab\n    ^", SourceError(source, Position{1, 3}, "here").what());
  EXPECT_STREQ("Main.ov:9:9: error: nowhere\n  \n  ^", SourceError(source, Position{9, 9}, "nowhere").what());
}

TEST(SourceText, DropsAByteOrderMark) {
  const SourceText source{"Main.ov",
                          "\xEF\xBB\xBF"
                          "one\n\xEF\xBB\xBFtwo"};
  EXPECT_EQ("one", source.line(1));
  EXPECT_EQ("\xEF\xBB\xBFtwo", source.line(2));
  EXPECT_EQ("one", source.line(1));
  EXPECT_EQ("\xEF\xBB\xBFtwo", source.line(2));
  EXPECT_EQ("\xEF\xBB\xBFtwo", source.lineFrom(source.lineStarts().at(1)));
  EXPECT_EQ("", (SourceText{"Main.ov", "\xEF\xBB\xBF"}.line(1)));
}

TEST(SourceError, CountsColumnsBehindAByteOrderMark) {
  const std::string mark = "\xEF\xBB\xBF";
  for (const std::string text :
       {"class A", "clas A {}", "class A {}\nclass", "class A { void m() { é } }", "/* open"}) {
    EXPECT_EQ(refusal(text), refusal(mark + text));
  }
  EXPECT_EQ("no error", refusal(mark + "class A {}"));
  EXPECT_EQ("some folder/Main.ov:1:1: error: unexpected character '\\uFEFF' (U+FEFF)\n  \\uFEFFclass A {}\n  ^",
            refusal(mark + mark + "class A {}"));
}

/// The text of `count` errors, one per line.
static std::string errors(std::size_t count) {
  SourceText source{"Main.ov", ""};
  std::vector<Diagnostic> diagnostics;
  for (std::size_t i = 1; i <= count; ++i) {
    source.text += "line " + std::to_string(i) + "\n";
    diagnostics.push_back({{i, 1}, "number " + std::to_string(i)});
  }
  return SourceError(source, diagnostics).what();
}

TEST(SourceError, ShowsTwentyErrorsAndCountsTheOthers) {
  std::string expected;
  for (std::size_t count = 1; count <= 20; ++count) {
    const std::string number = std::to_string(count);
    expected += (count == 1 ? "" : "\n") + ("Main.ov:" + number + ":1: error: number ") + number + "\n  line " +
                number + "\n  ^";
    EXPECT_EQ(expected, errors(count));
  }
  EXPECT_EQ(expected + "\nand 1 more error", errors(21));
  EXPECT_EQ(expected + "\nand 2 more errors", errors(22));
  EXPECT_EQ(expected + "\nand 980 more errors", errors(1000));
}

TEST(SourceError, CutsALongLineAroundTheCaret) {
  const SourceText source{"Main.ov", std::string(1000, 'a') + "!" + std::string(1000, 'b')};
  EXPECT_EQ("Main.ov:1:1001: error: here\n  …" + std::string(60, 'a') + "!" + std::string(59, 'b') + "…\n  " +
                std::string(61, ' ') + "^",
            std::string(SourceError(source, Position{1, 1001}, "here").what()));
}

TEST(SourceError, CutsALongMessageInItsMiddle) {
  const std::string name = std::string(600, 'a') + std::string(600, 'b');
  const SourceError error({"Main.ov", "x"}, Position{1, 1}, name);
  EXPECT_EQ("Main.ov:1:1: error: " + std::string(500, 'a') + "…" + std::string(500, 'b') + "\n  x\n  ^",
            std::string(error.what()));
}

TEST(SourceError, IsPrintableWhateverItShows) {
  const std::string bad = "\x1B[31m\x07\xFF\n\xC2\x9B";
  const std::string shown = R"(\x1B[31m\x07\xFF\n\u009B)";
  const SourceError error({bad, "a\x1B[31m\rb"}, Position{1, 8}, bad);
  EXPECT_EQ(shown + ":1:8: error: " + shown + "\n  a\\x1B[31m\\rb\n             ^", std::string(error.what()));
}

TEST(SourceError, HoldsItsOwnText) {
  std::string text;
  try {
    const SourceText source{"gone.ov", "class A { void m() { x; }"};
    parseSource(source);
  } catch (const SourceError& error) {
    text = error.what();
  }
  EXPECT_EQ(
      "gone.ov:1:26: error: expected a method or '}', found the end of the input\n"
      "  class A { void m() { x; }\n                           ^",
      text);
}
}  // namespace orva::language
