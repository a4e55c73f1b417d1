// A host that does what its arguments say, in order: looks up types, forks, waits, hangs, ends.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include "classloader/natives.h"
#include "minimal_host.h"
#include "runtime_api/reflection.h"

static void ask(const std::string& name) {
  const bool isFound = orva_ClassLoader_getTypeByName(name.c_str()) != nullptr;
  std::printf("%s is %s\n", name.c_str(), isFound ? "a type" : "not a type");
  if (const auto raised = minimal_host::takePending()) std::printf("  raised: %s\n", raised->message.c_str());
  std::fflush(stdout);
}

static void ready() {
  std::puts("ready");
  std::fflush(stdout);
}

/// Looks up a type on another thread while this one holds the lock that the lookup needs, forever.
static void hang(const std::string& name) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  std::thread asker([&name] { ask(name); });
  ready();
  asker.join();
}

/// Maps a file, as programs do with their own files.
static void mapFile(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  // Below the existing mappings.
  void* const place = mmap(reinterpret_cast<void*>(0x10000), 4096, PROT_READ, MAP_SHARED, file, 0);
  if (place == MAP_FAILED) std::abort();
  close(file);
}

/// Follows the remaining arguments in a child process.
static void leaveToChild() {
  const pid_t child = fork();
  if (child == 0) return;
  int status = 0;
  waitpid(child, &status, 0);
  std::_Exit(WEXITSTATUS(status));
}

int main(int argc, char** argv) {
  minimal_host::start();
  minimal_host::registerType("shop.Cart");
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const std::string value = i + 1 < argc ? argv[i + 1] : "";
    if (word == "--fork") leaveToChild();
    if (word == "--ready") ready();
    if (word == "--map") mapFile(value);
    if (word == "--wait") pause();
    if (word == "--hang") hang(value);
    if (word == "--signal") std::raise(std::atoi(value.c_str()));
    if (word == "--end") std::_Exit(std::atoi(value.c_str()));
    if (word == "--times") {
      for (int count = std::atoi(value.c_str()); count > 0; --count) orva_ClassLoader_getTypeByName("shop.Cart");
    }
    if (word == "--ask") ask(value);
  }
}
