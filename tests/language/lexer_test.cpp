// Which bytes make which tokens, where the tokens stand, and which bytes make none.
#include "reference_host/language/lexer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace orva::language {
namespace {

using namespace std::string_literals;

std::string describe(const Token& token) {
  switch (token.kind) {
    case TokenKind::name: return "name " + token.text;
    case TokenKind::keyword: return "keyword " + token.text;
    case TokenKind::string: return "string " + token.text;
    case TokenKind::integer: return "integer " + std::to_string(token.value);
    case TokenKind::symbol: return "symbol " + token.text;
    case TokenKind::end: return "end";
    case TokenKind::fault: return "fault " + token.text;
  }
  return "a kind unknown to this test";
}

/// The tokens of a text without the last one, which must be the end.
std::vector<std::string> tokens(const std::string& text) {
  std::vector<std::string> described;
  for (const Token& token : tokenize({"Main.ov", text})) described.push_back(describe(token));
  EXPECT_EQ("end", described.back());
  described.pop_back();
  return described;
}

/// The diagnostic for the fault that the tokens of a text end with.
std::string refusal(const std::string& text) {
  const SourceText source{"Main.ov", text};
  const Token last = tokenize(source).back();
  return last.kind == TokenKind::fault ? SourceError(source, last.position, last.text).what() : "no fault";
}

using Lines = std::vector<std::string>;

TEST(Lexer, FindsOnlyTheEndInATextOfBlanks) {
  EXPECT_EQ(Lines{}, tokens(""));
  EXPECT_EQ(Lines{}, tokens(" \t\r\n\n  "));
}

TEST(Lexer, TellsNamesFromKeywords) {
  const Lines keywords = {"package", "class", "public", "static", "native", "return", "if",  "else",
                          "try",     "catch", "throw",  "new",    "true",   "false",  "null"};
  for (const std::string& keyword : keywords) {
    EXPECT_EQ(Lines{"keyword " + keyword}, tokens(keyword));
    EXPECT_EQ(Lines{"name " + keyword + "_"}, tokens(keyword + "_"));
    EXPECT_EQ(Lines{"name x" + keyword}, tokens("x" + keyword));
  }
  EXPECT_EQ((Lines{"name Class", "name NULL", "name void", "name int", "name String"}),
            tokens("Class NULL void int String"));
}

TEST(Lexer, MakesNamesOfLettersDigitsAndUnderscores) {
  EXPECT_EQ((Lines{"name azAZ09_", "name _", "name __9", "name x"}), tokens("azAZ09_ _ __9\tx"));
}

TEST(Lexer, KnowsEverySymbol) {
  const Lines expected = {"symbol {", "symbol }", "symbol (", "symbol )", "symbol [", "symbol ]", "symbol <",
                          "symbol >", "symbol ;", "symbol ,", "symbol .", "symbol =", "symbol +"};
  EXPECT_EQ(expected, tokens("{}()[]<>;,.=+"));
}

TEST(Lexer, PrefersTheLongerSymbol) {
  EXPECT_EQ((Lines{"symbol ==", "symbol !="}), tokens("==!="));
  EXPECT_EQ((Lines{"symbol ==", "symbol ="}), tokens("==="));
  EXPECT_EQ((Lines{"symbol =", "symbol ="}), tokens("= ="));
  EXPECT_EQ((Lines{"symbol !=", "symbol ="}), tokens("!=="));
}

TEST(Lexer, ReadsNumbersUpToTheLargest) {
  EXPECT_EQ((Lines{"integer 0", "integer 7", "integer 42"}), tokens("0 007 42"));
  const std::vector<Token> read = tokenize({"Main.ov", "9223372036854775807"});
  EXPECT_EQ(std::numeric_limits<int64_t>::max(), read[0].value);
  EXPECT_EQ("9223372036854775807", read[0].text);
}

TEST(Lexer, RefusesNumbersBeyondTheLargest) {
  EXPECT_EQ(
      "Main.ov:1:3: error: the number 9223372036854775808 is too large: expected at most 2^63-1\n"
      "    9223372036854775808;\n"
      "    ^",
      refusal("  9223372036854775808;"));
  const std::string endless(100, '9');
  EXPECT_EQ(
      "Main.ov:1:1: error: the number " + endless + " is too large: expected at most 2^63-1\n  " + endless + "\n  ^",
      refusal(endless));
}

TEST(Lexer, RefusesNumbersThatRunIntoLetters) {
  for (const std::string number : {"1x", "0x10", "1_000", "9223372036854775808L"}) {
    EXPECT_EQ("Main.ov:1:2: error: '" + number + "' is not a number: expected decimal digits\n   " + number + "\n   ^",
              refusal(" " + number));
  }
}

TEST(Lexer, EndsANumberAtADot) { EXPECT_EQ((Lines{"integer 1", "symbol .", "integer 5"}), tokens("1.5")); }

TEST(Lexer, ResolvesTheEscapesOfStrings) {
  EXPECT_EQ(Lines{"string a\nb\tc\"d\\e"}, tokens(R"("a\nb\tc\"d\\e")"));
  EXPECT_EQ((Lines{"string \\", "name n"}), tokens(R"("\\"n)"));
  EXPECT_EQ(Lines{"string "}, tokens("\"\""));
}

TEST(Lexer, RefusesOtherEscapes) {
  EXPECT_EQ("Main.ov:1:4: error: unknown escape: expected \\n, \\t, \\\" or \\\\\n  \"ab\\r\"\n     ^",
            refusal(R"("ab\r")"));
  EXPECT_EQ("Main.ov:1:2: error: unknown escape: expected \\n, \\t, \\\" or \\\\\n  \"\\\n   ^", refusal("\"\\"));
  EXPECT_EQ("Main.ov:1:2: error: unknown escape: expected \\n, \\t, \\\" or \\\\\n  \"\\\n   ^", refusal("\"\\\nx\""));
  EXPECT_EQ("Main.ov:1:2: error: unknown escape: expected \\n, \\t, \\\" or \\\\\n  \"\\\\x00\"\n   ^",
            refusal("\"\\\0\""s));
}

TEST(Lexer, RefusesStringsThatDoNotEndOnTheirLine) {
  const std::string message = "error: unterminated string: expected '\"' on its line\n  ";
  EXPECT_EQ("Main.ov:1:2: " + message + " \"abc\n   ^", refusal(" \"abc"));
  EXPECT_EQ("Main.ov:2:1: " + message + "\"abc\n  ^", refusal("\n\"abc\n\""));
  EXPECT_EQ("Main.ov:1:1: " + message + "\"abc\n  ^", refusal("\"abc\r\n\""));
  EXPECT_EQ("Main.ov:1:1: " + message + "\"abc\\\"\n  ^", refusal(R"("abc\")"));
  EXPECT_EQ("Main.ov:1:1: " + message + "\"\n  ^", refusal("\""));
}

TEST(Lexer, KeepsAnyByteOfAStringButZero) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\n' && byte != '"' && byte != '\\') bytes.push_back(static_cast<char>(byte));
  }
  EXPECT_EQ(Lines{"string " + bytes}, tokens("\"" + bytes + "\""));
  EXPECT_EQ("Main.ov:1:3: error: a string cannot hold a zero byte\n  \"a\\x00b\"\n    ^", refusal("\"a\0b\""s));
}

