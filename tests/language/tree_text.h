// Writes syntax trees on one line, so that tests compare them whole.
#pragma once

#include <string>

#include "reference_host/language/parser.h"

namespace orva::language {

/// Every node has brackets: `(a + b)`, `[list a b]`, `<a .b .call(x, y)>`, `{class a.B<C>}`; strings are quoted without
/// escapes.
std::string treeText(const Expression& expression);

/// Such as `(let int x 1)`, `(set x 1)`, `(do x)`, `(return)`, `(if c {…} {…})`, `(try {…} Class name {…})`.
std::string treeText(const Statement& statement);
std::string treeText(const Block& block);

/// Such as `static native int m(int x, b.C y) {}`, `class Box $T {…}` and `package 'a.b' class Box {…}`.
std::string treeText(const MethodDeclaration& method);
std::string treeText(const ClassDeclaration& declaration);
std::string treeText(const SourceFile& file);

/// A place as `line:column`.
std::string placeText(Position position);

/// The tree of one expression, of statements, or of a whole written source.
std::string parsedExpression(const std::string& text);
std::string parsedStatements(const std::string& text);
std::string parsedFile(const std::string& text);

}  // namespace orva::language
