// Plays the small worlds as the suite of properties does; but here each call is explained, and what was explained is
// written down for a program that knows nothing of how.
#include "explained_worlds.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <unordered_set>

#include "agreement.h"
#include "play.h"
#include "recorded_events.h"
#include "tracing/reader/explanation.h"

using orva::tracing::Event;
using orva::tracing::EventKind;
using orva::tracing::Scan;
using orva::tracing::StoredKind;
using orva::tracing::Value;

namespace {

std::string jsonOf(const std::string& text) {
  std::string json = "\"";
  for (const char byte : text) {
    const auto code = static_cast<unsigned char>(byte);
    if (code >= ' ' && code < 0x7F && byte != '"' && byte != '\\') {
      json += byte;
      continue;
    }
    constexpr const char* digits = "0123456789abcdef";
    json += std::string("\\u00") + digits[code >> 4U] + digits[code & 15U];
  }
  return json + '"';
}

template <typename Items, typename Write>
std::string jsonOf(const Items& items, const Write& write) {
  std::string json;
  for (const auto& item : items) json += (json.empty() ? "" : ",") + write(item);
  return '[' + json + ']';
}

std::string jsonOfValue(const Value& value) {
  switch (value.kind) {
    case StoredKind::null: return "null";
    case StoredKind::text: return jsonOf(value.text);
    case StoredKind::pointer: return "{\"pointer\":" + std::to_string(value.number) + '}';
    case StoredKind::count:
      return "{\"count\":" + std::to_string(value.number) + ",\"first\":" + jsonOf(value.elements, jsonOfValue) + '}';
    default: return std::to_string(value.number);
  }
}

std::string jsonOfScan(const Scan& scan) {
  return "{\"key\":" + jsonOf(scan.key) + ",\"count\":" + std::to_string(scan.count) +
         ",\"read\":" + std::to_string(scan.read) + ",\"fullNames\":" + std::to_string(scan.fullNames) +
         ",\"shortNames\":" + std::to_string(scan.shortNames) + ",\"tails\":" + std::to_string(scan.tails) +
         ",\"matches\":" + jsonOf(scan.matches, [](const std::string& match) { return jsonOf(match); }) + '}';
}

std::string jsonOfEvent(const Event& event) {
  if (event.kind == EventKind::lock) return "{\"lock\":true}";
  if (event.kind == EventKind::scan) return "{\"scan\":" + jsonOfScan(event.scan) + '}';
  std::string json = "{\"call\":" + jsonOf(std::string(descriptionOf(event.call).name)) +
                     ",\"arguments\":" + jsonOf(event.arguments, jsonOfValue) +
                     ",\"results\":" + jsonOf(event.results, jsonOfValue);
  if (event.ending == orva::tracing::Ending::threw) json += ",\"threw\":" + jsonOf(event.thrown.value_or(""));
  if (event.isNative()) json += ",\"inner\":" + jsonOf(event.inner, jsonOfEvent);
  return json + '}';
}

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

void explain(const Event& native) {
  const std::string sentence = orva::tracing::explanationOf(native);
  writeDown("{\"native\":" + jsonOfEvent(native) + ",\"sentence\":" + jsonOf(sentence) + "}\n");
}

std::string commandFor(const Story& story) { return textOf(story); }

/// Of the stories of one call, only each one of so many is played when PLAY_EACH says so: there are very many, and much
/// alike.
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
