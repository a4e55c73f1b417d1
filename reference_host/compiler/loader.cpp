// One load at a time: compile or check everything, link it, then register it all at once.
#include "reference_host/compiler/loader.h"

#include <llvm/ExecutionEngine/Orc/ThreadSafeModule.h>
#include <llvm/Linker/Linker.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <future>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "reference_host/compiler/ample_stack.h"
#include "reference_host/compiler/class_catalog.h"
#include "reference_host/compiler/class_generator.h"
#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/generic_instances.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/compiler/workers.h"
#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type_registry.h"

namespace orva::compiler {

using language::inQuotes;

namespace fs = std::filesystem;

struct Loader::Compiled {
  llvm::orc::ThreadSafeContext context{std::make_unique<llvm::LLVMContext>()};
  std::vector<GeneratedClass> classes;
};

struct Loader::CheckedObject {
  std::string realPath;
  ObjectFile file;
};

struct Loader::BuiltObject {
  ObjectFile object;
  std::string bytes;
};

/// The canonical path of an existing file. If the working directory is too deep to have an absolute path, returns the
/// path as given.
static std::string realPath(const std::string& path) {
  std::error_code error;
  const fs::path real = fs::canonical(path, error);
  if (!error) return real.string();
  struct stat status{};
  if (stat(path.c_str(), &status) == 0) return path;
  throw std::runtime_error("Cannot read " + inQuotes(path) + ": " + std::generic_category().message(errno));
}

/// The package that is spelled most like another one; the innermost root's when there are several.
static const std::string& nearest(const std::vector<std::string>& packages, llvm::StringRef declared) {
  const auto isNearer = [&](const std::string& left, const std::string& right) {
    return declared.edit_distance(left) < declared.edit_distance(right);
  };
  return *std::min_element(packages.begin(), packages.end(), isNearer);
}

/// The message for a file that is not in the place of its package. At most one of the two packages is empty, which
/// means none.
static std::string misplaced(const std::string& expected, const std::string& declared) {
  const std::string place =
      expected.empty() ? "a root of the class path" : "the directory of package '" + expected + "'";
  return "this file is in " + place + ": " +
         (declared.empty() ? "expected 'package " + expected + ";'" : "it cannot declare package '" + declared + "'");
}

void Loader::checkPlacement(const language::SourceText& source, const language::SourceFile& file) const {
  const std::vector<std::string> packages = classPath_.packagesOf(source.path);
  if (packages.empty()) return;
  if (std::find(packages.begin(), packages.end(), file.package) == packages.end()) {
    throw language::SourceError(source, file.packagePosition, misplaced(nearest(packages, file.package), file.package));
  }
  const std::string expected = fs::path(source.path).stem().string();
  if (file.find(file.qualify(expected)) == nullptr) {
    throw language::SourceError(source, file.classes.front().position,
                                "expected a class '" + expected + "', named after the file");
  }
}

static void checkUnknown(const language::SourceText& source, const language::SourceFile& file) {
  for (const language::ClassDeclaration& declared : file.classes) {
    const runtime::Type* known = runtime::findTypeByFullName(file.qualify(declared.name));
    if (known == nullptr) continue;
    throw language::SourceError(
        source, declared.position,
        "type '" + known->fullName + "' is already loaded from " + runtime::otherSource(known->source, source.path));
  }
}

/// Finds the functions of all native methods of a source.
static NativeAddresses bindNatives(const language::SourceText& source, const std::vector<GeneratedClass>& classes) {
  NativeAddresses natives;
  std::vector<language::Diagnostic> diagnostics;
  for (const GeneratedClass& generated : classes) {
    for (const NativeBinding& native : generated.natives) {
      if (const auto problem = nativeProblem(native.symbol, native.signature)) {
        diagnostics.push_back({native.position, "native method '" + native.method + "' " + *problem});
      }
      natives[native.symbol] = findNative(native.symbol);
    }
  }
  if (!diagnostics.empty()) throw language::SourceError(source, diagnostics);
  return natives;
}

Loader::Compiled Loader::compile(const language::SourceText& source, const language::SourceFile& file) const {
  Compiled compiled;
  const ClassCatalog catalog(classPath_, file);
  std::vector<language::Diagnostic> diagnostics;
  for (const language::ClassDeclaration& declared : file.classes) {
    const Work work("compiling class '" + file.qualify(declared.name) + "'");
    compiled.classes.push_back(
        generateClass({source, file, declared, {}}, catalog, *compiled.context.getContext(), diagnostics));
  }
  if (!diagnostics.empty()) throw language::SourceError(source, diagnostics);
  return compiled;
}

/// Links code and runs an initialiser in it.
/// @param what names the code in messages.
static void run(CodeUnit& unit, const std::string& initialiser, const std::string& what) {
  const Work work("linking " + what);
  try {
    unit.run(initialiser);
  } catch (const std::runtime_error& failure) {
    const std::string reason = failure.what();
    const bool isMemory = reason.find(std::generic_category().message(ENOMEM)) != std::string::npos;
    throw std::runtime_error(isMemory ? std::string(lackOfMemory()) + " while " + work.name()
                                      : what + " cannot be linked: " + reason);
  }
}

std::unique_lock<std::mutex> Loader::lock() {
  if (endedBy_ == std::this_thread::get_id()) throw std::runtime_error("No class can be loaded while the process ends");
  return std::unique_lock<std::mutex>(mutex_);
}

void Loader::end() noexcept {
  if (endedBy_ == std::this_thread::get_id()) return;
  mutex_.lock();
  endedBy_ = std::this_thread::get_id();
}

void Loader::load(const std::string& path, Origin origin) {
  onAmpleStack(path, [&] { loadHere(path, origin); });
}

void Loader::loadHere(const std::string& path, Origin origin) {
  const auto locked = lock();
  if (origin == Origin::instance) {
    loadInstance(generics_.instanceOf(path).value());
  } else {
    loadSource(path, origin);
  }
}

/// Refuses a class of a file that has changed since it was loaded, unless the class itself is loaded.
static void checkLoaded(const std::string& path, const std::string& declared) {
  if (runtime::findTypeByFullName(declared) != nullptr) return;
  throw std::runtime_error(inQuotes(path) + " was loaded earlier and has changed since: its class " +
                           inQuotes(declared) + " is not loaded, because a file is loaded only once");
}

static void checkLoaded(const std::string& path, const language::SourceFile& file) {
  for (const auto& declared : file.classes) checkLoaded(path, file.qualify(declared.name));
}

/// The device and the inode of a file.
static std::pair<dev_t, ino_t> inodeOf(const std::string& path) {
  struct stat status{};
  stat(path.c_str(), &status);
  return {status.st_dev, status.st_ino};
}

void Loader::loadSource(const std::string& path, Origin origin) {
  const Work work("loading " + inQuotes(path));
  const std::string real = realPath(path);
  const language::SourceText source = readSource(path);
  const std::string identity = sourceIdentity(source.text);
  auto earlier = loaded_.find(real);
  const auto moved = loadedInodes_.find(inodeOf(real));
  if (earlier == loaded_.end() && moved != loadedInodes_.end() && moved->second == identity) {
    // The file was moved. The text is compared too, because the system reuses the inode of a deleted file.
    earlier = loaded_.emplace(real, identity).first;
  }
  const bool isLoaded = earlier != loaded_.end();
  // An object that was built from the same text has registered its types.
  const bool isKnown = isLoaded ? earlier->second == identity : objectIdentities_.count(identity) != 0;
  if (isKnown && origin == Origin::named) return;
  const language::SourceFile file = language::parseSource(source);
  if (isLoaded && !isKnown) checkLoaded(source.path, file);
  if (origin == Origin::classPath) checkPlacement(source, file);
  if (isLoaded || isKnown) return;
  checkUnknown(source, file);
  link(compile(source, file), source, origin);
  loaded_.emplace(real, identity);
  loadedInodes_[inodeOf(real)] = identity;
}

void Loader::loadGenericClass(const GenericInstance& instance) {
  const runtime::Type* loaded = runtime::findTypeByFullName(instance.name.substr(0, instance.name.find('<')));
  if (loaded == nullptr) {
    loadSource(instance.genericSource, Origin::classPath);
  } else if (loaded->origin == Origin::object) {
    // The object brought the classes of its file.
    checkSourceOfObject(instance.genericSource, *loaded);
  }
}

void Loader::loadInstance(const GenericInstance& instance) {
  if (runtime::findTypeByFullName(instance.name) != nullptr) return;
  loadGenericClass(instance);
  const Work work("compiling class '" + instance.name + "'");
  const auto parsed = generics_.parsedSource(instance.genericSource);
  const auto& [source, file] = *parsed;
  const auto earlier = loaded_.find(realPath(source.path));
  if (earlier != loaded_.end() && earlier->second != sourceIdentity(source.text)) checkLoaded(source.path, file);
  const language::TypeName name = language::parseTypeName(instance.name);
  const language::ClassDeclaration& declared = declarationOf(name, file, source.path);
  Compiled compiled;
  std::vector<language::Diagnostic> diagnostics;
  compiled.classes.push_back(generateClass({source, file, declared, name.arguments}, ClassCatalog(classPath_, file),
                                           *compiled.context.getContext(), diagnostics));
  // All instances share the source, so the message must say which one has the error.
  for (language::Diagnostic& each : diagnostics) each.message += ", in " + instance.name;
  if (!diagnostics.empty()) throw language::SourceError(source, diagnostics);
  link(std::move(compiled), source, Origin::instance);
}

void Loader::link(Compiled compiled, const language::SourceText& source, Origin origin) {
  const auto unit = engine_.newUnit(bindNatives(source, compiled.classes));
  for (GeneratedClass& generated : compiled.classes) unit->add(std::move(generated.module), compiled.context);
  runtime::Registration registration;
  registration.setSource(origin, source.path);
  for (const GeneratedClass& generated : compiled.classes) {
    run(*unit, generated.initialiser, "class '" + generated.fullName + "'");
  }
  registration.commit();
  unit->keep();
}

std::vector<Loader::CheckedObject> Loader::checkBundle(const std::vector<std::string>& paths,
                                                       const std::vector<std::string>& identities) {
  std::vector<CheckedObject> objects;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const Work work("loading " + inQuotes(paths[i]));
    ObjectFile object = readObject(paths[i]);
    checkObject(object, identities[i], engine_.target());
    for (const auto& [symbol, signature] : object.natives) {
      const auto problem = nativeProblem(symbol, signature);
      if (problem) throw std::runtime_error(language::printable(object.path) + ": a native method " + *problem);
    }
    std::string real = realPath(paths[i]);
    const auto isSame = [&](const CheckedObject& other) { return other.realPath == real; };
    const auto earlier = loaded_.find(real);
    if (earlier != loaded_.end() && earlier->second != object.identity) {
      for (const auto& initialiser : object.initialisers) checkLoaded(object.path, classOfInitialiser(initialiser));
    }
    const bool isKnown = earlier != loaded_.end() || std::any_of(objects.begin(), objects.end(), isSame);
    if (!isKnown) objects.push_back({std::move(real), std::move(object)});
  }
  return objects;
}

