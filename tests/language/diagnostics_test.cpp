// How errors show the place that they speak of: file, line, column, the line itself, and a caret under it.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "reference_host/language/parser.h"
#include "reference_host/language/source_text.h"

namespace orva::language {
namespace {

using namespace std::string_literals;

std::string refusal(const std::string& text) {
  try {
    parseSource({"some folder/Main.ov", text});
  } catch (const SourceError& error) {
    return error.what();
  }
  return "no error";
}

TEST(SourceText, FindsLinesByNumber) {
  const SourceText source{"Main.ov", "one\n\nthree\r\nfour"};
  EXPECT_EQ("one", source.line(1));
  EXPECT_EQ("", source.line(2));
  EXPECT_EQ("three", source.line(3));
  EXPECT_EQ("four", source.line(4));
  EXPECT_EQ("", source.line(5));
  EXPECT_EQ("", source.line(50));
}

TEST(SourceText, KeepsCarriageReturnsThatEndNoLine) {
  const SourceText source{"Main.ov", "a\rb\r\r\nc\r"};
  EXPECT_EQ("a\rb\r", source.line(1));
  EXPECT_EQ("c", source.line(2));
}

TEST(SourceText, HasAnEmptyLineBehindItsLastLineEnd) {
  EXPECT_EQ("", (SourceText{"Main.ov", "a\n"}.line(2)));
  EXPECT_EQ("", (SourceText{"Main.ov", ""}.line(1)));
}

TEST(SourceError, NamesTheFileAsItWasGiven) {
  EXPECT_EQ("some folder/Main.ov:1:7: error: expected the name of a class, found '{'\n  class { }\n        ^",
            refusal("class { }"));
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

TEST(SourceError, CopiesTabsBeforeTheCaret) {
  EXPECT_EQ("some folder/Main.ov:2:4: error: expected a type, found ';'\n  \t \t;\n  \t \t^",
            refusal("class A {\n\t \t;"));
}

TEST(SourceError, CountsBytesButPointsAtCharacters) {
  EXPECT_EQ(
      "some folder/Main.ov:1:47: error: expected ';', found '}'\n"
      "  class A { void m() { x = \"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\" /* \xC3\xA9 */ } }\n"
      "                                         ^",
      refusal("class A { void m() { x = \"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\" /* \xC3\xA9 */ } }"));
}

TEST(SourceError, LeavesOutTheLineEnd) {
  EXPECT_EQ("some folder/Main.ov:2:3: error: expected 'class', found ';'\n    ;\n    ^",
            refusal("class A {}\r\n  ;\r\n"));
  EXPECT_EQ("some folder/Main.ov:1:10: error: expected 'class', found ';'\n  class A{};\n           ^",
            refusal("class A{};\r"));
}

TEST(SourceError, PointsAtTheEndOfTheText) {
  EXPECT_EQ("some folder/Main.ov:1:8: error: expected '{', found the end of the text\n  class A\n         ^",
            refusal("class A"));
  EXPECT_EQ("some folder/Main.ov:3:1: error: expected '{', found the end of the text\n  \n  ^", refusal("class A\n\n"));
  EXPECT_EQ("some folder/Main.ov:2:10: error: expected '{', found the end of the text\n  // behind\n           ^",
            refusal("class A\n// behind"));
}

TEST(SourceError, ShowsZeroBytes) {
  EXPECT_EQ("some folder/Main.ov:1:12: error: expected a class\n  /* a\\x00b\\x00c */\n                   ^",
            refusal("/* a\0b\0c */"s));
  EXPECT_EQ("some folder/Main.ov:1:8: error: unexpected character 0x00\n  class A\\x00{}\n         ^",
            refusal("class A\0{}"s));
}

TEST(SourceError, ShowsATokenAsItIsSpelled) {
  EXPECT_EQ(R"(some folder/Main.ov:1:7: error: expected the name of a class, found '"a\"\n"'
  class "a\"\n"
        ^)",
            refusal(R"(class "a\"\n")"));
  EXPECT_EQ("some folder/Main.ov:1:7: error: expected the name of a class, found '007'\n  class 007\n        ^",
            refusal("class 007"));
}

TEST(SourceError, SpeaksOfTheFirstErrorOnly) {
  EXPECT_EQ("some folder/Main.ov:1:7: error: expected the name of a class, found '('\n  class (\n        ^",
            refusal("class (\nclass )"));
  EXPECT_EQ("some folder/Main.ov:1:7: error: expected the name of a class, found '('\n  class (\n        ^",
            refusal("class (\nclass #"));
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

/// The text of so many errors, one in each line.
std::string errors(std::size_t count) {
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
      "gone.ov:1:26: error: expected a method or '}', found the end of the text\n"
      "  class A { void m() { x; }\n                           ^",
      text);
}

}  // namespace
}  // namespace orva::language
