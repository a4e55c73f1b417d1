// Folds recursion in traces, and makes texts safe to print. Memory may have run out, so everything is written straight
// to standard error.
#include "reference_host/program/report.h"

#include <array>
#include <cstdio>
#include <new>
#include <string>
#include <utility>

#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/call_stack.h"

namespace language = orva::language;
namespace rt = orva::runtime;

/// Writes a text so that it is safe on a terminal. Allocates nothing, because one character fits into the string
/// object.
/// @param kept the control characters that stay as they are.
static void write(std::string_view text, std::string_view kept) {
  while (!text.empty()) {
    const std::string_view character = text.substr(0, language::firstCharacter(text).size);
    const std::string shown = language::printable(character, kept);
    std::fwrite(shown.data(), 1, shown.size(), stderr);
    text.remove_prefix(character.size());
  }
}

/// Writes a message. Indents all lines after the first, so that none looks like a call.
static void writeMessage(std::string_view text) {
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    write(text.substr(0, end), "\t");
    std::fputs("\n    ", stderr);
    text.remove_prefix(end + 1);
  }
  write(text, "\t");
  std::fputc('\n', stderr);
}

/// Writes the beginning of a source line, or the whole line if memory is too short to cut it.
static void writeSourceLine(std::string_view line) {
  std::fputs("  ", stderr);
  try {
    const std::string head = language::excerpt(line, 1).text;
    std::fwrite(head.data(), 1, head.size(), stderr);
  } catch (const std::bad_alloc&) {
    write(line, "\t");
  }
  std::fputc('\n', stderr);
}

namespace {

/// Collects what is written to standard error, and sends it in one piece.
class Message {
 public:
  Message() {
    rt::release(rt::Reserve::report);
    static std::array<char, 4096> buffer;
    std::setvbuf(stderr, buffer.data(), _IOFBF, buffer.size());
  }
  ~Message() { std::fflush(stderr); }
  Message(const Message&) = delete;
  Message& operator=(const Message&) = delete;
};

/// Consecutive places of a trace.
struct Places {
  const rt::Place* begin;
  const rt::Place* end;
};

/// A sequence of places that repeats.
struct Repetition {
  std::ptrdiff_t period = 1;
  std::ptrdiff_t times = 1;
};

/// The repetition at the beginning that covers the most places. Fewer than three times are not worth a line.
Repetition repetitionIn(const Places& places) {
  constexpr std::ptrdiff_t longestPeriod = 32;
  Repetition best;
  for (std::ptrdiff_t period = 1; period <= longestPeriod && period < places.end - places.begin; ++period) {
    const rt::Place* end = places.begin + period;
    while (end != places.end && *end == *(end - period)) ++end;
    const std::ptrdiff_t times = (end - places.begin) / period;
    if (times >= 3 && times * period > best.times * best.period) best = {period, times};
  }
  return best;
}

/// Writes the calls that led to an exception, and its source line below the first.
class CallWriter {
 public:
  explicit CallWriter(const char* sourceLine) : sourceLine_(sourceLine) {}

  void writeAll(Places places) {
    while (places.begin != places.end) {
      const auto [period, times] = repetitionIn(places);
      for (std::ptrdiff_t i = 0; i < period; ++i) writeOne(places.begin[i]);
      if (times > 1) writeRepetition(static_cast<long>(period), static_cast<long>(times - 1));
      places.begin += period * times;
    }
  }

 private:
  static void writeRepetition(long period, long times) {
    if (period == 1) {
      std::fprintf(stderr, "  ... the call above, %ld more times\n", times);
    } else {
      std::fprintf(stderr, "  ... the %ld calls above, %ld more times\n", period, times);
    }
  }

  void writeOne(const rt::Place& place) {
    // C++ made the call.
    if (place.location == nullptr) return;
    std::fputs("  at ", stderr);
    write(place.location->file, {});
    std::fprintf(stderr, ":%lld", static_cast<long long>(place.location->line));
    if (place.method != nullptr) std::fprintf(stderr, " in %s", place.method);
    std::fputc('\n', stderr);
    if (sourceLine_ != nullptr) writeSourceLine(std::exchange(sourceLine_, nullptr));
  }

  const char* sourceLine_;
};

}  // namespace

static void writeTrace(const char* sourceLine, const Places& innermost, std::size_t omitted, const Places& outermost) {
  CallWriter writer(sourceLine);
  writer.writeAll(innermost);
  if (omitted > 0) std::fprintf(stderr, "  ... %zu calls that are not shown\n", omitted);
  writer.writeAll(outermost);
}

static Places placesOf(const std::vector<rt::Place>& places) { return {places.data(), places.data() + places.size()}; }

static void writeTrace(const rt::CallTrace& trace, const char* sourceLine) {
  try {
    const rt::FullTrace full = rt::completeTrace(trace);
    writeTrace(sourceLine, placesOf(full.innermost), full.omitted, placesOf(full.outermost));
  } catch (const std::bad_alloc&) {
    writeTrace(sourceLine, {trace.innermost, trace.innermost + trace.innermostCount}, trace.omitted,
               {trace.outermost, trace.outermost + trace.outermostCount});
  }
}

void reportUncaught(const rt::Exception& exception) {
  const Message message;
  write(exception.className, {});
  std::fputs(": ", stderr);
  writeMessage(exception.message);
  if (exception.trace != nullptr && exception.location != nullptr) {
    writeTrace(*exception.trace, exception.location->text);
  } else if (exception.location != nullptr) {
    const rt::Place place{exception.location, nullptr};
    writeTrace(exception.location->text, {&place, &place + 1}, 0, {});
  }
}

void reportFailure(std::string_view text) {
  const Message message;
  write(text, "\n\t");
  std::fputc('\n', stderr);
}
