// Adds up the calls of a trace in one walk.
#include "tracing/reader/summary.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <tuple>
#include <unordered_map>
#include <utility>

#include "reference_host/language/printable_text.h"
#include "tracing/reader/shown_text.h"

namespace orva::tracing {

using language::printable;

constexpr std::size_t mostRows = 20;

namespace {

/// Rows by name.
template <typename Row>
class Table {
 public:
  Row& operator[](const std::string& name) {
    const auto [place, isNew] = places.try_emplace(name, rows.size());
    if (isNew) rows.emplace_back().name = name;
    return rows[place->second];
  }

  std::vector<Row> rows;

 private:
  std::unordered_map<std::string, std::size_t> places;
};

/// Shares, and how many calls of each name are open.
class Shares {
 public:
  void begin(const std::string& name) { ++open[name]; }
  void end(const std::string& name, std::uint64_t duration, std::uint64_t self) {
    Share& share = table[name];
    ++share.calls;
    share.self += self;
    if (--open[name] == 0) share.total += duration;
  }
  std::vector<Share> take() {
    std::sort(table.rows.begin(), table.rows.end(),
              [](const Share& a, const Share& b) { return std::tie(b.self, a.name) < std::tie(a.self, b.name); });
    return std::move(table.rows);
  }

 private:
  Table<Share> table;
  std::unordered_map<std::string, std::size_t> open;
};

class Adder {
 public:
  Summary add(const std::vector<Trace>& traces);

 private:
  void add(const Thread& thread);
  void add(const Event& event);
  void addLoad(const Event& event);
  void addInner(const Event& event);
  void addMiss(const Event& native);

  Summary summary;
  Shares natives;
  Shares neighbours;
  Shares sources;
  Table<Miss> misses;
  const Event* native = nullptr;    ///< the innermost one
  std::uint64_t* nested = nullptr;  ///< the time of the loads nested in the load that is being added
};

}  // namespace

static std::uint64_t without(std::uint64_t whole, std::uint64_t part) { return whole > part ? whole - part : 0; }

static bool isLoad(const Event& event) {
  return event.kind == EventKind::call && !event.arguments.empty() &&
         (event.call == CallId::Compiler_ensureSourceLoadedInActiveJit ||
          event.call == CallId::Compiler_ensureObjectBundleLoadedInActiveJit ||
          event.call == CallId::Compiler_precompileSources);
}

static std::string sourceOf(const Event& load) {
  const Value& value = load.arguments.front();
  if (value.kind != StoredKind::count) return value.text;
  if (value.elements.empty()) return "nothing";
  const std::string others = value.number > 1 ? " and " + numberText(value.number - 1) + " more" : "";
  return value.elements.front().text + others;
}

/// The name that a native was asked for; null where it takes none, or the record lacks it.
static const Value* nameGivenTo(const Event& native) {
  const std::size_t name = descriptionOf(native.call).nameParameter();
  return name < native.arguments.size() ? &native.arguments[name] : nullptr;
}

static std::string shortCall(const Event& native) {
  const Value* name = nameGivenTo(native);
  return nameOf(native) + "(" + (name == nullptr ? "" : valueText(*name)) + ")";
}

void Adder::addMiss(const Event& missed) {
  const Value* result = missed.result();
  if (result == nullptr || result->kind != StoredKind::null) return;
  const Value* name = nameGivenTo(missed);
  const bool isNamed = name != nullptr && name->kind == StoredKind::text;
  Miss& miss = misses[isNamed ? valueText(*name) : shortCall(missed)];
  ++miss.calls;
  if (raiseOf(missed)) ++miss.raises;
}

void Adder::addInner(const Event& event) {
  const Event* outer = native;
  if (event.isNative()) native = &event;
  for (const Event& inner : event.inner) add(inner);
  native = outer;
}

void Adder::addLoad(const Event& event) {
  const std::string source = sourceOf(event);
  std::uint64_t nestedHere = 0;
  std::uint64_t* const outer = std::exchange(nested, &nestedHere);
  sources.begin(source);
  addInner(event);
  const std::uint64_t self = without(event.duration, nestedHere);
  sources.end(source, event.duration, self);
  nested = outer;
  if (nested != nullptr) *nested += event.duration;
  summary.loads.push_back({source, native == nullptr ? "" : shortCall(*native), event.duration, self});
}

void Adder::add(const Event& event) {
  Shares& shares = event.isNative() ? natives : neighbours;
  const std::string name = nameOf(event);
  std::uint64_t inner = 0;
  for (const Event& each : event.inner) inner += each.duration;
  shares.begin(name);
  if (isLoad(event)) {
    addLoad(event);
  } else {
    addInner(event);
  }
  shares.end(name, event.duration, without(event.duration, inner));
  if (event.isNative()) addMiss(event);
}

void Adder::add(const Thread& thread) {
  for (const Event& event : thread.events) {
    summary.total += event.duration;
    add(event);
  }
}

Summary Adder::add(const std::vector<Trace>& traces) {
  for (const Trace& trace : traces) {
    for (const Thread& thread : trace.threads) add(thread);
  }
  summary.natives = natives.take();
  summary.neighbours = neighbours.take();
  summary.sources = sources.take();
  summary.misses = std::move(misses.rows);
  std::sort(summary.loads.begin(), summary.loads.end(), [](const Load& a, const Load& b) {
    return std::tie(b.self, a.source, a.neededBy) < std::tie(a.self, b.source, b.neededBy);
  });
  std::sort(summary.misses.begin(), summary.misses.end(),
            [](const Miss& a, const Miss& b) { return std::tie(b.calls, a.name) < std::tie(a.calls, b.name); });
  return std::move(summary);
}

Summary summaryOf(const std::vector<Trace>& traces) { return Adder().add(traces); }

namespace {

/// Prints rows of a name and right-aligned columns.
class Printer {
 public:
  Printer(const TreeStyle& styleOfTables, std::ostream& stream) : style(styleOfTables), out(stream) {}

