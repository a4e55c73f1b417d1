// Writes the page of tracing/reader/page/ with the traces in it, as JSON that cannot end a script, whatever the names
// contain.
#include "tracing/reader/html_page.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "reference_host/language/printable_text.h"
#include "tracing/reader/explanation.h"
#include "tracing/reader/json_text.h"
#include "tracing/reader/page.h"
#include "tracing/reader/text_tree.h"

namespace orva::tracing {

/// A text as the page shows it.
static std::string shown(const std::string& text) { return jsonText(language::printable(text)); }

namespace {

/// A JSON object or list: writes its beginning, its parts one after another, and its end.
class Json {
 public:
  Json(std::ostream& output, char begin, char end) : output_(output), end_(end) { output_ << begin; }
  ~Json() { output_ << end_; }
  Json(const Json&) = delete;
  Json& operator=(const Json&) = delete;

  std::ostream& element() {
    output_ << separator_;
    separator_ = ",\n";
    return output_;
  }
  std::ostream& member(std::string_view name) { return element() << '"' << name << R"(":)"; }
  void member(std::string_view name, std::uint64_t number) { member(name) << number; }
  void member(std::string_view name, const std::string& text) { member(name) << shown(text); }
  void member(std::string_view name, const std::vector<std::string>& texts) {
    Json list(member(name), '[', ']');
    for (const std::string& text : texts) list.element() << shown(text);
  }

 private:
  std::ostream& output_;
  char end_;
  std::string_view separator_;
};

}  // namespace

/// The kind of an event, by which the page chooses the colour.
static std::string kindOf(const Event& event) {
  if (event.kind == EventKind::call) return event.isNative() ? "native" : "neighbour";
  return event.kind == EventKind::scan ? "scan" : "lock";
}

/// The state of an event, which the page marks beside the line.
static std::string stateOf(const Event& event) {
  if (event.ending == Ending::jumped) return "done";
  if (!event.hasEnded()) return "open";
  if (event.ending == Ending::threw || (event.isNative() && raiseOf(event))) return "raised";
  const bool isNull = event.isNative() && event.result() != nullptr && event.result()->kind == StoredKind::null;
  return isNull ? "null" : "done";
}

/// Writes each event, then those in it.
static void writeEvents(Json& list, const std::vector<Event>& events, std::uint64_t depth) {
  for (const Event& event : events) {
    {
      Json object(list.element(), '{', '}');
      object.member("depth", depth);
      object.member("kind", kindOf(event));
      object.member("state", stateOf(event));
      object.member("name", nameOf(event));
      object.member("line", eventText(event));
      object.member("sentence", event.isNative() ? explanationOf(event) : "");
      object.member("begin", event.begin);
      object.member("duration", event.duration);
    }
    writeEvents(list, event.inner, depth + 1);
  }
}

/// @param firstStart the time of day from which the page counts.
static void writeTrace(std::ostream& output, const Trace& trace, std::uint64_t firstStart) {
  Json object(output, '{', '}');
  object.member("program", trace.program);
  object.member("folder", trace.folder);
  object.member("command", commandOf(trace));
  object.member("process", trace.process);
  object.member("parent", trace.parent);
  object.member("start", trace.startOfDay - firstStart);
  object.member("notes", notesOf(trace));
  Json threads(object.member("threads"), '[', ']');
  for (const Thread& thread : trace.threads) {
    Json inner(threads.element(), '{', '}');
    inner.member("process", thread.process);
    inner.member("id", thread.id);
    inner.member("name", thread.name);
    Json events(inner.member("events"), '[', ']');
    writeEvents(events, thread.events, 0);
  }
}

void writeHtmlPage(const std::vector<Trace>& traces, std::ostream& output) {
  std::uint64_t firstStart = UINT64_MAX;
  for (const Trace& trace : traces) firstStart = std::min(firstStart, trace.startOfDay);
  output << pageBeforeData;
  {
    Json list(output, '[', ']');
    for (const Trace& trace : traces) writeTrace(list.element(), trace, firstStart);
  }
  output << pageAfterData;
}

}  // namespace orva::tracing
