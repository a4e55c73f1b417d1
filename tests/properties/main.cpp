// The program of the suite: runs the tests, or plays one world given as text.
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "agreement.h"
#include "small_worlds.h"

static constexpr std::array<int, 5> crashes{SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};
static std::array<struct sigaction, crashes.size()> handlersBefore;

/// Prints the story that crashed, and leaves the crash to the previous handlers.
static void reportStory(int /*signal*/) {
  for (std::size_t index = 0; index < crashes.size(); ++index) {
    sigaction(crashes.at(index), &handlersBefore.at(index), nullptr);
  }
  const model::Story* story = model::storyInPlay();
  if (story == nullptr) return;
  // Writing the story needs the heap, which the crash may have left locked forever.
  alarm(10);
  std::fputs(("The world crashed. Play it again:\n" + model::commandFor(*story)).c_str(), stderr);
  alarm(0);
}

static void reportCrashes() {
  struct sigaction reporting = {};
  reporting.sa_handler = reportStory;
  for (std::size_t index = 0; index < crashes.size(); ++index) {
    sigaction(crashes.at(index), &reporting, &handlersBefore.at(index));
  }
}

static int play(const std::string& text) {
  try {
    const std::string problem = model::disagreement(model::storyFrom(text));
    std::cout << (problem.empty() ? "The library does what the rules say.\n" : problem);
    return problem.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    std::cerr << "The world cannot be played: " << failure.what() << '\n';
    return 2;
  }
}

static int test() {
  const int status = RUN_ALL_TESTS();
  std::cout << model::worldsPlayed() << " small worlds in all\n";
  return status;
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  reportCrashes();
  if (argc == 1) return test();
  if (argc == 3 && std::string(argv[1]) == "--world") return play(argv[2]);
  std::cerr << "Usage: " << argv[0] << " [--world TEXT]\n";
  return 2;
}
