// The calls of a lookup, for each way that it can go.
#include "lookups.h"

#include <utility>

using namespace scripted;

Side lookup(const std::string& name, std::vector<Path> paths) {
  const auto call = [name](const SteppedHost& host) {
    return host.endingWithType(orva_ClassLoader_getTypeByName(name.c_str()));
  };
  return {call, std::move(paths)};
}

std::vector<std::string> searching(const std::string& name, int32_t registered) {
  return sequence(scan(registered), "Compiler::activeRuntimeContext()",
                  "ClassLoader::sourceFileForClass(\"" + name + "\", active, no token)");
}

std::vector<std::string> loading(const std::string& name, const std::string& file, int32_t registered) {
  return sequence(searching(name, registered), loaded(file, "active"), typeByName(name));
}

std::vector<std::string> finding(const std::string& name, int32_t registered) {
  return sequence(scan(registered), typeByName(name));
}
