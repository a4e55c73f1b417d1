// Writes sources below roots, and looks for their types in the registry.
#include "host_contract/checks/sources_on_disk.h"

#include <fstream>
#include <stdexcept>

#include "host_contract/checks/known_types.h"
#include "host_contract/host.h"

namespace fs = std::filesystem;

namespace orva::host_contract {

fs::path sourcePath(const fs::path& root, const std::string& className) {
  return root / "contract" / "sample" / (className + ".ov");
}

std::string writeSource(const fs::path& root, const std::string& className, const std::string& text) {
  const fs::path file = sourcePath(root, className);
  fs::create_directories(file.parent_path());
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
  const std::string text = trial.hooks.brokenSource(samplePackage, className);
  if (text.empty()) throw NotRun{"this host shows no failing load: its hooks write no broken source"};
  return writeSource(root, className, text);
}

fs::path addRoot(Trial& trial, const std::string& name) {
  const fs::path root = trial.folder / name;
  fs::create_directories(root);
  expect(orva_ClassLoader_addSourceRoot(root.c_str()) == 1, "addSourceRoot did not add a new root that exists");
  return root;
}

std::string fullNameOf(const std::string& className) { return std::string(samplePackage) + "." + className; }

void load(const std::string& sourceFile) {
  Compiler::ensureSourceLoadedInActiveJit(sourceFile, Compiler::activeRuntimeContext());
}

void expectLoaded(const std::string& className) {
  const std::string fullName = fullNameOf(className);
  expect(isRegistered(fullName), fullName + " is not registered");
  expect(Orva_typeByName(fullName.c_str()) != nullptr, "Orva_typeByName returned null for " + fullName);
}

void expectNotLoaded(const std::string& className) {
  expect(!isRegistered(fullNameOf(className)), fullNameOf(className) + " is registered");
}

}  // namespace orva::host_contract
