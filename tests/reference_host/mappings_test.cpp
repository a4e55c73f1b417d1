// A process that runs out of memory mappings. Sanitizers need some themselves, and memcheck supports only 30,000.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>

#include "reference_host/compiler/context.h"
#include "reference_host/compiler/exhaustion.h"
#include "workspace.h"

namespace {

/// Uses up nearly all memory mappings of the process: adjacent pages with different protection cannot share one.
class AllMappings {
 public:
  AllMappings() : page_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))), begin_(map(PROT_NONE, most * page_)) {
    for (std::size_t i = 0; i < most; i += 2) {
      if (mprotect(begin_ + i * page_, page_, PROT_READ) != 0) break;
    }
  }
  ~AllMappings() { munmap(begin_, most * page_); }
  AllMappings(const AllMappings&) = delete;
  AllMappings& operator=(const AllMappings&) = delete;

 private:
  static constexpr std::size_t most = 10'000'000;

  static char* map(int protection, std::size_t size) {
    return static_cast<char*>(mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  }

  const std::size_t page_;
  char* const begin_;
};

}  // namespace

TEST(Mappings, AClassForWhichNoneAreLeftIsNamed) {
  const Workspace workspace;
  writeFile("One.ov", "class One { }");
  orva::compiler::watchMemory();
  // LLVM may fail first, or C++ within it, which ends the process.
  const auto loadWithoutMappings = [] {
    const AllMappings all;
    const std::string failure =
        failureOf([] { orva::compiler::activeContext().loader.load("One.ov", orva::runtime::Origin::named); });
    std::fprintf(stderr, "%s\n", failure.c_str());
    _exit(1);
  };
  EXPECT_EXIT(loadWithoutMappings(), testing::ExitedWithCode(1),
              "^The process ran out of memory mappings \\(vm.max_map_count; each class takes three\\) "
              "while linking class 'One'\n$");
}
