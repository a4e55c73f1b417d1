// A host that declares nothing by itself: everything comes from the headers, by the names that hosts write.
#include <classloader/natives.h>
#include <runtime_api/compiler.h>
#include <runtime_api/reflection.h>
#include <runtime_api/runtime.h>

// Copied here from the folder of the plain host.
#include "plain_host.h"
