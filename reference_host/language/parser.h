// Turns a source text into its syntax tree.
#pragma once

#include <string>

#include "reference_host/language/source_text.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::language {

/// Parses a whole source file. Throws `SourceError` at the first thing that is not of the language, at names declared
/// twice, and where it is nested deeper than 200 levels.
SourceFile parseSource(const SourceText& source);

/// Parses a type name, such as `collections.Box< geometry.Circle >`. Throws `SourceError` when it is none.
TypeName parseTypeName(const std::string& text);

}  // namespace orva::language
