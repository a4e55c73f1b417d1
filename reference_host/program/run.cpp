// From a program file to its `main`.
#include "reference_host/program/run.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <system_error>

#include "reference_host/compiler/ample_stack.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::program {

namespace fs = std::filesystem;

/// Parses a source, uses it and frees it, on a stack that has room for all of this.
static void parse(const std::string& file, const std::function<void(const language::SourceFile&)>& use) {
  const compiler::Work work("reading " + language::inQuotes(file));
  compiler::onAmpleStack(file, [&] { use(language::parseSource(compiler::readSource(file))); });
}

Program readProgram(const std::string& file) {
  Program program{file, {}};
  try {
    parse(file, [&](const language::SourceFile& parsed) { program.package = parsed.package; });
  } catch (const std::runtime_error&) {
    // Loading the program reports what is wrong with it.
  }
  return program;
}

/// The folder that contains a package's folders; empty if `folder` is not the last of them.
static fs::path withoutPackage(fs::path folder, const std::string& package) {
  std::string rest = package;
  std::replace(rest.begin(), rest.end(), '.', '/');
  for (fs::path names = rest; !names.empty(); names = names.parent_path()) {
    if (folder.filename() != names.filename()) return {};
    folder = folder.parent_path();
  }
  return folder;
}

std::string rootOf(const Program& program) {
  fs::path folder = fs::path(program.file).parent_path();
  if (folder.empty()) folder = ".";
  if (program.package.empty()) return folder.string();
  std::error_code error;
  const fs::path root =
      withoutPackage(fs::absolute(program.file, error).lexically_normal().parent_path(), program.package);
  if (root.empty()) {
    // A link may name the program's folder.
    const fs::path real = withoutPackage(fs::canonical(program.file, error).parent_path(), program.package);
    return (real.empty() ? folder : real).string();
  }
  if (fs::is_directory(root, error)) return root.string();
  // The working directory may be too deep to have an absolute path.
  for (auto dots = std::count(program.package.begin(), program.package.end(), '.'); dots >= 0; --dots) folder /= "..";
  return folder.string();
}

static bool isGeneric(const std::string& file, const std::string& className) {
  bool isGeneric = false;
  parse(file, [&](const language::SourceFile& parsed) {
    const language::ClassDeclaration* declared = parsed.find(className);
    isGeneric = declared != nullptr && !declared->typeParameters.empty();
  });
  return isGeneric;
}

static const runtime::Method& findMain(const Program& program) {
  const std::string name = fs::path(program.file).stem().string();
  const std::string fullName = program.package.empty() ? name : program.package + "." + name;
  const runtime::Type* type = runtime::findTypeByFullName(fullName);
  if (type == nullptr) {
    throw std::runtime_error(language::inQuotes(program.file) + " has no class " + language::inQuotes(fullName) +
                             ": expected one named after the file");
  }
  const runtime::Method* method = type->find("main");
  const std::vector<std::string> withArguments = {"ArrayList<String>"};
  const bool isMain = method != nullptr && method->signature.isStatic && method->signature.result == "void" &&
                      (method->signature.parameters.empty() || method->signature.parameters == withArguments);
  if (!isMain) {
    throw std::runtime_error(
        "Class " + language::inQuotes(fullName) +
        (isGeneric(program.file, fullName)
             ? " is generic: expected 'main' in a class without type parameters"
             : " has no method 'static void main()' or 'static void main(ArrayList<String> args)'"));
  }
  return *method;
}

void runProgram(const Program& program, const std::vector<std::string>& arguments) {
  compiler::activeContext().loader.load(program.file, runtime::Origin::named);
  compiler::endHostAtExit();
  const runtime::Method& method = findMain(program);
  runtime::ArrayList* list = runtime::newList();
  for (const std::string& argument : arguments) list->elements.push_back(runtime::newText(argument));
  const auto word = reinterpret_cast<int64_t>(list);
  method.call(&word, nullptr);
  if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "Cannot print");
}

}  // namespace orva::program
