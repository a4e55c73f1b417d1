// Writes each event on its own line, so that line-based tools can read the file too.
#include "tracing/reader/chrome_trace.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "tracing/reader/explanation.h"
#include "tracing/reader/json_text.h"
#include "tracing/reader/shown_text.h"
#include "tracing/reader/text_tree.h"

namespace orva::tracing {

static std::string microseconds(std::uint64_t nanoseconds) {
  const std::string rest = std::to_string(1000 + nanoseconds % 1000);
  return std::to_string(nanoseconds / 1000) + "." + rest.substr(1);
}

static std::string jsonOf(const Value& value);

/// An array with the result of a function for each element.
template <typename Elements, typename Function>
static std::string arrayOf(const Elements& elements, const Function& function) {
  std::string json;
  for (const auto& element : elements) json += (json.empty() ? "" : ",") + function(element);
  return "[" + json + "]";
}

static std::string jsonOf(const Value& value) {
  switch (value.kind) {
    case StoredKind::null:
    case StoredKind::integer:
    case StoredKind::truth: return valueText(value);
    case StoredKind::pointer: return jsonText(valueText(value));
    case StoredKind::text:
    case StoredKind::typeName: return jsonText(value.text + (value.isCut ? "…" : ""));
    case StoredKind::count: break;
  }
  return "{\"count\":" + std::to_string(value.number) + ",\"first\":" + arrayOf(value.elements, jsonOf) + "}";
}

namespace {

/// The members of an object.
class Members {
 public:
  void add(std::string_view name, const std::string& json) {
    text += (text.empty() ? "" : ",") + jsonText(name) + ":" + json;
  }
  void add(std::string_view name, std::int64_t number) { add(name, std::to_string(number)); }

  std::string object() const { return "{" + text + "}"; }

 private:
  std::string text;
};

class ChromeTrace {
 public:
  ChromeTrace(std::ostream& stream, std::uint64_t firstDay) : out(stream), start(firstDay) {}

  void write(const Trace& trace);

 private:
  void write(const Event& event);
  void writeName(std::string_view kind, const std::string& name);
  void writeLine(const Members& members);

  std::ostream& out;
  std::uint64_t start;       ///< of the first process
  std::uint64_t offset = 0;  ///< of this one's start from that
  std::uint32_t process = 0;
  std::uint32_t thread = 0;
  const char* separator = "\n";
};

}  // namespace

static void addEnding(Members& members, const Event& event) {
  const std::string ending = event.ending == Ending::open ? "is still running" : endingOf(event);
  if (!ending.empty()) members.add("ending", jsonText(ending));
}

/// What a scan found is known at its end.
static void addScan(Members& members, const Event& event) {
  if (!event.hasEnded()) return addEnding(members, event);
  members.add("key", jsonText(event.scan.key));
  members.add("types", event.scan.count);
  members.add("read", event.scan.read);
  members.add("by full name", event.scan.fullNames);
  members.add("by short name", event.scan.shortNames);
  members.add("by tail", event.scan.tails);
  members.add("matches", arrayOf(event.scan.matches, jsonText));
}

static std::string argumentsOf(const Event& event) {
  Members members;
  if (event.kind == EventKind::scan) {
    addScan(members, event);
  } else if (event.kind == EventKind::lock) {
    members.add("waited", microseconds(event.lock.waited));
    addEnding(members, event);
  } else {
    members.add("arguments", arrayOf(event.arguments, jsonOf));
    if (!event.results.empty()) members.add("results", arrayOf(event.results, jsonOf));
    const std::optional<Raise> raise = raiseOf(event);
    if (raise) members.add("message", jsonText(raise->message));
    addEnding(members, event);
    const std::string sentence = event.isNative() ? explanationOf(event) : "";
    if (!sentence.empty()) members.add("explanation", jsonText(sentence));
  }
  return members.object();
}

static const char* categoryOf(const Event& event) {
  return event.isNative() ? "native" : event.kind == EventKind::call ? "neighbour" : "runtime";
}

void ChromeTrace::writeLine(const Members& members) {
  out << separator << members.object();
  separator = ",\n";
}

void ChromeTrace::write(const Event& event) {
  Members members;
  members.add("name", jsonText(nameOf(event)));
  members.add("cat", jsonText(categoryOf(event)));
  members.add("ph", jsonText("X"));
  members.add("pid", process);
  members.add("tid", thread);
  members.add("ts", microseconds(offset + event.begin));
  members.add("dur", microseconds(event.duration));
  members.add("args", argumentsOf(event));
  writeLine(members);
  for (const Event& inner : event.inner) write(inner);
}

void ChromeTrace::writeName(std::string_view kind, const std::string& name) {
  if (name.empty()) return;
  Members arguments;
  arguments.add("name", jsonText(name));
  Members members;
  members.add("name", jsonText(kind));
  members.add("ph", jsonText("M"));
  members.add("pid", process);
  members.add("tid", thread);
  members.add("args", arguments.object());
  writeLine(members);
}

void ChromeTrace::write(const Trace& trace) {
  offset = trace.startOfDay - start;
  process = trace.process;
  thread = trace.process;
  writeName("process_name", trace.program);
  for (const Thread& each : trace.threads) {
    process = each.process;
    thread = each.id;
    writeName("thread_name", each.name);
    for (const Event& event : each.events) write(event);
  }
}

static std::string notesOf(const std::vector<Trace>& traces) {
  std::vector<std::string> notes;
  for (const Trace& trace : traces) {
    for (const std::string& note : notesOf(trace)) notes.push_back(trace.program + ": " + note);
  }
  Members members;
  members.add("notes", arrayOf(notes, jsonText));
  return members.object();
}

void writeChromeTrace(const std::vector<Trace>& traces, std::ostream& out) {
  std::uint64_t start = std::numeric_limits<std::uint64_t>::max();
  for (const Trace& trace : traces) start = std::min(start, trace.startOfDay);
  ChromeTrace writer(out, start);
  out << "{\"traceEvents\":[";
  for (const Trace& trace : traces) writer.write(trace);
  out << "\n],\"otherData\":" << notesOf(traces) << "}\n";
}

}  // namespace orva::tracing
