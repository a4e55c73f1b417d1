// Plays the small worlds as the suite of properties does, explains each call, and writes both to a file for a checker
// that shares no code with the reader.
#include "explained_worlds.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <unordered_set>

#include "agreement.h"
#include "explained_json.h"
#include "play.h"
#include "recorded_events.h"

namespace {

/// Writes each explanation once. Several processes write to one file.
void writeDown(const std::string& line) {
  static std::unordered_set<std::size_t> written;
  static const char* const path = std::getenv("EXPLAINED");
  if (path == nullptr || !written.insert(std::hash<std::string>()(line)).second) return;
  static const int file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (write(file, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    throw std::runtime_error(std::string(path) + " cannot be written");
  }
}

}  // namespace

namespace model {

void explain(const orva::tracing::Event& native) { writeDown(orva::tracing::explainedJson(native)); }

std::string commandFor(const Story& story) { return textOf(story); }

/// With PLAY_EACH, plays only every so-many-th of the stories of one call: there are very many, and most are alike.
static bool isLeftOut(const Story& story) {
  static const char* const each = std::getenv("PLAY_EACH");
  static int stories = 0;
  return each != nullptr && story.calls.size() == 1 && ++stories % std::atoi(each) != 0;
}

std::string disagreement(const Story& story) {
  if (isLeftOut(story)) return "";
  World world = story.world;
  for (const Call& call : story.calls) {
    const World before = world;
    Outcome outcome = observed(world, call);
    explain(eventsOf(before, call, outcome));
  }
  return "";
}

}  // namespace model
