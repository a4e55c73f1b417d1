// Resolves the names of an instance, and keeps the files that stand for instances.
#include "reference_host/compiler/generic_instances.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "reference_host/compiler/ample_stack.h"
#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;
using language::ClassDeclaration;
using language::TypeName;

std::optional<GenericInstance> GenericInstances::instanceOf(const std::string& file) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto known = instances_.find(file);
  if (known == instances_.end()) return std::nullopt;
  return known->second;
}

std::shared_ptr<const ParsedSource> GenericInstances::parsedSource(const std::string& path) {
  language::SourceText source = readSource(path);
  const std::lock_guard<std::mutex> lock(mutex_);
  std::shared_ptr<const ParsedSource>& known = parsed_[path];
  if (known == nullptr || known->source.text != source.text) {
    language::SourceFile file = language::parseSource(source);
    known = std::make_shared<const ParsedSource>(ParsedSource{std::move(source), std::move(file)});
  }
  return known;
}

std::optional<GenericInstances::GenericClass> GenericInstances::findClass(const std::string& name) {
  const runtime::Type* type = runtime::findTypeByFullName(name);
  if (type == nullptr) {
    std::string source = classPath_.find(name);
    if (!source.empty()) return GenericClass{name, std::move(source)};
    type = runtime::findTypeByShortName(name);
    if (type == nullptr) return std::nullopt;
  }
  return GenericClass{type->fullName,
                      type->origin == runtime::Origin::object ? classPath_.find(type->fullName) : type->source};
}

std::optional<TypeName> GenericInstances::resolveArgument(const TypeName& argument) {
  TypeName resolved = argument;
  if (runtime::isBuiltInType(argument.text()) && argument.name != "void") return resolved;
  if (!argument.arguments.empty()) {
    if (runtime::findTypeByFullName(argument.text()) != nullptr) return resolved;
    const auto inner = materializeHere(argument.text());
    if (!inner) return std::nullopt;
    return language::parseTypeName(inner->name);
  }
  const auto found = findClass(argument.name);
  if (!found) return std::nullopt;
  resolved.name = found->fullName;
  return resolved;
}

const ClassDeclaration& declarationOf(const TypeName& instance, const language::SourceFile& file,
                                      const std::string& path) {
  const ClassDeclaration* declared = file.find(instance.name);
  if (declared == nullptr) {
    throw std::runtime_error(inQuotes(path) + " declares no class '" + instance.name + "'");
  }
  const std::size_t expected = declared->typeParameters.size();
  const std::size_t given = instance.arguments.size();
  if (given == expected) return *declared;
  throw std::runtime_error("'" + instance.text() + "' has " + std::to_string(given) +
                           (given == 1 ? " type argument" : " type arguments") + ": class '" + instance.name +
                           "' takes " + std::to_string(expected));
}

/// Parses a generic type name. Allows blanks anywhere, as the lookup of loaded types does. Returns nothing when the
/// text is not a generic type name, or contains more than that, such as a comment.
static std::optional<TypeName> parseInstanceName(const std::string& text) {
  const std::string compact = runtime::withoutBlanks(text);
  try {
    TypeName type = language::parseTypeName(compact);
    if (!type.arguments.empty() && type.text() == compact) return type;
  } catch (const language::SourceError&) {
    // Not a type name, so there is nothing to materialise.
  }
  return std::nullopt;
}

void GenericInstances::checkDeclaration(const GenericClass& generic, const TypeName& instance) {
  if (generic.source.empty()) {
    const runtime::Type* loaded = runtime::findTypeByFullName(generic.fullName);
    throw std::runtime_error("Class '" + generic.fullName + "' was loaded from " + language::printable(loaded->source) +
                             ": its instances need its source file on the class path");
  }
  const Work work("reading " + inQuotes(generic.source));
  declarationOf(instance, parsedSource(generic.source)->file, generic.source);
}

std::optional<GenericInstance> GenericInstances::materialize(const std::string& typeName) {
  std::optional<GenericInstance> instance;
  onAmpleStack(typeName, [&] { instance = materializeHere(typeName); });
  return instance;
}

std::optional<GenericInstance> GenericInstances::materializeHere(const std::string& typeName) {
  std::optional<TypeName> requested = parseInstanceName(typeName);
  if (!requested) return std::nullopt;
  const auto generic = findClass(requested->name);
  if (!generic) return std::nullopt;
  requested->name = generic->fullName;
  bool areKnown = true;
  for (TypeName& argument : requested->arguments) {
    auto resolved = resolveArgument(argument);
    areKnown = areKnown && resolved;
    if (resolved) argument = std::move(*resolved);
  }
  // A loaded instance needs no source.
  if (!areKnown || runtime::findTypeByFullName(requested->text()) == nullptr) checkDeclaration(*generic, *requested);
  if (!areKnown) return std::nullopt;
  GenericInstance instance{requested->text(), {}, generic->source};
  instance.sourceFile = (privateFolder() / (sourceIdentity(instance.name) + ".ov")).string();
  // The library loads instances by a path, like all sources; whoever looks at the file sees whose it is. A repeated
  // request finds it in place, because nobody else writes to the folder.
  std::error_code error;
  if (!fs::exists(instance.sourceFile, error)) {
    writeFile(instance.sourceFile, instance.name + "\n", S_IRUSR | S_IWUSR);
  }
  // The class may have a different source by now.
  const std::lock_guard<std::mutex> lock(mutex_);
  instances_.insert_or_assign(instance.sourceFile, instance);
  return instance;
}

}  // namespace orva::compiler
