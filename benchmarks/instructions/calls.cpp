// Makes each counted call, after its floor, and lets callgrind record how many instructions each took.
#include <valgrind/callgrind.h>

#include <cstdio>
#include <string>
#include <vector>

#include "benchmarks/floors/floors.h"
#include "benchmarks/floors/measured_host.h"
#include "classloader/natives.h"
#include "runtime_api/compiler.h"
#include "runtime_api/runtime.h"

using orva::compiler::Compiler;

static constexpr std::size_t typeCount = 1'000;

template <typename Call>
static void count(const std::string& name, const Call& call) {
  // During the first call, the dynamic linker also looks up the functions that are called.
  call();
  CALLGRIND_ZERO_STATS;
  call();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
}

template <typename Floor, typename Call>
static void countBoth(const std::string& name, const Floor& floor, const Call& call) {
  count(name + " floor", floor);
  count(name + " call", call);
}

int main() {
  measured::registerTypes(typeCount);
  measured::fillTable(typeCount);
  const std::string fullName = measured::fullNameOf(typeCount / 2);
  const std::string shortName = measured::shortNameOf(typeCount / 2);
  const std::string genericName = measured::unknownInstance;
  std::vector<const char*> files(typeCount, measured::sourceFile);
  void* const list = measured::listOf(files);

  countBoth("load_class", [] { Orva_typeByName("a.B"); }, [] { orva_SystemClassLoader_loadClass(nullptr, "a.B"); });
  countBoth("abi_version", Compiler::objectAbiVersion, orva_ClassLoader_objectAbiVersion);
  countBoth("full_name", floors::scanRegistry, [&] { orva_ClassLoader_getTypeByName(fullName.c_str()); });
  countBoth("short_name", floors::scanRegistry, [&] { orva_ClassLoader_getTypeByName(shortName.c_str()); });
  countBoth(
      "generic_walk", [&] { floors::walkTable(genericName); },
      [&] { orva_ClassLoader_getTypeByName(genericName.c_str()); });
  countBoth("string_list", [&] { floors::copyList(list); }, [&] { orva_ClassLoader_precompileSources(list); });
}
