// Turns a source text into tokens.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/language/source_text.h"

namespace orva::language {

/// The kinds of tokens. A `fault` is text that is not a token; the lexer stops there.
enum class TokenKind { name, keyword, string, integer, symbol, end, fault };

struct Token {
  TokenKind kind = TokenKind::end;
  /// The token's spelling; for a string, its characters with the escapes resolved; for a fault, what is wrong.
  std::string text;
  int64_t value = 0;  ///< of an integer
  Position position;
  /// The token's range in the source, from `begin` up to `end`. That of a fault is empty: it is at the character that
  /// begins no token, or at the end of the text for any other fault.
  std::size_t begin = 0;
  std::size_t end = 0;

  bool is(std::string_view spelling) const {
    return (kind == TokenKind::symbol || kind == TokenKind::keyword) && text == spelling;
  }
};

/// Splits a source into tokens; the last one is of kind `end` or `fault`. A byte order mark, comments and white space
/// are skipped.
std::vector<Token> tokenize(const SourceText& source);

/// Tells whether a text is a name: a letter or `_`, then letters, digits and `_`, but not a keyword.
bool isName(std::string_view text);

/// Tells whether a text consists of names joined by dots.
bool isQualifiedName(std::string_view text);

}  // namespace orva::language
