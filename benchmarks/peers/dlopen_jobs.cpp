// The C library as a peer: shared objects.
#include <dlfcn.h>
#include <gnu/libc-version.h>

#include "measure.h"

static void loadCompiled(const std::string& folder) {
  const peers::Report report("dlopen", std::string("glibc ") + gnu_get_libc_version());
  const std::vector<std::string> modules = peers::copies(PEER_MODULE, folder);
  report.add("load_compiled", "dlopen (RTLD_NOW, RTLD_LOCAL) of a shared object, dlsym, and a call",
             peers::timeLoads([&modules](int i) {
               void* module = dlopen(modules[static_cast<std::size_t>(i)].c_str(), RTLD_NOW | RTLD_LOCAL);
               peers::require(module != nullptr, "dlopen fails");
               const auto number = reinterpret_cast<int (*)()>(dlsym(module, "number"));
               peers::require(number != nullptr && number() == 17, "the module does not work");
             }));
}

int main(int /*argc*/, char** argv) {
  return peers::runJobs([argv] { loadCompiled(argv[1]); });
}
