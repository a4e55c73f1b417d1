// What the compiler knows of classes without loading them: their full names and the signatures of their methods.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "reference_host/compiler/class_path.h"
#include "reference_host/language/syntax_tree.h"
#include "reference_host/runtime/type.h"

namespace orva::compiler {

struct ClassSummary {
  std::string fullName;
  std::vector<runtime::MethodSignature> methods;

  const runtime::MethodSignature* find(const std::string& method) const;
};

/// Answers from the registry of loaded types first, then from the sources on the class path.
class ClassCatalog {
 public:
  explicit ClassCatalog(ClassPath& classPath) : classPath_(classPath) {}

  /// The full names that a class name may stand for: itself when it is qualified; otherwise, in this order, a class
  /// of the same file or package, and one of package `orva`.
  static std::vector<std::string> candidates(const std::string& name, const language::SourceFile& file);

  /// The full name of the class that a name stands for; nothing when it stands for none.
  std::optional<std::string> resolveClass(const std::string& name, const language::SourceFile& file) const;

  /// A type's spelling with the full name of its class; nothing when there is no such type.
  std::optional<std::string> resolveType(const language::TypeName& type, const language::SourceFile& file) const;

  /// The signature of a declared method; types that do not exist keep the name that they are written with.
  runtime::MethodSignature signatureOf(const language::MethodDeclaration& method,
                                       const language::SourceFile& file) const;

  /// A class by its full name; nothing when there is none, or when its source cannot be parsed.
  std::optional<ClassSummary> find(const std::string& fullName) const;

 private:
  ClassPath& classPath_;
};

}  // namespace orva::compiler
