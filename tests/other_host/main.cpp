// Binds every native and calls each once, with a registry of 5,000 types. Prints what is wrong. Refers to no native by
// symbol.
#include <classloader/natives.h>

#include <cstdio>

#include "other_host.h"

using other_host::List;

static int problems = 0;

static void expect(bool holds, const char* what) {
  if (holds) return;
  ++problems;
  std::fprintf(stderr, "wrong result: %s\n", what);
}

static void expectRaised(const std::string& expected) {
  const std::string raised = other_host::takePending().value_or("nothing");
  if (raised == expected) return;
  ++problems;
  std::fprintf(stderr, "expected the exception '%s', but found '%s'\n", expected.c_str(), raised.c_str());
}

static bool bindsAllNatives() {
  bool isBound = true;
#define ORVA_NATIVE(symbol, ...) \
  if (other_host::bindNative(#symbol) == nullptr) isBound = (std::fprintf(stderr, "no native " #symbol "\n"), false);
#include <classloader/native_list.inc>
#undef ORVA_NATIVE
  return isBound;
}

// `decltype` does not refer to the function, which would make the linker keep it.
#define BOUND(symbol) (reinterpret_cast<decltype(&(symbol))>(other_host::bindNative(#symbol)))

static void lookUp() {
  const auto typeOf = BOUND(orva_ClassLoader_getTypeByName);
  expect(typeOf("module42.Type42") == other_host::findType("module42.Type42"), "a registered type");
  expect(typeOf("app.Loaded") != nullptr, "a type whose source is loaded");
  expect(typeOf("Box<app.Loaded>") != nullptr, "a generic instance");
  expect(typeOf("unknown.Type") == nullptr, "an unknown type");
  expect(BOUND(orva_SystemClassLoader_loadClass)(nullptr, "app.Loaded") != nullptr, "loadClass");
  expectRaised("nothing");
}

static void load() {
  List objects{{"plugin/Bundled.ov.o"}};
  List identities{{"plugin/Bundled.ov"}};
  const auto bundled = BOUND(orva_ClassLoader_loadObjectBundle);
  expect(bundled(&objects, &identities, "plugin.Bundled") != nullptr, "a bundle");
  expect(BOUND(orva_ClassLoader_loadSourceClass)("plugin/Late.ov", "Late") != nullptr, "a plugin");
  expect(BOUND(orva_ClassLoader_addSourceRoot)("sources") == 1, "a root");
  expect(BOUND(orva_ClassLoader_getSystem)() != nullptr, "the system class loader");
  expect(BOUND(orva_ClassLoader_objectAbiVersion)() == -3, "the version of objects");
  expectRaised("nothing");
}

/// The host throws through the library, whose handlers must recognise the exception.
static void fail() {
  List files{{"one.ov", "two.txt"}};
  BOUND(orva_ClassLoader_precompileSources)(&files);
  expectRaised("Exception: two.txt is not a source");
  BOUND(orva_SystemClassLoader_loadPackageTypes)(nullptr, "no.such");
  expectRaised("ClassNotFoundException: Package not found: no.such");
}

int main() {
  for (int number = 0; number < 5000; ++number) {
    other_host::registerType("module" + std::to_string(number % 50) + ".Type" + std::to_string(number));
  }
  if (!bindsAllNatives()) return 1;
  lookUp();
  load();
  fail();
  return problems == 0 ? 0 : 1;
}
