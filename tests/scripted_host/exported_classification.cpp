// Replaces the linker's --wrap for a shared library, which classifies bytes with functions of the test program.
#include <dlfcn.h>

// The names that the linker would define, and those of the C library, whose header may define one inline.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int isspace(int value) noexcept;
const unsigned short** __ctype_b_loc() noexcept;
int __wrap_isspace(int value);
int __real_isspace(int value);
const unsigned short** __wrap___ctype_b_loc();
const unsigned short** __real___ctype_b_loc();
}
// NOLINTEND(bugprone-reserved-identifier)

template <typename Function>
static Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int isspace(int value) noexcept { return __wrap_isspace(value); }
const unsigned short** __ctype_b_loc() noexcept { return __wrap___ctype_b_loc(); }

int __real_isspace(int value) {
  static auto* const known = next<int(int)>("isspace");
  return known(value);
}

const unsigned short** __real___ctype_b_loc() {
  static auto* const known = next<const unsigned short**()>("__ctype_b_loc");
  return known();
}
