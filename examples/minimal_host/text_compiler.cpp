// The compiler of the smallest host, for a language of one statement: a file contains `class NAME` or `generic NAME`,
// with the full name. Delete this file when your own compiler takes its place.
#include <algorithm>
#include <fstream>
#include <mutex>
#include <set>
#include <stdexcept>

#include "minimal_host.h"
#include "runtime_api/compiler.h"

static std::string readLine(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  if (!std::getline(in, line)) throw std::runtime_error("Cannot read " + path);
  return line;
}

/// The class that a statement declares; empty for a generic class, because only its instances are types.
static std::string parse(const std::string& statement) {
  if (statement.rfind("class ", 0) == 0) return statement.substr(6);
  if (statement.rfind("generic ", 0) == 0) return {};
  throw std::runtime_error("Expected 'class NAME' or 'generic NAME', not '" + statement + "'");
}

/// Loads each statement once, whichever file or object contains it, and one at a time.
static void load(const std::string& statement) {
  static std::mutex mutex;
  static std::set<std::string> loaded;
  const std::string name = parse(statement);
  const std::lock_guard<std::mutex> lock(mutex);
  if (loaded.insert(statement).second && !name.empty()) minimal_host::registerType(name);
}

namespace orva::compiler {

class Context {};

/// A listener learns only that one more file is done.
struct Compiler::CompilationProgress {};

int32_t Compiler::objectAbiVersion() { return 1; }

std::shared_ptr<Context> Compiler::activeRuntimeContext() {
  static const auto context = std::make_shared<Context>();
  return context;
}

// A generic instance has no source file: its path is this word and the text of the source.
static const std::string generated = "generated: ";

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> /*context*/) {
  const bool isGenerated = sourcePath.rfind(generated, 0) == 0;
  load(isGenerated ? sourcePath.substr(generated.size()) : readLine(sourcePath));
}

// An object file contains this word and the statement of its source, which is also the identity of that source.
static const std::string objectWord = "object of ";

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  for (std::size_t index = 0; index < objectPaths.size(); ++index) {
    const std::string& path = objectPaths[index];
    if (readLine(path) != objectWord + sourceIdentities[index]) {
      throw std::runtime_error(path + " was not built from '" + sourceIdentities[index] + "'");
    }
  }
  for (const std::string& identity : sourceIdentities) load(identity);
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> /*context*/,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  for (const std::string& file : sourceFiles) {
    const std::string statement = readLine(file);
    parse(statement);
    std::ofstream out(file + ".object");
    out << objectWord << statement << '\n';
    if (!out.flush()) throw std::runtime_error("Cannot write " + file + ".object");
    if (progress) progress({});
  }
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& context) {
  instanceName = typeName;
  instanceName.erase(std::remove(instanceName.begin(), instanceName.end(), ' '), instanceName.end());
  const std::string genericName = instanceName.substr(0, instanceName.find('<'));
  const std::string genericFile = sourceFileForClass(genericName, context, nullptr);
  if (genericFile.empty() || readLine(genericFile) != "generic " + genericName) return false;
  sourceFile = generated + "class " + instanceName;
  return true;
}

}  // namespace orva::compiler
