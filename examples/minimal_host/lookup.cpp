// Looks types up as a program of the language does: through a native that is bound by its symbol.
#include <dlfcn.h>

#include <cstdio>

#include "minimal_host.h"

using GetTypeByName = void* (*)(const char*);

int main() {
  const auto getTypeByName = reinterpret_cast<GetTypeByName>(dlsym(RTLD_DEFAULT, "orva_ClassLoader_getTypeByName"));
  if (getTypeByName == nullptr) {
    std::puts("The natives are not in this program: see CMakeLists.txt for how to link the library");
    return 1;
  }
  minimal_host::start();
  minimal_host::registerType("shop.Cart");
  minimal_host::registerType("train.Cart");
  for (const char* name : {"shop.Cart", "SystemClassLoader", "shop.Till", "Cart"}) {
    const void* type = getTypeByName(name);
    std::printf("%s is %s\n", name, type != nullptr ? "a type" : "not a type");
    if (const auto raised = minimal_host::takePending()) {
      std::printf("  raised %s: %s\n", raised->className.c_str(), raised->message.c_str());
    }
  }
}
