// Prints each native that ended in the traces that it is given, with its explanation, for the program that checks
// these.
#include <cstdio>
#include <exception>

#include "explained_json.h"

using orva::tracing::Ending;
using orva::tracing::Event;

static void print(const std::vector<Event>& events) {
  for (const Event& event : events) {
    const bool isEnded = event.ending == Ending::returned || event.ending == Ending::threw;
    if (event.isNative() && isEnded) std::fputs(orva::tracing::explainedJson(event).c_str(), stdout);
    print(event.inner);
  }
}

int main(int argc, char** argv) try {
  for (int i = 1; i < argc; ++i) {
    for (const auto& thread : orva::tracing::readTrace(argv[i]).threads) print(thread.events);
  }
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
