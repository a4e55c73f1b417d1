// Replaces the linker's --wrap where the library is shared: it then calls the locks that the test program exports.
#include <dlfcn.h>
#include <pthread.h>

// The names that the linker would make.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

using Operation = int(pthread_mutex_t*);

static Operation* next(const char* name) { return reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, name)); }

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept { return __wrap_pthread_mutex_lock(mutex); }
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept { return __wrap_pthread_mutex_unlock(mutex); }

int __real_pthread_mutex_lock(pthread_mutex_t* mutex) {
  static Operation* const lock = next("pthread_mutex_lock");
  return lock(mutex);
}

int __real_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  static Operation* const unlock = next("pthread_mutex_unlock");
  return unlock(mutex);
}
