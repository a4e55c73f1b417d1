// A program for any host that has the kit's hooks. It writes sources in the host's language to the working folder, then
// follows its arguments in order. It calls natives as its host binds them, and refers to none by symbol.
#include <classloader/natives.h>
#include <host_contract/hooks.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

using orva::host_contract::hostHooks;

#define BOUND(symbol) (reinterpret_cast<decltype(&(symbol))>(hostHooks().boundNative(#symbol)))

static void writeFile(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

/// Writes the classes: one is incomplete, one is in the file of another, one looks up another while it is loaded, and
/// one of three in a package takes long to load. around_loads.cpp implements the last two.
static void writeSources() {
  auto& hooks = hostHooks();
  for (const char* name : {"Cart", "Outer", "Inner"}) {
    writeFile(fs::path("sources/app") / (std::string(name) + ".ov"), hooks.classSource("app", name));
  }
  writeFile("sources/app/train/Cart.ov", hooks.classSource("app.train", "Cart"));
  writeFile("sources/app/Wrong.ov", hooks.classSource("app", "Right"));
  writeFile("sources/app/Broken.ov", hooks.brokenSource("app", "Broken"));
  for (const char* name : {"Cup", "Jar", "Slow"}) {
    writeFile(fs::path("sources/stock") / (std::string(name) + ".ov"), hooks.classSource("stock", name));
  }
}

/// Returns how many of the words it used.
static int act(const std::string& word, const char* value) {
  if (word == "--nothing") return BOUND(orva_ClassLoader_getTypeByName)(nullptr), 1;
  if (word == "--root") return BOUND(orva_ClassLoader_addSourceRoot)(value), 2;
  if (word == "--class") return BOUND(orva_SystemClassLoader_loadClass)(nullptr, value), 2;
  if (word == "--plugin") return BOUND(orva_ClassLoader_loadSourceClass)(value, "app.Plugin"), 2;
  if (word == "--package") return BOUND(orva_SystemClassLoader_loadPackageTypes)(nullptr, value), 2;
  return BOUND(orva_ClassLoader_getTypeByName)(word.c_str()), 1;
}

int main(int argc, char** argv) {
  hostHooks().start(".");
  writeSources();
  for (int i = 1; i < argc;) {
    i += act(argv[i], argv[i + 1]);
    if (const auto raised = hostHooks().takePending()) std::printf("%s\n", raised->message.c_str());
  }
}
