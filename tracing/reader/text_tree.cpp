// Each line consists of parts; the parts that come from the program are cut until the line fits.
#include "tracing/reader/text_tree.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

#include "reference_host/language/printable_text.h"
#include "tracing/reader/explanation.h"
#include "tracing/reader/shown_text.h"

namespace orva::tracing {

using language::printable;

constexpr std::size_t step = 2;
/// Deeper calls are not indented further; a number shows their depth.
constexpr std::size_t deepestStep = 12;
/// Texts in a line are never cut shorter than this.
constexpr std::size_t shortestText = 8;
/// If more calls follow each other, as when a native reads a long list, only the first ones and the last one are shown.
constexpr std::ptrdiff_t longestRow = 8;
constexpr int shownOfRow = 3;

namespace {

enum class Colour { plain, native, failure, sentence, faint };

struct Part {
  std::string text;
  Colour colour = Colour::plain;
  bool canBeCut = false;
};

using Parts = std::vector<Part>;

/// The text of a line. If it is too long, the ending of the call moves to its own line.
struct Line {
  Parts head;
  Parts ending;
};

class TreePrinter {
 public:
  TreePrinter(const TreeStyle& styleOfTree, std::ostream& stream) : style(styleOfTree), out(stream) {}

  void printThread(const Thread& thread, const Trace& trace);
  void print(const Event& event, std::size_t depth);
  void printInner(const std::vector<Event>& events, std::size_t depth);
  /// Prints a text, its further lines below its first word.
  void printWrapped(std::string_view text, Colour colour, std::size_t indentation, std::string_view mark = {});

 private:
  void printLine(Line line, const std::string& rightmost, std::size_t indentation);
  void printParts(Parts parts, const std::string& rightmost, std::size_t indentation);
  std::string coloured(const std::string& text, Colour colour) const;

