// Replaces the linker's --wrap for a shared library, which locks with functions of the test program.
#include <dlfcn.h>
#include <pthread.h>

#include <atomic>

// The names that the linker would define.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

using Operation = int(pthread_mutex_t*);

/// Calls the next definition of a function. It is not kept in a static local, whose guard might lock a mutex itself.
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
