// Turns a source text into its syntax tree.
#pragma once

#include <string>

#include "reference_host/language/source_text.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::language {

/// Parses a whole source file. Throws `SourceError` at the first syntax error, the first name that is declared twice,
/// or nesting deeper than 200 levels.
SourceFile parseSource(const SourceText& source);

/// Parses a type name, such as `collections.Box< geometry.Circle >`. Throws `SourceError` for any other text.
TypeName parseTypeName(const std::string& text);

}  // namespace orva::language
