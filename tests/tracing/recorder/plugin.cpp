// A shared object that a program loads while it runs, and that calls a native.
#include "classloader/natives.h"

extern "C" ORVA_EXPORT void callFromPlugin();

void callFromPlugin() { orva_SystemClassLoader_loadClass(nullptr, "from a plugin"); }
