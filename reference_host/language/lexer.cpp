// The lexer: one pass over the bytes of a source.
#include "reference_host/language/lexer.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "reference_host/language/foreign_constructs.h"
#include "reference_host/language/printable_text.h"

namespace orva::language {

static bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

static bool startsName(char byte) {
  return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_';
}

static bool continuesName(char byte) { return startsName(byte) || isDigit(byte); }

static bool isKeyword(std::string_view text) {
  static constexpr std::array<std::string_view, 15> keywords = {"package", "class", "public", "static", "native",
                                                                "return",  "if",    "else",   "try",    "catch",
                                                                "throw",   "new",   "true",   "false",  "null"};
  return std::find(keywords.begin(), keywords.end(), text) != keywords.end();
}

bool isName(std::string_view text) {
  return !text.empty() && startsName(text.front()) && std::all_of(text.begin(), text.end(), continuesName) &&
         !isKeyword(text);
}

bool isQualifiedName(std::string_view text) {
  for (std::size_t dot = text.find('.'); dot != std::string_view::npos; dot = text.find('.')) {
    if (!isName(text.substr(0, dot))) return false;
    text.remove_prefix(dot + 1);
  }
  return isName(text);
}

namespace {

/// Text that is not a token.
struct Fault {
  Position position;
  std::string message;
  std::size_t begin;  ///< the position of a character that begins no token; otherwise the end of the text
};

class Lexer {
 public:
  explicit Lexer(const SourceText& source) : text_(source.text), at_(source.start()) {}

  std::vector<Token> run() {
    std::vector<Token> tokens;
    try {
      do {
        skipBlanks();
        tokens.push_back(next());
      } while (tokens.back().kind != TokenKind::end);
    } catch (const Fault& fault) {
      tokens.push_back({TokenKind::fault, fault.message, 0, fault.position, fault.begin, fault.begin});
    }
    return tokens;
  }

 private:
  char peek(std::size_t ahead = 0) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }
  bool atEnd() const { return at_ >= text_.size(); }

  void advance() {
    if (text_[at_] == '\n') {
      ++position_.line;
      position_.column = 1;
    } else {
      ++position_.column;
    }
    ++at_;
  }

  [[noreturn]] void fail(Position position, const std::string& message) const {
    throw Fault{position, message, text_.size()};
  }

  void skipBlanks() {
    while (!atEnd()) {
      const char byte = peek();
      if (byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r') {
        advance();
      } else if (byte == '/' && peek(1) == '/') {
        while (!atEnd() && peek() != '\n') advance();
      } else if (byte == '/' && peek(1) == '*') {
        skipBlockComment();
      } else {
        return;
      }
    }
  }

  void skipBlockComment() {
    const Position start = position_;
    const std::size_t end = text_.find("*/", at_ + 2);
    if (end == std::string_view::npos) fail(start, "unterminated comment: expected '*/'");
    while (at_ < end + 2) advance();
  }

  Token next() {
    Token token;
    token.position = position_;
    token.begin = at_;
    if (atEnd()) {
      token.kind = TokenKind::end;
    } else if (startsName(peek())) {
      readWord(token);
    } else if (isDigit(peek())) {
      readInteger(token);
    } else if (peek() == '"') {
      readString(token);
    } else {
      readSymbol(token);
    }
    token.end = at_;
    return token;
  }

  void readWord(Token& token) {
    while (!atEnd() && continuesName(peek())) advance();
    token.text = text_.substr(token.begin, at_ - token.begin);
    token.kind = isKeyword(token.text) ? TokenKind::keyword : TokenKind::name;
  }

  void readInteger(Token& token) {
    while (!atEnd() && continuesName(peek())) advance();
    token.text = text_.substr(token.begin, at_ - token.begin);
    token.kind = TokenKind::integer;
    const char* last = token.text.data() + token.text.size();
    const auto [stop, error] = std::from_chars(token.text.data(), last, token.value);
    if (stop != last) fail(token.position, "'" + token.text + "' is not a number: expected decimal digits");
    if (error != std::errc())
      fail(token.position, "the number " + token.text + " is too large: expected at most 2^63-1");
  }

  void readString(Token& token) {
    token.kind = TokenKind::string;
    advance();
    while (peek() != '"') {
      if (atEnd() || peek() == '\n')
        fail(token.position, "unterminated string: expected '\"' before the end of the line");
      if (peek() == '\0') fail(position_, "a string cannot contain a zero byte");
      token.text += peek() == '\\' ? readEscape() : peek();
      advance();
    }
    advance();
  }

  char readEscape() {
    const Position start = position_;
    advance();
    switch (peek()) {
      case 'n': return '\n';
      case 't': return '\t';
      case '"': return '"';
      case '\\': return '\\';
      default: fail(start, "unknown escape sequence: expected \\n, \\t, \\\" or \\\\");
    }
  }

  void readSymbol(Token& token) {
    token.kind = TokenKind::symbol;
    token.text = text_.substr(at_, (peek() == '=' || peek() == '!') && peek(1) == '=' ? 2 : 1);
    static constexpr std::string_view single = "{}()[]<>;,.=+";
    if (token.text.size() == 1 && single.find(peek()) == std::string_view::npos) failCharacter();
    for (std::size_t count = token.text.size(); count > 0; --count) advance();
  }

  [[noreturn]] void failCharacter() const {
    const std::string_view rest = text_.substr(at_);
    if (at_ == 0 && (rest.substr(0, 2) == "\xFF\xFE" || rest.substr(0, 2) == "\xFE\xFF")) {
      fail(position_, "this text is UTF-16: expected UTF-8");
    }
    const Character character = firstCharacter(rest);
    const std::string_view spelling = rest.substr(0, character.size);
    const std::string advice = adviceOn(Place::character, spelling);
    throw Fault{position_, advice.empty() ? "unexpected character " + describe(character, spelling) : advice, at_};
  }

  static std::string describe(const Character& character, std::string_view spelling) {
    if (character.code > ' ' && character.code < 0x7F) return "'" + std::string(spelling) + "'";
    std::array<char, 16> number{};
    const bool isByte = character.size == 1;
    std::snprintf(number.data(), number.size(), isByte ? "0x%02X" : "U+%04X", static_cast<unsigned>(character.code));
    return isByte ? number.data() : "'" + printable(spelling) + "' (" + number.data() + ")";
  }

  std::string_view text_;
  std::size_t at_;
  Position position_;
};

}  // namespace

std::vector<Token> tokenize(const SourceText& source) { return Lexer(source).run(); }

}  // namespace orva::language
