// Resolving names and reading signatures.
#include "reference_host/compiler/class_catalog.h"

#include <algorithm>
#include <stdexcept>

#include "reference_host/compiler/files.h"
#include "reference_host/language/parser.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

using language::SourceFile;
using language::TypeName;
using runtime::MethodSignature;

const MethodSignature* ClassSummary::find(const std::string& method) const {
  const auto found =
      std::find_if(methods.begin(), methods.end(), [&](const MethodSignature& each) { return each.name == method; });
  return found == methods.end() ? nullptr : &*found;
}

/// Tells whether a name is an argument of a generic instance: those are full names, even without a package.
static bool isInstanceArgument(const std::string& name, const SourceFile& file) {
  const auto isName = [&](const TypeName& argument) { return argument.text() == name; };
  return std::any_of(file.classes.begin(), file.classes.end(), [&](const language::ClassDeclaration& declared) {
    return std::any_of(declared.name.arguments.begin(), declared.name.arguments.end(), isName);
  });
}

std::vector<std::string> ClassCatalog::candidates(const std::string& name, const SourceFile& file) {
  if (name.find('.') != std::string::npos || isInstanceArgument(name, file)) return {name};
  for (const language::ClassDeclaration& declared : file.classes) {
    // Inside a generic instance, the bare name of its class means the instance.
    if (!declared.name.arguments.empty() && declared.name.name == name) return {file.qualify(declared.name.text())};
  }
  return {file.qualify(name), "orva." + name};
}

std::optional<std::string> ClassCatalog::resolveClass(const std::string& name, const SourceFile& file) const {
  for (const std::string& candidate : candidates(name, file)) {
    const auto isCandidate = [&](const language::ClassDeclaration& declared) {
      return file.qualify(declared.name.text()) == candidate;
    };
    if (std::any_of(file.classes.begin(), file.classes.end(), isCandidate) ||
        runtime::findTypeByFullName(candidate) != nullptr || !classPath_.find(candidate).empty()) {
      return candidate;
    }
  }
  return std::nullopt;
}

std::optional<std::string> ClassCatalog::resolveType(const TypeName& type, const SourceFile& file) const {
  if (runtime::isBuiltInType(type.text())) return type.text();
  if (!type.arguments.empty()) {
    return isInstanceArgument(type.text(), file) ? std::optional(type.text()) : std::nullopt;
  }
  return resolveClass(type.name, file);
}

MethodSignature ClassCatalog::signatureOf(const language::MethodDeclaration& method, const SourceFile& file) const {
  MethodSignature signature;
  signature.name = method.name;
  signature.isStatic = method.isStatic;
  for (const language::Parameter& parameter : method.parameters) {
    signature.parameters.push_back(resolveType(parameter.type, file).value_or(parameter.type.text()));
  }
  signature.result = resolveType(method.result, file).value_or(method.result.text());
  return signature;
}

std::optional<ClassSummary> ClassCatalog::find(const std::string& fullName) const {
  ClassSummary summary{fullName, {}};
  if (const runtime::Type* type = runtime::findTypeByFullName(fullName)) {
    for (const runtime::Method& method : type->methods) summary.methods.push_back(method.signature);
    return summary;
  }
  const std::string path = classPath_.find(fullName);
  if (path.empty()) return std::nullopt;
  try {
    const language::SourceText source = readSource(path);
    const SourceFile file = language::parseSource(source);
    for (const language::ClassDeclaration& declared : file.classes) {
      if (file.qualify(declared.name.name) != fullName) continue;
      // Only the instances of a generic class can be called.
      if (!declared.typeParameters.empty()) return summary;
      for (const auto& method : declared.methods) summary.methods.push_back(signatureOf(method, file));
      return summary;
    }
  } catch (const std::runtime_error&) {
    // Whoever loads the class learns what is wrong with its source.
  }
  return std::nullopt;
}

}  // namespace orva::compiler
