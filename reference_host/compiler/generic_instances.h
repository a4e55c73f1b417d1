// Generic instances: what `Box<Circle>` is made of, and the files that stand for instances.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "reference_host/compiler/class_path.h"
#include "reference_host/language/source_text.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::compiler {

/// A generic instance, and the file whose path the library passes back to have it loaded.
struct GenericInstance {
  std::string name;  ///< full name, with the full names of the arguments
  std::string sourceFile;
  std::string genericSource;  ///< the file of the generic class, which the instance is compiled from
};

struct ParsedSource {
  language::SourceText source;
  language::SourceFile file;
};

/// The declaration that an instance is compiled from.
/// @param instance the full name of the class, with the arguments.
/// Throws `std::runtime_error` when the file declares no such class, or the class takes a different number of
/// arguments.
const language::ClassDeclaration& declarationOf(const language::TypeName& instance, const language::SourceFile& file,
                                                const std::string& path);

/// Keeps the files of instances in the private folder.
class GenericInstances {
 public:
  explicit GenericInstances(ClassPath& classPath) : classPath_(classPath) {}

  /// Writes the file of an instance. A full name on the class path takes precedence over the short name of a loaded
  /// type.
  /// @param typeName the instance, with any blanks, as in `collections.Box< Circle >`.
  /// @return nothing when the text is not a generic type, or its class or an argument is unknown.
  /// Throws `std::runtime_error` when a short name is ambiguous, the class does not take these arguments, or a file
  /// cannot be read or written.
  std::optional<GenericInstance> materialize(const std::string& typeName);

  /// The instance that a file stands for; nothing for any other file.
  std::optional<GenericInstance> instanceOf(const std::string& file) const;

  /// The source that generic classes are declared in. It is parsed again only when its text has changed, so that the
  /// instances of a long file cost only one parse. Throws `std::runtime_error` when it cannot be read, and
  /// `SourceError` when it cannot be parsed.
  std::shared_ptr<const ParsedSource> parsedSource(const std::string& path);

 private:
  struct GenericClass {
    std::string fullName;
    std::string source;  ///< empty when the class is loaded from an object and its source is not on the class path
  };

  // On a stack that is known to have room.
  std::optional<GenericInstance> materializeHere(const std::string& typeName);
  std::optional<GenericClass> findClass(const std::string& name);
  /// Throws `std::runtime_error` when there is no source, or no such class in it.
  void checkDeclaration(const GenericClass& generic, const language::TypeName& instance);
  /// The argument's spelling with full names; nothing when it is unknown.
  std::optional<language::TypeName> resolveArgument(const language::TypeName& argument);

  ClassPath& classPath_;
  mutable std::mutex mutex_;
  std::unordered_map<std::string, GenericInstance> instances_;                   ///< by the paths of their files
  std::unordered_map<std::string, std::shared_ptr<const ParsedSource>> parsed_;  ///< by path
};

}  // namespace orva::compiler