/// Links an object on its own, and notes its types in the open registration.
std::unique_ptr<CodeUnit> Loader::link(CheckedObject& object) {
  const Work work("loading " + inQuotes(object.file.path));
  NativeAddresses natives;
  for (const auto& native : object.file.natives) natives[native.first] = findNative(native.first);
  auto unit = engine_.newUnit(natives);
  unit->add(std::move(object.file.bytes));
  for (const std::string& initialiser : object.file.initialisers) {
    run(*unit, initialiser, inQuotes(object.file.path));
  }
  return unit;
}

void Loader::loadBundle(const std::vector<std::string>& paths, const std::vector<std::string>& identities) {
  onAmpleStack(paths.empty() ? "" : paths.front(), [&] { loadBundleHere(paths, identities); });
}

void Loader::loadBundleHere(const std::vector<std::string>& paths, const std::vector<std::string>& identities) {
  const auto locked = lock();
  std::vector<CheckedObject> objects = checkBundle(paths, identities);
  std::vector<std::unique_ptr<CodeUnit>> units;
  runtime::Registration registration;
  for (CheckedObject& object : objects) {
    registration.setSource(Origin::object, object.file.path);
    units.push_back(link(object));
  }
  registration.commit();
  for (const auto& unit : units) unit->keep();
  for (const CheckedObject& object : objects) {
    loaded_.emplace(object.realPath, object.file.identity);
    objectIdentities_.insert(object.file.identity);
  }
}

