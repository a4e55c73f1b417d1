// Turns a source text into tokens.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reference_host/language/source_text.h"

namespace orva::language {

enum class TokenKind { name, keyword, string, integer, symbol, end };

struct Token {
  TokenKind kind = TokenKind::end;
  /// The token as it is spelled; for a string, its characters with the escapes resolved.
  std::string text;
  int64_t value = 0;  ///< of an integer
  Position position;
  /// Where the token's spelling stands in the source: from `begin` up to `end`.
  std::size_t begin = 0;
  std::size_t end = 0;

  bool is(std::string_view spelling) const {
    return (kind == TokenKind::symbol || kind == TokenKind::keyword) && text == spelling;
  }
};

/// Splits a source into tokens; the last one is of kind `end`. Comments and white space are dropped.
/// Throws `SourceError` for a character, a string, a comment or a number that is none.
std::vector<Token> tokenize(const SourceText& source);

/// Tells whether a text is one name: a letter or `_`, then letters, digits and `_`, and no keyword.
bool isName(std::string_view text);

/// Tells whether a text is names joined by dots.
bool isQualifiedName(std::string_view text);

}  // namespace orva::language
