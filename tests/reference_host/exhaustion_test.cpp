// Memory that runs out inside the compiler.
#include "reference_host/compiler/exhaustion.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "reference_host/compiler/private_folder.h"
#include "workspace.h"

/// Makes the process take a while between its message and its end, because it removes these files.
static void makeManyFiles() {
  for (int i = 0; i < 1000; ++i) writeFile(orva::compiler::privateFolder() / std::to_string(i), "");
}

TEST(Exhaustion, OfSeveralThreadsAtOnceIsToldInOneLine) {
  constexpr int count = 8;
  orva::compiler::watchMemory();
  const auto failTogether = [] {
    makeManyFiles();
    std::atomic<int> waiting{count};
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([&waiting] {
        const orva::compiler::Work work("running several threads");
        --waiting;
        while (waiting != 0) std::this_thread::yield();
        // As `operator new` does.
        std::get_new_handler()();
      });
    }
    for (std::thread& each : threads) each.join();
    _exit(0);
  };
  EXPECT_EXIT(failTogether(), testing::ExitedWithCode(1), "^Out of memory while running several threads\n$");
}