  void heading(const std::string& name, const std::vector<std::string>& columns) {
    if (!isFirst) out << '\n';
    isFirst = false;
    print(name, columns, style.colours ? "\x1B[1m" : "");
  }
  void row(const std::string& name, const std::vector<std::string>& columns) {
    print("  " + printable(name), columns, "");
  }
  /// Prints the first rows by a function, and how many there are more.
  template <typename Rows, typename Print>
  void rows(const Rows& all, const Print& printRow) {
    for (std::size_t i = 0; i < std::min(all.size(), mostRows); ++i) printRow(all[i]);
    if (all.size() > mostRows)
      out << "  … " << numberText(static_cast<std::int64_t>(all.size() - mostRows)) << " more\n";
  }
  void further(const std::string& text) { out << "    " << cutInMiddle(text, style.columns - 4) << '\n'; }

 private:
  static constexpr std::array<std::size_t, 4> widths = {9, 9, 9, 6};

  void print(const std::string& name, const std::vector<std::string>& columns, const char* colour) {
    std::string right;
    for (std::size_t i = 0; i < columns.size(); ++i) right += rightAligned(columns[i], widths.at(i));
    const std::size_t room = style.columns - widthOf(right);
    out << colour << padded(cutInMiddle(name, room), room) << right;
    out << (*colour == '\0' ? "" : "\x1B[0m") << '\n';
  }

  const TreeStyle& style;
  std::ostream& out;
  bool isFirst = true;
};

}  // namespace

/// A part of a whole: `90 %`.
static std::string percentText(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return "";
  const double share = static_cast<double>(part) / static_cast<double>(whole);
  return std::to_string(std::lround(share * 100)) + " %";
}

static void printShares(Printer& printer, const std::string& heading, const std::vector<Share>& shares,
                        std::uint64_t whole) {
  if (shares.empty()) return;
  printer.heading(heading, {"calls", "total", "self", "share"});
  printer.rows(shares, [&](const Share& share) {
    printer.row(share.name, {numberText(static_cast<std::int64_t>(share.calls)), durationText(share.total),
                             durationText(share.self), percentText(share.self, whole)});
  });
}

static void printLoads(Printer& printer, const std::vector<Load>& loads) {
  if (loads.empty()) return;
  printer.heading("loads by cost", {"total", "self"});
  printer.rows(loads, [&](const Load& load) {
    printer.row(load.source, {durationText(load.total), durationText(load.self)});
    if (!load.neededBy.empty()) printer.further("for " + load.neededBy);
  });
}

static void printMisses(Printer& printer, const std::vector<Miss>& misses) {
  if (misses.empty()) return;
  printer.heading("names that gave no type", {"null", "raised"});
  printer.rows(misses, [&](const Miss& miss) {
    printer.row(miss.name, {numberText(static_cast<std::int64_t>(miss.calls - miss.raises)),
                            numberText(static_cast<std::int64_t>(miss.raises))});
  });
}

void printSummary(const Summary& summary, const TreeStyle& style, std::ostream& out) {
  Printer printer(style, out);
  printShares(printer, "natives", summary.natives, summary.total);
  printShares(printer, "neighbours", summary.neighbours, summary.total);
  printShares(printer, "sources", summary.sources, summary.total);
  printLoads(printer, summary.loads);
  printMisses(printer, summary.misses);
}

}  // namespace orva::tracing
