// Which bytes form which tokens, where the tokens are, and which bytes form none.
#include "reference_host/language/lexer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "refusals.h"
#include "tree_text.h"

namespace orva::language {
using namespace std::string_literals;

static std::string describe(const Token& token) {
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
static std::vector<std::string> tokens(const std::string& text) {
  std::vector<std::string> described;
  for (const Token& token : tokenize({"Main.ov", text})) described.push_back(describe(token));
  EXPECT_EQ("end", described.back());
  described.pop_back();
  return described;
}

/// Throws the fault that the tokens of a source end with, if any.
static void readTokens(const SourceText& source) {
  const Token last = tokenize(source).back();
  if (last.kind == TokenKind::fault) throw SourceError(source, last.position, last.text);
}

static std::string refusal(const std::string& text) {
  try {
    readTokens({"Main.ov", text});
  } catch (const SourceError& error) {
    return error.what();
  }
  return "no fault";
}

using Lines = std::vector<std::string>;

TEST(Lexer, MakesTokens) {
  const std::vector<std::pair<std::string, Lines>> texts = {
      {"", {}},
      {" \t\r\n\n  ", {}},
      {"azAZ09_ _ __9\tx", {"name azAZ09_", "name _", "name __9", "name x"}},
      {"{}()[]<>", {"symbol {", "symbol }", "symbol (", "symbol )", "symbol [", "symbol ]", "symbol <", "symbol >"}},
      {";,.=+", {"symbol ;", "symbol ,", "symbol .", "symbol =", "symbol +"}},
      {"==!=", {"symbol ==", "symbol !="}},
      {"===", {"symbol ==", "symbol ="}},
      {"= =", {"symbol =", "symbol ="}},
      {"!==", {"symbol !=", "symbol ="}},
      {"1.5", {"integer 1", "symbol .", "integer 5"}},
      {R"("a\nb\tc\"d\\e")", {"string a\nb\tc\"d\\e"}},
      {R"("\\"n)", {"string \\", "name n"}},
      {"\"\"", {"string "}},
      {"\"//\" \"/* */\" x // \"y", {"string //", "string /* */", "name x"}},
      {"a// class \xC3\xA9 \" /*\nb//", {"name a", "name b"}},
      {"a//\r\nb//\0x"s, {"name a", "name b"}},
      {"a // the text ends here", {"name a"}},
      {"a/* \0 \" // */b/**/c"s, {"name a", "name b", "name c"}},
      {"a/* /* \n **/b", {"name a", "name b"}},
  };
  for (const auto& [text, expected] : texts) EXPECT_EQ(expected, tokens(text));
}

TEST(Lexer, RefusesWhatIsNoToken) {
  const std::string endless(100, '9');
  const std::string escape = "unknown escape sequence: expected \\n, \\t, \\\" or \\\\";
  const std::string string = "unterminated string: expected '\"' before the end of the line";
  const std::string comment = "unterminated comment: expected '*/'";
  const Table refusals = {
      {"  ^9223372036854775808;", "the number 9223372036854775808 is too large: expected at most 2^63-1"},
      {"^" + endless, "the number " + endless + " is too large: expected at most 2^63-1"},
      {"\"ab^\\r\"", escape},
      {"\"^\\", escape},
      {"\"^\\\nx\"", escape},
      {"\"^\\\0\""s, escape},
      {"\"a^\0b\""s, "a string cannot contain a zero byte"},
      {" ^\"abc", string},
      {"\n^\"abc\n\"", string},
      {"^\"abc\r\n\"", string},
      {"^\"abc\\\"", string},
      {"^\"", string},
      {"x ^/* one\ntwo *", comment},
      {"^/*/", comment},
      {"^\0"s, "unexpected character 0x00"},
      {"^\v", "unexpected character 0x0B"},
      {"^\x7F", "unexpected character 0x7F"},
      {"^\xFF", "unexpected character 0xFF"},
      {"x^\xC3", "unexpected character 0xC3"},
      {"x^é", "unexpected character 'é' (U+00E9)"},
      {"^😀 x", "unexpected character '😀' (U+1F600)"},
      {"^\u202E x", "unexpected character '\\u202E' (U+202E)"},
  };
  for (const auto& [marked, message] : refusals) EXPECT_TRUE(refuses({"Main.ov", marked}, message, readTokens));
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

TEST(Lexer, ReadsNumbersUpToTheLargest) {
  EXPECT_EQ((Lines{"integer 0", "integer 7", "integer 42"}), tokens("0 007 42"));
  const std::vector<Token> read = tokenize({"Main.ov", "9223372036854775807"});
  EXPECT_EQ(std::numeric_limits<int64_t>::max(), read[0].value);
  EXPECT_EQ("9223372036854775807", read[0].text);
}

TEST(Lexer, RefusesNumbersThatRunIntoLetters) {
  for (const std::string number : {"1x", "0x10", "1_000", "9223372036854775808L"}) {
    const std::string message = "'" + number + "' is not a number: expected decimal digits";
    EXPECT_TRUE(refuses({"Main.ov", " ^" + number}, message, readTokens));
  }
}

TEST(Lexer, KeepsAnyByteOfAStringButZero) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '\n' && byte != '"' && byte != '\\') bytes.push_back(static_cast<char>(byte));
  }
  EXPECT_EQ(Lines{"string " + bytes}, tokens("\"" + bytes + "\""));
}

TEST(Lexer, CountsTheLinesOfBlockComments) {
  const std::vector<Token> read = tokenize({"Main.ov", "/* 1\n2\r\n3 */ x"});
  EXPECT_EQ("3:6", placeText(read[0].position));
}

TEST(Lexer, RefusesOtherPrintableCharactersByName) {
  for (const char byte : "!/*-%&|^~?:\\"s) {
    const std::string text(1, byte);
    EXPECT_EQ("Main.ov:1:2: error: unexpected character '" + text + "'\n   " + text + " x\n   ^",
              refusal(" " + text + " x"));
  }
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
  const Lines places = {"1:1", "1:4", "1:7", "2:2", "2:4"};
  ASSERT_EQ(spellings.size(), read.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(spellings[i], text.substr(read[i].begin, read[i].end - read[i].begin));
    EXPECT_EQ(places[i], placeText(read[i].position)) << spellings[i];
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
}  // namespace orva::language