TEST(Lexer, KeepsCommentMarksWithinStrings) {
  EXPECT_EQ((Lines{"string //", "string /* */", "name x"}), tokens("\"//\" \"/* */\" x // \"y"));
}

TEST(Lexer, DropsLineComments) {
  EXPECT_EQ((Lines{"name a", "name b"}), tokens("a// class \xC3\xA9 \" /*\nb//"));
  EXPECT_EQ((Lines{"name a", "name b"}), tokens("a//\r\nb//\0x"s));
  EXPECT_EQ(Lines{"name a"}, tokens("a // the text ends here"));
}

TEST(Lexer, DropsBlockComments) {
  EXPECT_EQ((Lines{"name a", "name b", "name c"}), tokens("a/* \0 \" // */b/**/c"s));
  EXPECT_EQ((Lines{"name a", "name b"}), tokens("a/* /* \n **/b"));
}

TEST(Lexer, CountsTheLinesOfBlockComments) {
  const std::vector<Token> read = tokenize({"Main.ov", "/* 1\n2\r\n3 */ x"});
  EXPECT_EQ(3U, read[0].position.line);
  EXPECT_EQ(6U, read[0].position.column);
}

TEST(Lexer, RefusesBlockCommentsWithoutAnEnd) {
  EXPECT_EQ("Main.ov:1:3: error: unterminated comment: expected '*/'\n  x /* one\n    ^", refusal("x /* one\ntwo *"));
  EXPECT_EQ("Main.ov:1:1: error: unterminated comment: expected '*/'\n  /*/\n  ^", refusal("/*/"));
}

