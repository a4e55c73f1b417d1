// Lua as a peer: `require`, called from C.
#include <lua.hpp>
#include <memory>

#include "measure.h"

using State = std::unique_ptr<lua_State, void (*)(lua_State*)>;

constexpr const char* moduleSource = R"(local module = {}
function module.number() return NUMBER end
function module.name() return 'module' end
function module.sum(a, b) return a + b end
function module.greet(who) return 'Hello, ' .. who end
function module.isSame(a, b) return a == b end
return module
)";

static std::string sourceOf(int number) { return peers::replaced(moduleSource, "NUMBER", std::to_string(number)); }

static void run(lua_State* lua, const std::string& code) {
  if (luaL_dostring(lua, code.c_str()) != LUA_OK) throw std::runtime_error(lua_tostring(lua, -1));
}

/// A state that looks for modules only in one folder.
static State newState(const std::string& folder) {
  State lua(luaL_newstate(), lua_close);
  luaL_openlibs(lua.get());
  run(lua.get(), "package.path, package.cpath = '" + folder + "/?.lua', ''");
  return lua;
}

/// Leaves the module, or the text of the error, on the stack.
static bool callRequire(lua_State* lua, const char* name) {
  lua_getglobal(lua, "require");
  lua_pushstring(lua, name);
  return lua_pcall(lua, 1, 1, 0) == LUA_OK;
}

static void lookUp(lua_State* lua, const char* name, bool isKnown) {
  peers::require(callRequire(lua, name) == isKnown, "a lookup returned a wrong result");
  lua_settop(lua, 0);
}

static void load(lua_State* lua, int number) {
  peers::require(callRequire(lua, ("module" + std::to_string(number)).c_str()), "require fails");
  lua_getfield(lua, -1, "number");
  lua_call(lua, 0, 1);
  peers::require(lua_tointeger(lua, -1) == number, "the module does not work");
  lua_settop(lua, 0);
}

static void findModules(const peers::Report& report, const std::string& folder) {
  const State lua = newState(folder);
  for (const int modules : {10, 1000, 100000}) {
    run(lua.get(), "for i = 0, " + std::to_string(modules - 1) + " do package.loaded['peers' .. i] = {} end");
    peers::Names known("peers", modules);
    report.add("find_loaded", "require of a loaded module",
               peers::timeCalls([&] { lookUp(lua.get(), known.next(), true); }), modules);
    peers::Names unknown("other", modules);
    report.add("find_missing", "require that fails, with one folder on the path",
               peers::timeCalls([&] { lookUp(lua.get(), unknown.next(), false); }), modules);
  }
}

static void loadSources(const peers::Report& report, const std::string& folder) {
  for (int i = 0; i < peers::allLoads; ++i) {
    peers::writeFile(folder + "/module" + std::to_string(i) + ".lua", sourceOf(i));
  }
  const State lua = newState(folder);
  report.add("load_source", "require of a new source, and a call",
             peers::timeLoads([&lua](int i) { load(lua.get(), i); }));
}

/// Compiles a module as luac does.
static void compileModule(lua_State* lua, const std::string& path, int number) {
  run(lua, "return string.dump(load([[" + sourceOf(number) + "]], '@" + path + "'))");
  std::size_t size = 0;
  const char* bytes = lua_tolstring(lua, -1, &size);
  peers::writeFile(path, {bytes, size});
  lua_settop(lua, 0);
}

static void loadCompiled(const peers::Report& report, const std::string& folder) {
  const State lua = newState(folder);
  for (int i = 0; i < peers::allLoads; ++i) {
    compileModule(lua.get(), folder + "/module" + std::to_string(i) + ".lua", i);
  }
  report.add("load_compiled", "require of a file compiled by string.dump, as luac does, and a call",
             peers::timeLoads([&lua](int i) { load(lua.get(), i); }));
}

int main(int /*argc*/, char** argv) {
  return peers::runJobs([argv] {
    const std::string folder = argv[1];
    const peers::Report report("Lua", LUA_VERSION_MAJOR "." LUA_VERSION_MINOR "." LUA_VERSION_RELEASE);
    findModules(report, folder);
    loadSources(report, folder + "/sources");
    loadCompiled(report, folder + "/compiled");
  });
}
