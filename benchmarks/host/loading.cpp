// Loading one class from its source and from its object, beside what ORC asks for the same module and object.
#include <benchmark/benchmark.h>

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

static void loadFromSource(benchmark::State& state) {
  const auto context = Compiler::activeRuntimeContext();
  for (auto _ : state) {
    const FreshClass fresh = writeFreshClass();
    state.SetIterationTime(secondsOf([&] { Compiler::ensureSourceLoadedInActiveJit(fresh.path, context); }));
  }
}

/// The module that the host makes of a class, and the name of its initialiser.
struct BareModule {
  llvm::orc::ThreadSafeModule module;
  std::string initialiser;
};

static BareModule moduleOf(const FreshClass& fresh) {
  const auto source = compiler::readSource(fresh.path);
  const auto file = orva::language::parseSource(source);
  std::vector<orva::language::Diagnostic> diagnostics;
  auto context = std::make_unique<llvm::LLVMContext>();
  auto generated =
      compiler::generateClass(source, file, file.classes.front(), activeContext().catalog, *context, diagnostics);
  bareEngine().prepare(*generated.module);
  return {{std::move(generated.module), std::move(context)}, generated.initialiser};
}

static void linkModule(benchmark::State& state) {
  for (auto _ : state) {
    BareModule bare = moduleOf(writeFreshClass());
    state.SetIterationTime(secondsOf([&] { bareEngine().link(std::move(bare.module), bare.initialiser); }));
  }
}

/// Writes the object of a fresh class and tells its path.
static std::string writeFreshObject(const FreshClass& fresh) {
  activeContext().loader.precompile(fresh.path);
  return compiler::objectPathOf(fresh.path);
}

static void loadFromObject(benchmark::State& state) {
  for (auto _ : state) {
    const FreshClass fresh = writeFreshClass();
    const std::vector<std::string> objects = {writeFreshObject(fresh)};
    const std::vector<std::string> identities = {compiler::readObject(objects[0]).identity};
    state.SetIterationTime(secondsOf([&] { Compiler::ensureObjectBundleLoadedInActiveJit(objects, identities); }));
  }
}

static void linkObject(benchmark::State& state) {
  for (auto _ : state) {
    auto object = compiler::readObject(writeFreshObject(writeFreshClass()));
    state.SetIterationTime(secondsOf([&] { bareEngine().link(std::move(object.bytes), object.initialisers[0]); }));
  }
}

/// Loads the object of a class of so many methods: the time of each must not grow with their number.
static void loadLargeClass(benchmark::State& state, int methods) {
  static int count = 0;
  for (auto _ : state) {
    const std::string name = "Large" + std::to_string(count++);
    std::string text = "class " + name + " {\n";
    for (int i = 0; i < methods; ++i) {
      text += "  static int m" + std::to_string(i) + "(int a) { return a + " + std::to_string(i) + "; }\n";
    }
    writeText(name + ".ov", text + "}\n");
    activeContext().loader.precompile(name + ".ov");
    const std::string identity = compiler::sourceIdentity(text + "}\n");
    state.SetIterationTime(secondsOf([&] { activeContext().loader.loadBundle({name + ".o"}, {identity}); }));
  }
}

void registerLoading() {
  for (const auto& [name, function] :
       {std::pair("class_from_source/here", loadFromSource), std::pair("class_from_source/orc", linkModule),
        std::pair("class_from_object/here", loadFromObject), std::pair("class_from_object/orc", linkObject)}) {
    // Preparing an object takes longer than loading it.
    benchmark::RegisterBenchmark(name, function)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);
  }
  benchmark::RegisterBenchmark("large_class/500_methods", loadLargeClass, 500)->UseManualTime()->Iterations(1);
  benchmark::RegisterBenchmark("large_class/2000_methods", loadLargeClass, 2000)->UseManualTime()->Iterations(1);
}
