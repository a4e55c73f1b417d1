// Generic instances: generates the source of `Box<Circle>` from the source of `Box<T>`.
#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>

#include "reference_host/compiler/class_path.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::compiler {

/// A generic instance and the file that its source was written to.
struct GenericInstance {
  std::string name;  ///< full name, with the full names of the arguments
  std::string sourceFile;
  std::string genericSource;  ///< the file of the generic class, whose other classes the instance may call
};

/// Keeps generated sources in a directory of its own, which nobody else may read.
class GenericInstances {
 public:
  explicit GenericInstances(ClassPath& classPath) : classPath_(classPath) {}

  /// Writes the source of an instance.
  /// @param typeName the instance, with any blanks, as in `collections.Box< Circle >`.
  /// @return nothing when the text is no generic type, or its class or an argument is unknown.
  /// Throws `std::runtime_error` when the class does not take these arguments, or a file cannot be read or written.
  std::optional<GenericInstance> materialize(const std::string& typeName);

  /// Removes the directory, when the process ends.
  void removeFiles();

  /// Tells whether a file is a generated source.
  bool isGenerated(const std::string& file) const;

 private:
  struct GenericClass {
    std::string fullName;
    std::string source;  ///< empty when the class is loaded from an object and its source is nowhere
  };

  std::optional<GenericClass> findClass(const std::string& name);
  /// The argument's spelling with full names; nothing when it is unknown.
  std::optional<language::TypeName> resolveArgument(const language::TypeName& argument);
  std::filesystem::path directory();

  ClassPath& classPath_;
  mutable std::mutex mutex_;
  std::filesystem::path directory_;  // made when it is needed first
};

}  // namespace orva::compiler
