// Turns a source text into tokens.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/language/source_text.h"

namespace orva::language {

/// What a token is. A `fault` is text that cannot be a token; nothing behind it is read.
enum class TokenKind { name, keyword, string, integer, symbol, end, fault };

struct Token {
  TokenKind kind = TokenKind::end;
  /// The token as it is spelled; for a string, its characters with the escapes resolved; for a fault, what is wrong.
  std::string text;
  int64_t value = 0;  ///< of an integer
  Position position;
  /// Where the token's spelling stands in the source: from `begin` up to `end`. A fault that is a character which
  /// begins no token has no end of its own; any other fault stands at the end of the text.
  std::size_t begin = 0;
  std::size_t end = 0;

  bool is(std::string_view spelling) const {
    return (kind == TokenKind::symbol || kind == TokenKind::keyword) && text == spelling;
  }
};

/// Splits a source into tokens; the last one is of kind `end` or `fault`. A byte order mark, comments and white space
/// are dropped.
std::vector<Token> tokenize(const SourceText& source);

/// Tells whether a text is one name: a letter or `_`, then letters, digits and `_`, and no keyword.
bool isName(std::string_view text);

/// Tells whether a text is names joined by dots.
bool isQualifiedName(std::string_view text);

}  // namespace orva::language
