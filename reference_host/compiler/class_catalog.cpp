// Resolving names and reading signatures.
#include "reference_host/compiler/class_catalog.h"

#include <algorithm>
#include <stdexcept>

#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/language/foreign_constructs.h"
#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

using language::SourceFile;
using language::TypeName;
using runtime::MethodSignature;

const MethodSignature* ClassSummary::find(const std::string& method) const {
  const auto found = methods.find(method);
  return found == methods.end() ? nullptr : &found->second;
}

Scope Scope::of(const SourceFile& file, const language::ClassDeclaration& declared,
                const std::vector<TypeName>& arguments) {
  Scope scope{file, {}};
  if (arguments.empty()) return scope;
  scope.bound[declared.name] = file.qualify(TypeName{declared.name, arguments, {}}.text());
  for (std::size_t i = 0; i < arguments.size(); ++i) scope.bound[declared.typeParameters[i].name] = arguments[i].text();
  return scope;
}

bool Scope::binds(const std::string& name) const { return bound.count(name) != 0; }

const std::string& Scope::meaning(const std::string& name) const {
  const auto found = bound.find(name);
  return found == bound.end() ? name : found->second;
}

std::vector<std::string> ClassCatalog::candidates(const std::string& name, const Scope& scope) {
  if (scope.binds(name) || name.find('.') != std::string::npos) return {scope.meaning(name)};
  return {scope.file.qualify(name), "orva." + name};
}

const std::string& ClassCatalog::sourceOf(const std::string& fullName) const {
  const auto known = sources_.find(fullName);
  if (known != sources_.end()) return known->second;
  std::string& source = sources_[fullName];
  try {
    source = classPath_.find(fullName);
  } catch (const std::runtime_error&) {
    // Loading the class reports why it cannot be found.
  }
  return source;
}

std::optional<std::string> ClassCatalog::resolveClass(const std::string& name, const Scope& scope) const {
  // Known to exist, or an instance that is loaded when it is first called.
  if (scope.binds(name)) return scope.meaning(name);
  for (const std::string& candidate : candidates(name, scope)) {
    if (scope.file.find(candidate) != nullptr || runtime::findTypeByFullName(candidate) != nullptr ||
        !sourceOf(candidate).empty()) {
      return candidate;
    }
  }
  return std::nullopt;
}

/// A type's spelling with the meanings of its names.
static std::string spell(const TypeName& type, const Scope& scope) {
  TypeName meant{scope.meaning(type.name), {}, {}};
  for (const TypeName& argument : type.arguments) meant.arguments.push_back({spell(argument, scope), {}, {}});
  return meant.text();
}

std::optional<std::string> ClassCatalog::resolveType(const TypeName& type, const Scope& scope) const {
  std::string spelling = spell(type, scope);
  if (runtime::isBuiltInType(spelling)) return spelling;
  if (!type.arguments.empty()) return std::nullopt;
  auto found = resolveClass(type.name, scope);
  if (found) return found;
  // If something keeps the class from being found, it is not unknown: `find` throws the reason.
  for (const std::string& candidate : candidates(type.name, scope)) static_cast<void>(classPath_.find(candidate));
  return std::nullopt;
}

std::string ClassCatalog::problemWith(const TypeName& type, const Scope& scope) const {
  if (type.arguments.empty() || !resolveClass(type.name, scope)) return language::unknownType(type.text(), type.name);
  return "'" + type.text() + "' cannot be the type of a variable, a parameter or a result: " +
         "use an instance of a generic class through its Type, as in 'type.call(\"method\")'";
}

MethodSignature ClassCatalog::signatureOf(const language::MethodDeclaration& method, const Scope& scope) const {
  MethodSignature signature;
  signature.name = method.name;
  signature.isStatic = method.isStatic;
  for (const language::Parameter& parameter : method.parameters) {
    signature.parameters.push_back(resolveType(parameter.type, scope).value_or(parameter.type.text()));
  }
  signature.result = resolveType(method.result, scope).value_or(method.result.text());
  return signature;
}

ClassSummary ClassCatalog::summarise(const language::ClassDeclaration& declared, const SourceFile& file) const {
  ClassSummary summary{file.qualify(declared.name), {}};
  if (!declared.typeParameters.empty()) return summary;
  for (const auto& method : declared.methods) summary.methods.emplace(method.name, signatureOf(method, {file, {}}));
  return summary;
}

static ClassSummary summarise(const runtime::Type& type) {
  ClassSummary summary{type.fullName, {}};
  for (const runtime::Method& method : type.methods) summary.methods.emplace(method.signature.name, method.signature);
  return summary;
}

std::optional<ClassSummary> ClassCatalog::summarise(const std::string& fullName) const {
  if (const auto* declared = file_.find(fullName)) return summarise(*declared, file_);
  if (const auto* type = runtime::findTypeByFullName(fullName)) return compiler::summarise(*type);
  const std::string& path = sourceOf(fullName);
  if (path.empty()) return std::nullopt;
  const Work work("reading " + language::inQuotes(path));
  try {
    const SourceFile file = language::parseSource(readSource(path));
    if (const auto* declared = file.find(fullName)) return summarise(*declared, file);
  } catch (const std::runtime_error&) {
    // Loading the class reports what is wrong with its source.
  }
  return std::nullopt;
}

const ClassSummary* ClassCatalog::find(const std::string& fullName) const {
  auto known = summaries_.find(fullName);
  if (known == summaries_.end()) known = summaries_.emplace(fullName, summarise(fullName)).first;
  return known->second ? &*known->second : nullptr;
}

}  // namespace orva::compiler
