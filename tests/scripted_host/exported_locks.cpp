// Replaces the linker's --wrap where the library is shared: it then calls the locks that the test program exports.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>

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

/// Calls the next definition of a function. No static local keeps it, because the guard of one may take a lock itself.
static int callNext(std::atomic<Operation*>& known, const char* name, pthread_mutex_t* mutex) {
  Operation* operation = known;
  if (operation == nullptr) known = operation = reinterpret_cast<Operation*>(dlsym(RTLD_NEXT, name));
  return operation(mutex);
}

static std::atomic<Operation*> nextLock{nullptr};
static std::atomic<Operation*> nextUnlock{nullptr};

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept { return __wrap_pthread_mutex_lock(mutex); }
int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept { return __wrap_pthread_mutex_unlock(mutex); }

int __real_pthread_mutex_lock(pthread_mutex_t* mutex) { return callNext(nextLock, "pthread_mutex_lock", mutex); }
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex) { return callNext(nextUnlock, "pthread_mutex_unlock", mutex); }
