// What the compiler knows about classes without loading them: their full names and the signatures of their methods.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "reference_host/compiler/class_path.h"
#include "reference_host/language/syntax_tree.h"
#include "reference_host/runtime/type.h"

namespace orva::compiler {

/// Where the names of a class are looked up.
struct Scope {
  const language::SourceFile& file;
  /// Names that mean one type here, whatever other types share them. In an instance of a generic class: its type
  /// parameters, and the bare name of the class, which means the instance.
  std::map<std::string, std::string> bound;

  /// The scope of a class of a file; `arguments` are those of a generic instance, with full names.
  static Scope of(const language::SourceFile& file, const language::ClassDeclaration& declared,
                  const std::vector<language::TypeName>& arguments);

  bool binds(const std::string& name) const;

  /// What a name means here; the name itself when it is not bound.
  const std::string& meaning(const std::string& name) const;
};

struct ClassSummary {
  std::string fullName;
  std::map<std::string, runtime::MethodSignature> methods;  ///< by name

  const runtime::MethodSignature* find(const std::string& method) const;
};

/// Looks classes up in the source that is being compiled, then in the registry of loaded types, then in the sources on
/// the class path. A catalogue serves one source and looks up each name once, so that a name means the same throughout
/// that source.
class ClassCatalog {
 public:
  ClassCatalog(const ClassPath& classPath, const language::SourceFile& file) : classPath_(classPath), file_(file) {}

  /// The full names that a class name may stand for: what it is bound to; itself when it is qualified; otherwise, in
  /// this order, a class of the same file or package, and one of package `orva`.
  static std::vector<std::string> candidates(const std::string& name, const Scope& scope);

  /// The full name of the class that a name stands for; nothing when it stands for none.
  std::optional<std::string> resolveClass(const std::string& name, const Scope& scope) const;

  /// A type's spelling with the full name of its class; nothing for an unknown type. Throws
  /// `std::runtime_error` when a folder may not be searched for it.
  std::optional<std::string> resolveType(const language::TypeName& type, const Scope& scope) const;

  /// Says why a type cannot be resolved.
  std::string problemWith(const language::TypeName& type, const Scope& scope) const;

  /// The signature of a declared method; types that do not exist keep their spelling.
  runtime::MethodSignature signatureOf(const language::MethodDeclaration& method, const Scope& scope) const;

  /// A class by its full name; null when there is none, or when its source cannot be parsed. A generic class has no
  /// methods: only those of its instances can be called.
  const ClassSummary* find(const std::string& fullName) const;

 private:
  /// The source of a class; empty when it is not found.
  const std::string& sourceOf(const std::string& fullName) const;

  ClassSummary summarise(const language::ClassDeclaration& declared, const language::SourceFile& file) const;
  std::optional<ClassSummary> summarise(const std::string& fullName) const;

  const ClassPath& classPath_;
  const language::SourceFile& file_;
  // The results so far; an empty path stands for no source.
  mutable std::unordered_map<std::string, std::string> sources_;
  mutable std::map<std::string, std::optional<ClassSummary>> summaries_;
};

}  // namespace orva::compiler
