// Prints each native that ended in the traces that it is given, with its explanation, for the program that checks
// these: an object of JSON in a line, each different one once; at last, how many calls there are in all. Bytes stay
// bytes, each as the character of its number.
#include <cstddef>
#include <cstdio>
#include <exception>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tracing/reader/explanation.h"
#include "tracing/reader/trace.h"

using namespace orva::tracing;

static std::string jsonOf(const std::string& text) {
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
static std::string jsonOf(const Items& items, const Write& write) {
  std::string json;
  for (const auto& item : items) json += (json.empty() ? "" : ",") + write(item);
  return '[' + json + ']';
}

static std::string jsonOfValue(const Value& value) {
  switch (value.kind) {
    case StoredKind::null: return "null";
    case StoredKind::text: return jsonOf(value.text + (value.isCut ? "…" : ""));
    case StoredKind::pointer: return "{}";
    case StoredKind::count:
      return "{\"count\":" + std::to_string(value.number) + ",\"first\":" + jsonOf(value.elements, jsonOfValue) + '}';
    default: return std::to_string(value.number);
  }
}

static std::string jsonOfScan(const Scan& scan) {
  return "{\"key\":" + jsonOf(scan.key) + ",\"count\":" + std::to_string(scan.count) +
         ",\"read\":" + std::to_string(scan.read) + ",\"fullNames\":" + std::to_string(scan.fullNames) +
         ",\"shortNames\":" + std::to_string(scan.shortNames) + ",\"tails\":" + std::to_string(scan.tails) +
         ",\"matches\":" + jsonOf(scan.matches, [](const std::string& match) { return jsonOf(match); }) + '}';
}

static std::string jsonOfEvent(const Event& event) {
  if (event.kind == EventKind::lock) return "{\"lock\":true}";
  if (event.kind == EventKind::scan) return "{\"scan\":" + jsonOfScan(event.scan) + '}';
  std::string json = "{\"call\":" + jsonOf(std::string(descriptionOf(event.call).name)) +
                     ",\"arguments\":" + jsonOf(event.arguments, jsonOfValue) +
                     ",\"results\":" + jsonOf(event.results, jsonOfValue);
  if (event.ending == Ending::threw) json += ",\"threw\":" + jsonOf(event.thrown.value_or(""));
  if (event.isNative()) json += ",\"inner\":" + jsonOf(event.inner, jsonOfEvent);
  return json + '}';
}

/// @return how many events there are, with those inside.
static std::size_t print(const std::vector<Event>& events) {
  static std::set<std::string> printed;
  std::size_t count = events.size();
  for (const Event& event : events) {
    count += print(event.inner);
    if (!event.isNative()) continue;
    const std::string line = "{\"native\":" + jsonOfEvent(event) + ",\"sentence\":" + jsonOf(explanationOf(event)) +
                             ",\"hasEnded\":" + (event.hasEnded() ? "true" : "false") + "}\n";
    if (printed.insert(line).second) std::fputs(line.c_str(), stdout);
  }
  return count;
}

int main(int argc, char** argv) try {
  std::size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const Trace trace = readTrace(argv[i]);
    if (trace.stopped != Stopped::no) throw std::runtime_error(std::string("recording stopped early: ") + argv[i]);
    for (const Thread& thread : trace.threads) count += print(thread.events);
  }
  std::printf("{\"calls\":%zu}\n", count);
} catch (const std::exception& failure) {
  std::fprintf(stderr, "%s\n", failure.what());
  return 1;
}
