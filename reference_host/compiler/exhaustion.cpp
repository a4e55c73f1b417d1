// Handlers for failed allocations of C++ and of LLVM.
#include "reference_host/compiler/exhaustion.h"

#include <fcntl.h>
#include <llvm/Support/ErrorHandling.h>
#include <llvm/Support/raw_ostream.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

#include "reference_host/compiler/files.h"
#include "reference_host/compiler/private_folder.h"
#include "reference_host/runtime/values.h"

namespace orva::compiler {

static thread_local const Work* current = nullptr;

/// Counts the lines of a file without allocating memory.
static std::size_t countLines(const char* file) {
  const int descriptor = open(file, O_RDONLY | O_CLOEXEC);
  std::array<char, 4096> bytes{};
  std::size_t lines = 0;
  for (ssize_t size = 0; (size = read(descriptor, bytes.data(), bytes.size())) > 0;) {
    lines += static_cast<std::size_t>(std::count(bytes.begin(), bytes.begin() + size, '\n'));
  }
  close(descriptor);
  return lines;
}

static std::size_t readNumber(const char* file) {
  const int descriptor = open(file, O_RDONLY | O_CLOEXEC);
  std::array<char, 32> digits{};
  const ssize_t size = read(descriptor, digits.data(), digits.size() - 1);
  close(descriptor);
  return size > 0 ? std::strtoul(digits.data(), nullptr, 10) : 0;
}

const char* lackOfMemory() {
  const std::size_t most = readNumber("/proc/sys/vm/max_map_count");
  // One allocation may need several.
  const bool areMappings = most > 0 && countLines("/proc/self/maps") + 8 > most;
  return areMappings ? "The process ran out of memory mappings (vm.max_map_count; each class takes three)"
                     : "Out of memory";
}

[[noreturn]] static void endProcess() {
  static std::atomic_flag isEnding = ATOMIC_FLAG_INIT;
  // One thread's line is enough.
  while (isEnding.test_and_set()) pause();
  const char* const name = std::exchange(current, nullptr)->name();
  const char* const lack = lackOfMemory();
  runtime::release(runtime::Reserve::report);
  std::array<char, 512> line{};
  std::snprintf(line.data(), line.size(), "%s while %s", lack, name);
  std::fprintf(stderr, "%s\n", line.data());
  removeUnfinishedFiles();
  removePrivateFolder();
  _exit(1);
}

static void onFailedNew() {
  if (current != nullptr) endProcess();
  throw std::bad_alloc();
}

static void onFailedAllocation(void* /*data*/, const char* /*reason*/, bool /*withDiagnostics*/) {
  if (current != nullptr) endProcess();
  throw std::bad_alloc();
}

void watchMemory() {
  std::set_new_handler(onFailedNew);
  llvm::install_bad_alloc_error_handler(onFailedAllocation);
}

Work::Work(std::string name) : name_(std::move(name)), outer_(std::exchange(current, this)) {}

Work::~Work() { current = outer_; }

void Work::print(llvm::raw_ostream& out) const { out << name_; }

}  // namespace orva::compiler
