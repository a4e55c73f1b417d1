// Replacing the type parameters of a class by the arguments of an instance.
#include "reference_host/compiler/generic_instances.h"

#include <cerrno>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "reference_host/compiler/class_catalog.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/language/lexer.h"
#include "reference_host/language/parser.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

namespace fs = std::filesystem;
using language::ClassDeclaration;
using language::TypeName;

void GenericInstances::removeFiles() {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::error_code error;
  if (!directory_.empty()) fs::remove_all(directory_, error);
}

fs::path GenericInstances::directory() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (directory_.empty()) {
    std::string pattern = (fs::temp_directory_path() / "orva-host-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "Cannot make the directory '" + pattern + "'");
    }
    directory_ = pattern;
  }
  return directory_;
}

bool GenericInstances::isGenerated(const std::string& file) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !directory_.empty() && fs::path(file).parent_path() == directory_;
}

std::optional<GenericInstances::GenericClass> GenericInstances::findClass(const std::string& name) {
  const runtime::Type* type = runtime::findType(name);
  if (type != nullptr && fs::path(type->source).extension() != ".o") return GenericClass{type->fullName, type->source};
  if (type != nullptr) return GenericClass{type->fullName, classPath_.find(type->fullName)};
  const std::string source = classPath_.find(name);
  if (source.empty()) return std::nullopt;
  return GenericClass{name, source};
}

std::optional<TypeName> GenericInstances::resolveArgument(const TypeName& argument) {
  TypeName resolved = argument;
  if (runtime::isBuiltInType(argument.text()) && argument.name != "void") return resolved;
  if (!argument.arguments.empty()) {
    const auto inner = materialize(argument.text());
    if (!inner) return std::nullopt;
    return language::parseTypeName(inner->name);
  }
  const auto found = findClass(argument.name);
  if (!found) return std::nullopt;
  resolved.name = found->fullName;
  return resolved;
}

/// The text of a class, alone, with other names in the places of its type parameters. Everything else of the file but
/// its package becomes blank, so that line numbers stay.
static std::string instantiate(const language::SourceText& source, const language::SourceFile& file,
                               const ClassDeclaration& declared, const std::map<std::string, std::string>& arguments) {
  std::string text;
  if (!file.package.empty()) text = "package " + file.package + ";";
  for (const char byte : std::string_view(source.text).substr(0, declared.begin)) {
    if (byte == '\n') text += '\n';
  }
  std::size_t copied = declared.begin;
  bool followsDot = false;
  for (const language::Token& token : language::tokenize(source)) {
    if (token.begin < declared.begin || token.end > declared.end) continue;
    const auto argument = arguments.find(token.text);
    // A name after a dot is a member's, whatever it is called.
    if (token.kind == language::TokenKind::name && !followsDot && argument != arguments.end()) {
      text += source.text.substr(copied, token.begin - copied) + argument->second;
      copied = token.end;
    }
    followsDot = token.is(".");
  }
  return text + source.text.substr(copied, declared.end - copied) + "\n";
}

static const ClassDeclaration& findDeclaration(const language::SourceFile& file, const std::string& fullName,
                                               const std::string& path) {
  for (const ClassDeclaration& declared : file.classes) {
    if (file.qualify(declared.name.name) == fullName) return declared;
  }
  throw std::runtime_error("'" + path + "' declares no class '" + fullName + "'");
}

static void checkArgumentCount(const ClassDeclaration& declared, const TypeName& requested) {
  const std::size_t expected = declared.typeParameters.size();
  if (expected == requested.arguments.size()) return;
  throw std::runtime_error("'" + requested.text() + "' has " + std::to_string(requested.arguments.size()) +
                           (requested.arguments.size() == 1 ? " type argument" : " type arguments") + ": class '" +
                           requested.name + "' takes " + std::to_string(expected));
}

/// Parses a generic type name; nothing when the text is none.
static std::optional<TypeName> parseInstanceName(const std::string& text) {
  try {
    TypeName type = language::parseTypeName(text);
    if (!type.arguments.empty()) return type;
  } catch (const language::SourceError&) {
    // Not a type name: nothing that could be materialised.
  }
  return std::nullopt;
}

std::optional<GenericInstance> GenericInstances::materialize(const std::string& typeName) {
  std::optional<TypeName> requested = parseInstanceName(typeName);
  if (!requested) return std::nullopt;
  const auto generic = findClass(requested->name);
  if (!generic) return std::nullopt;
  requested->name = generic->fullName;
  if (generic->source.empty()) {
    throw std::runtime_error("Class '" + generic->fullName +
                             "' is loaded from an object: its instances need its source on the class path");
  }

  const language::SourceText source = readSource(generic->source);
  const language::SourceFile file = language::parseSource(source);
  const ClassDeclaration& declared = findDeclaration(file, generic->fullName, source.path);
  checkArgumentCount(declared, *requested);
  std::map<std::string, std::string> replacements;
  for (std::size_t i = 0; i < requested->arguments.size(); ++i) {
    auto argument = resolveArgument(requested->arguments[i]);
    if (!argument) return std::nullopt;
    requested->arguments[i] = std::move(*argument);
    replacements[declared.typeParameters[i]] = requested->arguments[i].text();
  }
  const std::string name = requested->text();
  const fs::path target = directory() / (declared.name.name + "-" + sourceIdentity(name).substr(0, 16) + ".ov");
  writeFile(target.string(), instantiate(source, file, declared, replacements) + "// " + name + ", generated from " +
                                 source.path + "\n");
  return GenericInstance{name, target.string(), generic->source};
}

}  // namespace orva::compiler
