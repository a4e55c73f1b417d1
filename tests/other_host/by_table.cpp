// Binds natives with the table, for programs that `dlsym` cannot search.
#include <classloader/native_table.h>

#include "other_host.h"

void* other_host::bindNative(const char* symbol) { return orva::findNative(symbol); }
