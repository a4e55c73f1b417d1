// A thread with a stack of the usual size, started only if the current stack is small.
#include "reference_host/compiler/ample_stack.h"

#include <pthread.h>

#include <exception>
#include <system_error>

#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/call_stack.h"

namespace orva::compiler {

using language::inQuotes;

namespace {

constexpr std::size_t mebibyte = std::size_t{1024} * 1024;

/// The most that the compiler needs: sources are nested up to 200 levels deep, and LLVM nests a few calls for each.
constexpr std::size_t needed = 2 * mebibyte;
constexpr std::size_t stackSize = 4 * needed;

struct Job {
  const std::function<void()>& work;
  std::exception_ptr failure;
};

void* runJob(void* argument) {
  auto* const job = static_cast<Job*>(argument);
  try {
    job->work();
  } catch (...) {
    job->failure = std::current_exception();
  }
  return nullptr;
}

}  // namespace

void onAmpleStack(const std::string& subject, const std::function<void()>& work) {
  if (runtime::remainingStack() >= needed) {
    work();
    return;
  }
  Job job{work, nullptr};
  pthread_t thread{};
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, stackSize);
  const int error = pthread_create(&thread, &attributes, runJob, &job);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(),
                            "Cannot compile " + inQuotes(subject) +
                                ": the stack is too small, and no thread with a larger one can be started");
  }
  pthread_join(thread, nullptr);
  if (job.failure) std::rethrow_exception(job.failure);
}

}  // namespace orva::compiler