void Loader::checkSourceOfObject(const std::string& path, const runtime::Type& type) const {
  const std::string identity = sourceIdentity(generics_.parsedSource(path)->source.text);
  // No other loaded object can have been built from a source that declares the type.
  if (objectIdentities_.count(identity) != 0) return;
  throw std::runtime_error("Class '" + type.fullName + "' was loaded from " + language::printable(type.source) +
                           ": its instances need the source that the object was built from, and " + inQuotes(path) +
                           " is a different one or has changed since");
}

/// Joins the modules of all classes into the first. Joins modules of equal size, because joining two takes time in
/// proportion to both.
static void join(std::vector<GeneratedClass>& classes) {
  for (std::size_t distance = 1; distance < classes.size(); distance *= 2) {
    for (std::size_t i = 0; i + distance < classes.size(); i += 2 * distance) {
      if (llvm::Linker::linkModules(*classes[i].module, std::move(classes[i + distance].module))) {
        throw std::runtime_error("Cannot join class '" + classes[i + distance].fullName + "' with others");
      }
    }
  }
}

Loader::BuiltObject Loader::build(const std::string& path) const {
  BuiltObject built;
  onAmpleStack(path, [&] { built = buildHere(path); });
  return built;
}

Loader::BuiltObject Loader::buildHere(const std::string& path) const {
  const Work work("compiling " + inQuotes(path));
  ObjectFile object;
  object.path = objectPathOf(path);
  const language::SourceText source = readSource(path);
  Compiled compiled = compile(source, language::parseSource(source));
  object.identity = sourceIdentity(source.text);
  object.target = engine_.target();
  for (const GeneratedClass& generated : compiled.classes) {
    object.initialisers.push_back(generated.initialiser);
    for (const NativeBinding& native : generated.natives) object.natives[native.symbol] = native.signature;
  }
  join(compiled.classes);
  llvm::Module& whole = *compiled.classes.front().module;
  whole.setSourceFileName(path);
  addHeader(whole, object);
  std::string bytes = engine_.emitObject(whole);
  return {std::move(object), std::move(bytes)};
}

void Loader::precompile(const std::string& path) {
  const BuiltObject built = build(path);
  writeObject(built.object, built.bytes);
}

void Loader::precompile(const std::vector<std::string>& paths, const std::function<void(const std::string&)>& done) {
  std::vector<std::packaged_task<BuiltObject()>> builds;
  std::vector<std::future<BuiltObject>> objects;
  for (const std::string& path : paths) {
    objects.push_back(builds.emplace_back([&] { return build(path); }).get_future());
  }
  Workers workers(paths.size(), [&builds](std::size_t i) { builds[i](); });
  const auto isBuilt = [&objects](std::size_t i) {
    return objects[i].wait_for(std::chrono::seconds(0)) == std::future_status::ready;
  };
  for (std::size_t i = 0; i < paths.size(); ++i) {
    while (!isBuilt(i) && workers.doNext()) {
    }
    const BuiltObject built = objects[i].get();
    writeObject(built.object, built.bytes);
    done(paths[i]);
  }
}

}  // namespace orva::compiler
