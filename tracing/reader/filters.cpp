// One walk finds both what a call mentions and whether to keep it, because both depend on the calls nested in it.
#include "tracing/reader/filters.h"

#include <algorithm>

namespace orva::tracing {

static bool isNamed(const CallDescription& call, std::string_view name) {
  return name == call.name || name == call.symbol || name == call.name.substr(call.name.find('.') + 1);
}

std::vector<CallId> nativesNamed(std::string_view name) {
  std::vector<CallId> named;
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i].isNative && isNamed(calls[i], name)) named.push_back(static_cast<CallId>(i));
  }
  return named;
}

static bool mentions(const std::vector<Value>& values, const std::string& text) {
  return std::any_of(values.begin(), values.end(), [&](const Value& value) {
    return value.text.find(text) != std::string::npos || mentions(value.elements, text);
  });
}

/// Tells whether an event itself mentions a text, whatever is in it.
static bool mentions(const Event& event, const std::string& text) {
  const auto isIn = [&](std::string_view name) { return name.find(text) != std::string_view::npos; };
  if (event.kind == EventKind::scan) {
    return isIn(event.scan.key) || std::any_of(event.scan.matches.begin(), event.scan.matches.end(), isIn);
  }
  if (event.kind == EventKind::lock) return isIn("");
  return isIn(descriptionOf(event.call).name) || mentions(event.arguments, text) || mentions(event.results, text) ||
         isIn(event.thrown.value_or(""));
}

namespace {

/// What an event and its nested events contain.
struct Found {
  bool text;
  bool native;  ///< one that matches
};

}  // namespace

static Found look(const Event& event, const Filter& filter) {
  Found found{mentions(event, filter.text), false};
  for (const Event& inner : event.inner) {
    const Found deeper = look(inner, filter);
    found.text = found.text || deeper.text;
    found.native = found.native || deeper.native;
  }
  const auto& natives = filter.natives;
  const bool isAskedFor = natives.empty() || std::find(natives.begin(), natives.end(), event.call) != natives.end();
  const bool mayBeSlow = event.duration >= filter.leastDuration || !event.hasEnded();
  if (event.isNative() && isAskedFor && found.text && mayBeSlow) found.native = true;
  return found;
}

void keepMatching(Trace& trace, const Filter& filter) {
  if (filter.natives.empty() && filter.text.empty() && filter.leastDuration == 0) return;
  for (Thread& thread : trace.threads) {
    const auto isOther = [&](const Event& event) { return !look(event, filter).native; };
    thread.events.erase(std::remove_if(thread.events.begin(), thread.events.end(), isOther), thread.events.end());
  }
}

}  // namespace orva::tracing
