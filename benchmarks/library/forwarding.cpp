// The natives that only pass a call on, beside the call itself.
#include "classloader/natives.h"
#include "measure.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

static void loadClass(benchmark::State& state) {
  measure(state, [] { return orva_SystemClassLoader_loadClass(nullptr, "a.B"); });
}
static void typeByName(benchmark::State& state) {
  measure(state, [] { return Orva_typeByName("a.B"); });
}
static void abiVersion(benchmark::State& state) { measure(state, orva_ClassLoader_objectAbiVersion); }
static void compilersVersion(benchmark::State& state) { measure(state, orva::compiler::Compiler::objectAbiVersion); }

BENCHMARK(loadClass)->Name("load_class/library");
BENCHMARK(typeByName)->Name("load_class/floor");
BENCHMARK(abiVersion)->Name("object_abi_version/library");
BENCHMARK(compilersVersion)->Name("object_abi_version/floor");
