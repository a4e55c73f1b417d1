// Sources below roots, and what the registry has of them.
#include "host_contract/checks/sources_on_disk.h"

#include <cstdint>
#include <fstream>
#include <stdexcept>

#include "classloader/natives.h"
#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace fs = std::filesystem;

namespace orva::host_contract {

std::string writeSource(const fs::path& root, const std::string& className, const std::string& text) {
  const fs::path package = root / samplePackage;
  fs::create_directories(package);
  const fs::path file = package / (className + ".ov");
  std::ofstream out(file, std::ios::binary);
  out << text;
  out.close();
  if (!out) throw std::runtime_error("The check cannot write " + file.string());
  return file.string();
}

std::string writeClass(Trial& trial, const fs::path& root, const std::string& className) {
  return writeSource(root, className, trial.hooks.classSource(samplePackage, className));
}

std::string writeBroken(Trial& trial, const fs::path& root, const std::string& className) {
  return writeSource(root, className, trial.hooks.brokenSource(samplePackage, className));
}

fs::path addRoot(Trial& trial, const std::string& name) {
  const fs::path root = trial.folder / name;
  fs::create_directories(root);
  expect(orva_ClassLoader_addSourceRoot(root.c_str()) == 1, "a new root, an existing folder, was not added");
  return root;
}

std::string fullNameOf(const std::string& className) { return std::string(samplePackage) + "." + className; }

void load(const std::string& sourceFile) {
  compiler::Compiler::ensureSourceLoadedInActiveJit(sourceFile, compiler::Compiler::activeRuntimeContext());
}

/// Tells whether the registry has an entry of a full name.
static bool isRegistered(const std::string& fullName) {
  const int32_t count = Reflection_getTypeCount();
  for (int32_t index = 0; index < count; ++index) {
    const char* name = Reflection_getTypeFullName(index);
    if (name != nullptr && name == fullName) return true;
  }
  return false;
}

void expectLoaded(const std::string& className) {
  const std::string fullName = fullNameOf(className);
  expect(isRegistered(fullName), "the registry has no " + fullName);
  expect(Orva_typeByName(fullName.c_str()) != nullptr, "Orva_typeByName knows no " + fullName);
}

void expectNotLoaded(const std::string& className) {
  expect(!isRegistered(fullNameOf(className)), fullNameOf(className) + " is registered");
}

}  // namespace orva::host_contract
