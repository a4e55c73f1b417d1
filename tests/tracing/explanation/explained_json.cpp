// For the program that checks explanations: bytes stay bytes, each as the character of its number.
#include "explained_json.h"

#include "tracing/reader/explanation.h"

namespace orva::tracing {
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
    case StoredKind::text: return jsonOf(value.text + (value.isCut ? "…" : ""));
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
  if (event.ending == Ending::threw) json += ",\"threw\":" + jsonOf(event.thrown.value_or(""));
  if (event.isNative()) json += ",\"inner\":" + jsonOf(event.inner, jsonOfEvent);
  return json + '}';
}

}  // namespace

std::string explainedJson(const Event& native) {
  return "{\"native\":" + jsonOfEvent(native) + ",\"sentence\":" + jsonOf(explanationOf(native)) + "}\n";
}

}  // namespace orva::tracing
