// Binds natives as an engine does that has only their names.
#include <dlfcn.h>

#include "other_host.h"

void* other_host::bindNative(const char* symbol) { return dlsym(RTLD_DEFAULT, symbol); }
