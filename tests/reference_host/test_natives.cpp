// Natives that compiled test classes call; they throw, raise and return what the library's natives never do.
#include <cstdint>
#include <stdexcept>

#include "runtime_api/runtime.h"

extern "C" {

void orva_Thrower_fail(int64_t kind) {
  if (kind == 0) throw std::runtime_error("thrown by a native");
  throw 42;
}

void orva_Thrower_raiseTwice() {
  Orva_raise("FirstException", "first");
  Orva_raise("SecondException", "second");
}

int64_t orva_Thrower_raiseAndReturn() {
  Orva_raise("RaisedException", "");
  return 7;
}

int64_t orva_Thrower_truth(int64_t value) { return value; }

void* orva_Thrower_own() { return Orva_allocObject("Thrower"); }

}  // extern "C"
