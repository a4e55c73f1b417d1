// Binds natives in a program that no `dlsym` can search.
#include <classloader/native_table.h>

#include "other_host.h"

void* other_host::bindNative(const char* symbol) { return orva::findNative(symbol); }