TEST(Lexer, RefusesOtherPrintableCharactersByName) {
  for (const char byte : "!/*-%&|^~?:\\"s) {
    const std::string text(1, byte);
    EXPECT_EQ("Main.ov:1:2: error: unexpected character '" + text + "'\n   " + text + " x\n   ^",
              refusal(" " + text + " x"));
  }
}

TEST(Lexer, RefusesOtherBytesByNumber) {
  EXPECT_EQ("Main.ov:1:1: error: unexpected character 0x00\n  \\x00\n  ^", refusal("\0"s));
  EXPECT_EQ("Main.ov:1:1: error: unexpected character 0x0B\n  \\x0B\n  ^", refusal("\v"));
  EXPECT_EQ("Main.ov:1:1: error: unexpected character 0x7F\n  \\x7F\n  ^", refusal("\x7F"));
  EXPECT_EQ("Main.ov:1:1: error: unexpected character 0xFF\n  \\xFF\n  ^", refusal("\xFF"));
  EXPECT_EQ("Main.ov:1:2: error: unexpected character 0xC3\n  x\\xC3\n   ^", refusal("x\xC3"));
}

TEST(Lexer, RefusesOtherCharactersByNameAndNumber) {
  EXPECT_EQ("Main.ov:1:2: error: unexpected character 'é' (U+00E9)\n  xé\n   ^", refusal("xé"));
  EXPECT_EQ("Main.ov:1:1: error: unexpected character '😀' (U+1F600)\n  😀 x\n  ^", refusal("😀 x"));
  EXPECT_EQ("Main.ov:1:1: error: unexpected character '\\u202E' (U+202E)\n  \\u202E x\n  ^", refusal("\u202E x"));
}

TEST(Lexer, NamesAnotherEncoding) {
  for (const std::string& mark : {"\xFF\xFE"s, "\xFE\xFF"s}) {
    const std::string first = "Main.ov:1:1: error: this text is UTF-16: expected UTF-8\n";
    EXPECT_EQ(first, refusal(mark + "c\0"s).substr(0, first.size()));
  }
}

TEST(Lexer, EndsAtTheFirstFault) {
  EXPECT_EQ("fault unexpected character 0x01", describe(tokenize({"Main.ov", "a \x01 b \x02"}).back()));
  EXPECT_EQ(2U, tokenize({"Main.ov", "a \x01 b \x02"}).size());
}

TEST(Lexer, TellsWhereEachTokenStands) {
  const std::string text = "ab == \"\\n\"\r\n\t12";
  const std::vector<Token> read = tokenize({"Main.ov", text});
  const std::vector<std::string_view> spellings = {"ab", "==", "\"\\n\"", "12", ""};
  const std::vector<std::size_t> lines = {1, 1, 1, 2, 2};
  const std::vector<std::size_t> columns = {1, 4, 7, 2, 4};
  ASSERT_EQ(spellings.size(), read.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(spellings[i], text.substr(read[i].begin, read[i].end - read[i].begin));
    EXPECT_EQ(lines[i], read[i].position.line) << spellings[i];
    EXPECT_EQ(columns[i], read[i].position.column) << spellings[i];
  }
}

TEST(Token, IsASymbolOrAKeywordButNeverAStringOrAName) {
  const std::vector<Token> read = tokenize({"Main.ov", "( \"(\" if \"if\" name"});
  EXPECT_TRUE(read[0].is("("));
  EXPECT_FALSE(read[1].is("("));
  EXPECT_TRUE(read[2].is("if"));
  EXPECT_FALSE(read[3].is("if"));
  EXPECT_FALSE(read[4].is("name"));
}

TEST(IsName, TakesWhatTheLexerCallsAName) {
  for (const std::string_view text : {"a", "_", "Z9", "class_", "void"}) EXPECT_TRUE(isName(text)) << text;
}

TEST(IsName, RefusesAnythingElse) {
  for (const std::string_view text : {"", "9a", "a b", " a", "a ", "a.b", "class", "null", "a-b", "\xC3\xA9"}) {
    EXPECT_FALSE(isName(text)) << text;
  }
  EXPECT_FALSE(isName(std::string_view("a\0", 2)));
}

TEST(IsQualifiedName, TakesNamesJoinedByDots) {
  for (const std::string_view text : {"a", "a.b", "orva.lang._x.Y2"}) EXPECT_TRUE(isQualifiedName(text)) << text;
}

TEST(IsQualifiedName, RefusesAnythingElse) {
  for (const std::string_view text : {"", ".", "a.", ".a", "a..b", "a.class", "new.b", "a. b", "a.9", "a.b<c>"}) {
    EXPECT_FALSE(isQualifiedName(text)) << text;
  }
}

}  // namespace
}  // namespace orva::language
