// Loading one class from its source and from its object, beside what ORC takes for the same module and object.
#include <benchmark/benchmark.h>
#include <llvm/Support/MemoryBuffer.h>

#include "bare_engine.h"
#include "reference_host/compiler/class_generator.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/language/parser.h"
#include "subjects.h"
#include "world.h"

namespace compiler = orva::compiler;
using compiler::activeContext;
using compiler::Compiler;

static BareEngine& bareEngine() {
  static auto* const engine = new BareEngine();
  return *engine;
}

static double loadFromSource() {
  static const auto context = Compiler::activeRuntimeContext();
  const FreshClass fresh = writeFreshClass();
  return secondsOf([&] { Compiler::ensureSourceLoadedInActiveJit(fresh.path, context); });
}

/// The module that the host generates for a class, and the name of its initialiser.
struct BareModule {
  llvm::orc::ThreadSafeModule module;
  std::string initialiser;
};

static BareModule moduleOf(const FreshClass& fresh) {
  const auto source = compiler::readSource(fresh.path);
  const auto file = orva::language::parseSource(source);
  std::vector<orva::language::Diagnostic> diagnostics;
  auto context = std::make_unique<llvm::LLVMContext>();
  const compiler::ClassCatalog catalog(activeContext().classPath, file);
  auto generated = compiler::generateClass({source, file, file.classes.front(), {}}, catalog, *context, diagnostics);
  bareEngine().prepare(*generated.module);
  return {{std::move(generated.module), std::move(context)}, generated.initialiser};
}

static double linkModule() {
  BareModule bare = moduleOf(writeFreshClass());
  return secondsOf([&] { bareEngine().link(std::move(bare.module), bare.initialiser); });
}

/// Writes the object of a fresh class and returns its path.
static std::string writeFreshObject(const FreshClass& fresh) {
  activeContext().loader.precompile(fresh.path);
  return compiler::objectPathOf(fresh.path);
}

static double loadFromObject() {
  const FreshClass fresh = writeFreshClass();
  const std::vector<std::string> objects = {writeFreshObject(fresh)};
  const std::vector<std::string> identities = {compiler::readObject(objects[0]).identity};
  return secondsOf([&] { Compiler::ensureObjectBundleLoadedInActiveJit(objects, identities); });
}

static double linkObject() {
  const std::string path = writeFreshObject(writeFreshClass());
  const std::string initialiser = compiler::readObject(path).initialisers[0];
  return secondsOf([&] {
    bareEngine().link(llvm::cantFail(llvm::errorOrToExpected(llvm::MemoryBuffer::getFile(path))), initialiser);
  });
}

/// Loads classes both ways in turns, so that other load on the machine affects both.
static void measure(benchmark::State& state, double (*here)(), double (*floor)()) {
  double floorSeconds = 0;
  while (state.KeepRunning()) {
    state.SetIterationTime(here());
    floorSeconds += floor();
  }
  reportFloor(state, floorSeconds);
}

static std::string newClassName() {
  static int count = 0;
  return "Large" + std::to_string(count++);
}

/// Writes a class with this many methods and returns the path of its source.
static std::string writeLargeClass(int methods) {
  const std::string name = newClassName();
  std::string text = "class " + name + " {\n";
  for (int i = 0; i < methods; ++i) {
    const std::string number = std::to_string(i);
    text += "  static String m" + number + "() { Console.print(\"a\" + " + number + "); return \"text " + number +
            "\"; }\n";
  }
  writeText(name + ".ov", text + "}\n");
  return name + ".ov";
}

/// Writes a file with this many classes, each of which calls the next, and returns its path.
static std::string writeClasses(int classes) {
  const std::string name = newClassName();
  std::string text = "class " + name + " { static int get(int x) { return " + name + "_0.get(x); } }\n";
  for (int i = 0; i < classes; ++i) {
    text += "class " + name + "_" + std::to_string(i) + " { static int get(int x) { return " + name + "_" +
            std::to_string((i + 1) % classes) + ".get(x); } }\n";
  }
  writeText(name + ".ov", text);
  return name + ".ov";
}

// The time for each method, and for each class, must not grow with their number.

static void loadLargeSource(benchmark::State& state, std::string (*write)(int), int size) {
  while (state.KeepRunning()) {
    const std::string path = write(size);
    state.SetIterationTime(secondsOf([&] { activeContext().loader.load(path, orva::runtime::Origin::classPath); }));
  }
}

static void loadLargeObject(benchmark::State& state, std::string (*write)(int), int size) {
  while (state.KeepRunning()) {
    const std::string path = write(size);
    activeContext().loader.precompile(path);
    const std::string object = compiler::objectPathOf(path);
    const std::string identity = compiler::readObject(object).identity;
    state.SetIterationTime(secondsOf([&] { activeContext().loader.loadBundle({object}, {identity}); }));
  }
}

void registerLoading() {
  const auto add = [](const char* name, double (*here)(), double (*floor)()) {
    benchmark::RegisterBenchmark(name, measure, here, floor)
        ->UseManualTime()
        ->Iterations(50)
        ->Unit(benchmark::kMicrosecond);
  };
  add("class_from_source", loadFromSource, linkModule);
  add("class_from_object", loadFromObject, linkObject);
  using Write = std::string (*)(int);
  const auto addLarge = [](const std::string& name, void (*load)(benchmark::State&, Write, int), Write write,
                           const std::string& what, int few) {
    for (const int size : {few, 2 * few}) {
      benchmark::RegisterBenchmark((name + "/" + std::to_string(size) + "_" + what).c_str(), load, write, size)
          ->UseManualTime()
          ->Iterations(1)
          ->Unit(benchmark::kMillisecond);
    }
  };
  addLarge("large_source", loadLargeSource, writeLargeClass, "methods", 4000);
  addLarge("large_object", loadLargeObject, writeLargeClass, "methods", 4000);
  // Each class of a source takes three memory mappings, of which a process may have some 65,000.
  addLarge("large_source", loadLargeSource, writeClasses, "classes", 300);
  addLarge("large_object", loadLargeObject, writeClasses, "classes", 300);
}
