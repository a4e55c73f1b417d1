// Resolving the names of an instance, and the files that stand for instances.
#include "reference_host/compiler/generic_instances.h"

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

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
  if (!isInPrivateFolder(file)) return std::nullopt;
  const std::string text = readSource(file).text;
  const std::size_t end = text.find('\n');
  // A path may hold any byte, so it comes last.
  return GenericInstance{text.substr(0, end), file, text.substr(end + 1)};
}

bool isFromObject(const runtime::Type& type) { return fs::path(type.source).extension() == ".o"; }

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
  return GenericClass{type->fullName, isFromObject(*type) ? classPath_.find(type->fullName) : type->source};
}

std::optional<TypeName> GenericInstances::resolveArgument(const TypeName& argument) {
  TypeName resolved = argument;
  if (runtime::isBuiltInType(argument.text()) && argument.name != "void") return resolved;
  if (!argument.arguments.empty()) {
    if (runtime::findTypeByFullName(argument.text()) != nullptr) return resolved;
    const auto inner = materialize(argument.text());
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

/// Parses a generic type name, with blanks anywhere, as types that are ready are found; nothing when the text is none,
/// or holds more than the name, as a comment.
static std::optional<TypeName> parseInstanceName(const std::string& text) {
  const std::string compact = runtime::withoutBlanks(text);
  try {
    TypeName type = language::parseTypeName(compact);
    if (!type.arguments.empty() && type.text() == compact) return type;
  } catch (const language::SourceError&) {
    // Not a type name: nothing that could be materialised.
  }
  return std::nullopt;
}

void GenericInstances::checkDeclaration(const GenericClass& generic, const TypeName& instance) {
  if (generic.source.empty()) {
    const runtime::Type* loaded = runtime::findTypeByFullName(generic.fullName);
    throw std::runtime_error("Class '" + generic.fullName + "' is loaded from " + language::printable(loaded->source) +
                             ": its instances need its source, a file of its name, on the class path");
  }
  const Work work(inQuotes(generic.source) + " was read");
  declarationOf(instance, parsedSource(generic.source)->file, generic.source);
}

std::optional<GenericInstance> GenericInstances::materialize(const std::string& typeName) {
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
  // Asked for again, the instance has its file, but its class may have another one since. Nobody else writes there.
  const std::string text = instance.name + "\n" + instance.genericSource;
  std::error_code error;
  if (!fs::exists(instance.sourceFile, error) || readSource(instance.sourceFile).text != text) {
    writeFile(instance.sourceFile, text, S_IRUSR | S_IWUSR);
  }
  return instance;
}

}  // namespace orva::compiler