  const TreeStyle& style;
  std::ostream& out;
};

}  // namespace

std::string TreePrinter::coloured(const std::string& text, Colour colour) const {
  if (!style.colours || colour == Colour::plain || text.empty()) return text;
  const char* code = colour == Colour::native     ? "1"
                     : colour == Colour::failure  ? "31"
                     : colour == Colour::sentence ? "33"
                                                  : "2";
  return "\x1B[" + std::string(code) + "m" + text + "\x1B[0m";
}

static std::size_t widthOf(const Parts& parts) {
  std::size_t width = 0;
  for (const Part& part : parts) width += widthOf(part.text);
  return width;
}

static std::string joined(const Parts& parts) {
  std::string text;
  for (const Part& part : parts) text += part.text;
  return text;
}

/// Cuts the longest texts until all parts fit; if that is not enough, cuts the line as a whole.
static void fit(Parts& parts, std::size_t room) {
  std::vector<std::size_t> widths;
  std::size_t fixed = 0;
  for (const Part& part : parts) {
    const std::size_t width = widthOf(part.text);
    if (part.canBeCut) widths.push_back(width);
    if (!part.canBeCut) fixed += width;
  }
  const auto taken = [&](std::size_t longest) {
    std::size_t sum = fixed;
    for (const std::size_t width : widths) sum += std::min(width, longest);
    return sum;
  };
  std::size_t longest = room;
  while (longest > shortestText && taken(longest) > room) --longest;
  for (Part& part : parts) {
    if (part.canBeCut) part.text = cutInMiddle(part.text, longest);
  }
  if (widthOf(parts) > room) parts = {{cutInMiddle(joined(parts), room), parts.front().colour}};
}

void TreePrinter::printParts(Parts parts, const std::string& rightmost, std::size_t indentation) {
  const std::size_t room = style.columns - indentation - (rightmost.empty() ? 0 : step + widthOf(rightmost));
  fit(parts, room);
  out << std::string(indentation, ' ');
  for (const Part& part : parts) out << coloured(part.text, part.colour);
  if (!rightmost.empty()) out << std::string(room - widthOf(parts) + step, ' ') << coloured(rightmost, Colour::faint);
  out << '\n';
}

void TreePrinter::printLine(Line line, const std::string& rightmost, std::size_t indentation) {
  const std::size_t width = widthOf(line.head) + widthOf(line.ending) + 1;
  const bool isLong = indentation + width + step + widthOf(rightmost) > style.columns;
  if (!line.ending.empty() && !isLong) {
    line.head.push_back({" "});
    line.head.insert(line.head.end(), line.ending.begin(), line.ending.end());
  }
  printParts(std::move(line.head), rightmost, indentation);
  if (!line.ending.empty() && isLong) printParts(std::move(line.ending), "", indentation + 2 * step);
}

void TreePrinter::printWrapped(std::string_view text, Colour colour, std::size_t indentation, std::string_view mark) {
  const std::size_t further = indentation + std::max(widthOf(mark), step);
  std::string before = std::string(indentation, ' ') + std::string(mark);
  for (const std::string& line : wrapped(text, style.columns - further)) {
    out << before << coloured(line, colour) << '\n';
    before = std::string(further, ' ');
  }
}

std::string nameOf(const Event& event) {
  switch (event.kind) {
    case EventKind::call: return std::string(descriptionOf(event.call).name);
    case EventKind::scan: return "registry";
    case EventKind::lock: break;
  }
  return event.lock.isAwaited ? "waiting for the type table's lock" : "type table walked";
}

std::string endingOf(const Event& event) {
  if (event.ending == Ending::threw) {
    return "threw " +
           (event.thrown.value_or("").empty() ? "something that is not a C++ exception" : printable(*event.thrown));
  }
  if (event.ending == Ending::jumped) return "was left without returning";
  if (event.ending == Ending::abandoned) return "had not ended when the process ended";
  if (event.ending == Ending::unknown) return "had not ended when the recording stopped";
  const std::optional<Raise> raise = raiseOf(event);
  return raise ? "raised " + printable(raise->exceptionClass) : "";
}

/// How long an event took; of one whose end is not known, how long it took at least.
static std::string durationOf(const Event& event) {
  const char* const sign = event.ending == Ending::open ? "still running after " : event.isEndKnown() ? "" : "≥ ";
  return sign + durationText(event.duration);
}

static void addValues(Parts& parts, const std::vector<Value>& values) {
  const char* separator = "";
  for (const Value& value : values) {
    parts.push_back({separator});
    parts.push_back({valueText(value), Colour::plain, true});
    separator = ", ";
  }
}

static Line lineOfCall(const Event& event) {
  const bool isNative = event.isNative();
  Line line{{{nameOf(event), isNative ? Colour::native : Colour::plain}, {"("}}, {}};
  addValues(line.head, event.arguments);
  line.head.push_back({")"});
  const std::string ending = endingOf(event);
  if (!ending.empty()) {
    line.ending.push_back({ending, Colour::failure});
  } else if (!event.results.empty()) {
    line.ending.push_back({"= "});
    addValues(line.ending, event.results);
    if (isNative && event.results.front().kind == StoredKind::null) line.ending.back().colour = Colour::failure;
  }
  return line;
}

/// How the matches were found: `full name`, or with numbers `1 by full name, 2 by short name`.
static std::string waysOf(const Scan& scan) {
  const std::pair<std::uint32_t, const char*> ways[] = {
      {scan.fullNames, "full name"}, {scan.shortNames, "short name"}, {scan.tails, "tail"}};
  const auto isUsed = [](const auto& way) { return way.first > 0; };
  const bool isSeveral = std::count_if(std::begin(ways), std::end(ways), isUsed) > 1;
  std::string text;
  for (const auto& [count, name] : ways) {
    if (count == 0) continue;
    text += text.empty() ? "" : ", ";
    text += isSeveral ? numberText(count) + " by " + name : name;
  }
  return text;
}

static Line lineOfScan(const Scan& scan) {
  const std::int64_t count = std::int64_t{scan.fullNames} + scan.shortNames + scan.tails;
  std::string head = "registry: " + countText(scan.count, "type", "types");
  if (scan.count > 0 && scan.read < static_cast<std::uint32_t>(scan.count))
    head += ", " + numberText(scan.read) + " read";
  if (count == 0) return {{{head + ", no match"}}, {}};
  Line line{{{head + ", " + countText(count, "match", "matches") + ":"}}, {}};
  const char* separator = "";
  for (const std::string& match : scan.matches) {
    line.ending.push_back({separator});
    line.ending.push_back({printable(match), Colour::plain, true});
    separator = ", ";
  }
  const auto kept = static_cast<std::int64_t>(scan.matches.size());
  line.ending.push_back({(kept < count ? ", … (" : " (") + waysOf(scan) + ")"});
  return line;
}

/// What a thread that has not ended a scan or a lock is doing.
static std::string openNameOf(const Event& event) {
  if (event.kind == EventKind::scan) return "reading the registry";
  return event.lock.isAwaited ? nameOf(event) : "holding the type table's lock";
}

static Line lineOf(const Event& event) {
  if (event.kind == EventKind::call) return lineOfCall(event);
  if (event.ending != Ending::returned) {
    const std::string ending = endingOf(event);
    Line line{{{openNameOf(event)}}, {}};
    if (!ending.empty()) line.ending.push_back({ending, Colour::failure});
    return line;
  }
  if (event.kind == EventKind::scan) return lineOfScan(event.scan);
  const std::uint64_t waited = std::min(event.lock.waited, event.duration);
  std::string text = nameOf(event) + ", lock held " + durationText(event.duration - waited);
  if (waited >= 1000) text += " after a wait of " + durationText(waited);
  return {{{text}}, {}};
}

std::string eventText(const Event& event) {
  const Line line = lineOf(event);
  return joined(line.head) + (line.ending.empty() ? "" : " ") + joined(line.ending);
}

static std::size_t indentationOf(std::size_t depth) { return step * std::min(depth, deepestStep); }

/// Tells whether an event may be left out among many like it, without losing information.
static bool isPlain(const Event& event) {
  return event.kind == EventKind::call && !event.isNative() && event.inner.empty() && event.ending == Ending::returned;
}

using EventIterator = std::vector<Event>::const_iterator;

/// The end of a row of similar events, given its first event.
static EventIterator endOfRow(EventIterator first, EventIterator end) {
  if (!isPlain(*first)) return first + 1;
  return std::find_if(first, end, [&](const Event& event) { return !isPlain(event) || event.call != first->call; });
}

void TreePrinter::printInner(const std::vector<Event>& events, std::size_t depth) {
  for (auto event = events.begin(); event != events.end();) {
    const auto end = endOfRow(event, events.end());
    if (end - event > longestRow) {
      for (int i = 0; i < shownOfRow; ++i) print(*event++, depth);
      const std::string more = "… " + numberText(end - event - 1) + " more of " + nameOf(*event);
      printParts({{more, Colour::faint}}, "", indentationOf(depth));
      event = end - 1;
    }
    while (event != end) print(*event++, depth);
  }
}

void TreePrinter::print(const Event& event, std::size_t depth) {
  const std::size_t indentation = indentationOf(depth);
  Line line = lineOf(event);
  if (depth > deepestStep) line.head.insert(line.head.begin(), {std::to_string(depth) + ": ", Colour::faint});
  const std::string duration = durationOf(event);
  if (event.kind == EventKind::call && event.call == CallId::Orva_raise && event.ending == Ending::returned) {
    printWrapped(joined(line.head), Colour::failure, indentation);
  } else {
    printLine(std::move(line), duration, indentation);
  }
  printInner(event.inner, depth + 1);
  if (!event.isNative()) return;
  const std::string sentence = explanationOf(event);
  if (!sentence.empty()) printWrapped(printable(sentence), Colour::sentence, indentation + step, "→ ");
}

void TreePrinter::printThread(const Thread& thread, const Trace& trace) {
  std::string heading = "thread " + std::to_string(thread.id);
  if (!thread.name.empty()) heading += " '" + printable(thread.name) + "'";
  if (thread.process != trace.process) heading += " of process " + std::to_string(thread.process) + ", forked";
  out << '\n' << coloured(heading, Colour::faint) << '\n';
}

std::vector<std::string> notesOf(const Trace& trace) {
  std::vector<std::string> notes;
  if (trace.stopped == Stopped::limit) notes.emplace_back("the trace ends early: its size limit is reached");
  if (trace.stopped == Stopped::failed) {
    // A damaged file may not hold the reason.
    const std::string reason = trace.error == 0 ? "" : ": " + std::string(std::strerror(trace.error));
    notes.push_back("the trace ends early: its file cannot grow" + reason);
  }
  if (trace.lost > 0) {
    notes.push_back(
        countText(static_cast<std::int64_t>(trace.lost), "event was not finished", "events were not finished"));
  }
  if (trace.damagedFrom > 0) {
    notes.push_back("the trace ends early: its file is damaged from byte " + std::to_string(trace.damagedFrom) + " on");
  }
  if (trace.missed > 0) {
    notes.push_back(countText(trace.missed, "call of a native is not shown", "calls of natives are not shown") +
                    ": signal handlers made them while another was being recorded, or memory was short");
  }
  if (trace.tooDeep > 0) {
    const auto count = static_cast<std::int64_t>(trace.tooDeep);
    notes.push_back(countText(count, "call is not shown: it is", "calls are not shown: they are") +
                    " nested more than " + numberText(deepestNesting) + " deep");
  }
  if (trace.unseen > 0) {
    notes.push_back(countText(trace.unseen, "reference to a traced function, or a further class-loading library, was",
                              "references to traced functions, or further class-loading libraries, were") +
                    " not redirected: calls through " + (trace.unseen == 1 ? "it" : "them") + " are not shown");
  }
  return notes;
}

void printNotes(const Trace& trace, const TreeStyle& style, std::ostream& out) {
  TreePrinter printer(style, out);
  for (const std::string& note : notesOf(trace)) printer.printWrapped(note, Colour::failure, 0);
}

std::string commandOf(const Trace& trace) {
  if (trace.arguments.empty()) return trace.program.empty() ? "" : shellWord(trace.program);
  std::string command;
  for (const std::string& argument : trace.arguments) command += (command.empty() ? "" : " ") + shellWord(argument);
  return command;
}

void printTree(const Trace& trace, const TreeStyle& style, std::ostream& out) {
  TreePrinter printer(style, out);
  const std::string process = "process " + std::to_string(trace.process);
  const std::string command = commandOf(trace);
  printer.printWrapped(command.empty() ? process : process + ": " + command, Colour::plain, 0);
  const auto isShown = [](const Thread& thread) { return !thread.events.empty(); };
  const bool isSeveral = std::count_if(trace.threads.begin(), trace.threads.end(), isShown) > 1;
  for (const Thread& thread : trace.threads) {
    if (thread.events.empty()) continue;
    if (isSeveral) printer.printThread(thread, trace);
    for (const Event& event : thread.events) printer.print(event, 0);
  }
  printNotes(trace, style, out);
}

}  // namespace orva::tracing
