// A host that declares nothing itself: it includes all headers, by the names that hosts write.
#include <classloader/natives.h>
#include <runtime_api/compiler.h>
#include <runtime_api/reflection.h>
#include <runtime_api/runtime.h>

// Copied here from tests/symbols/.
#include "plain_host.h"
