// Binds natives by name with `dlsym`, as an engine would.
#include <dlfcn.h>

#include "other_host.h"

void* other_host::bindNative(const char* symbol) { return dlsym(RTLD_DEFAULT, symbol); }
