// A whole process that prints a line, beside an empty one that is linked to the same LLVM.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "subjects.h"
#include "world.h"

/// Runs a program without its output. Tells whether it succeeded.
static bool runProgram(const std::vector<const char*>& words) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  std::vector<char*> arguments;
  for (const char* word : words) arguments.push_back(const_cast<char*>(word));
  arguments.push_back(nullptr);
  pid_t child = 0;
  int status = -1;
  if (posix_spawn(&child, words[0], &actions, nullptr, arguments.data(), environ) == 0) waitpid(child, &status, 0);
  posix_spawn_file_actions_destroy(&actions);
  return status == 0;
}

/// Runs both in turns, so that other load on the machine affects both.
static void measure(benchmark::State& state) {
  double emptySeconds = 0;
  writeText("Hello.ov", "class Hello { static void main() { Console.print(\"Hello\"); } }\n");
  while (state.KeepRunning()) {
    bool isGood = true;
    state.SetIterationTime(secondsOf([&] { isGood &= runProgram({ORVA_HOST, "run", "Hello.ov"}); }));
    emptySeconds += secondsOf([&] { isGood &= runProgram({EMPTY_PROGRAM}); });
    if (!isGood) state.SkipWithError("a program failed");
  }
  reportFloor(state, emptySeconds);
}

void registerStart() { benchmark::RegisterBenchmark("start", measure)->UseManualTime()->Unit(benchmark::kMillisecond); }
