// The program of the suite: runs the tests, or plays one world that it is given as text.
#include <gtest/gtest.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "agreement.h"
#include "small_worlds.h"

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
  if (argc == 1) return test();
  if (argc == 3 && std::string(argv[1]) == "--world") return play(argv[2]);
  std::cerr << "Usage: " << argv[0] << " [--world TEXT]\n";
  return 2;
}
