// Tests the reader on complete files, on files of processes that were killed, and on files that no recorder wrote.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>
#include <sstream>
#include <stdexcept>

#include "tests/tracing/reader/traces.h"
#include "tracing/reader/chrome_trace.h"
#include "tracing/reader/filters.h"
#include "tracing/reader/summary.h"
#include "tracing/reader/text_tree.h"

namespace orva::tracing {

/// Calls, scans and locks with their nesting: `getTypeByName(typeByName)`.
static std::string shapeOf(const std::vector<Event>& events) {
  std::string shape;
  for (const Event& event : events) {
    if (!shape.empty()) shape += ' ';
    shape += event.kind == EventKind::scan   ? "scan"
             : event.kind == EventKind::lock ? "lock"
                                             : std::string(descriptionOf(event.call).name);
    if (!event.hasEnded()) shape += '?';
    if (event.ending == Ending::jumped) shape += '!';
    if (!event.inner.empty()) shape += "[" + shapeOf(event.inner) + "]";
  }
  return shape;
}

static std::string shapeOf(const EventWriter& writer) {
  const Trace trace = traceOf(writer);
  return trace.threads.empty() ? "" : shapeOf(trace.threads.front().events);
}

TEST(Reader, KeepsWhatTheHeaderSays) {
  EventWriter writer(12, 11);
  writer.header(offsetof(FileHeader, unseen), std::uint32_t{3});
  writer.header(offsetof(FileHeader, missed), std::uint32_t{5});
  writer.header(offsetof(FileHeader, stopped), static_cast<std::uint32_t>(Stopped::failed));
  writer.header(offsetof(FileHeader, error), std::uint32_t{28});
  writer.program({"/bin/shop", "/home/ada", "shop", "--all"});
  const Trace trace = traceOf(writer);
  EXPECT_EQ(trace.process, 12U);
  EXPECT_EQ(trace.parent, 11U);
  EXPECT_EQ(trace.unseen, 3U);
  EXPECT_EQ(trace.missed, 5U);
  EXPECT_EQ(trace.stopped, Stopped::failed);
  EXPECT_EQ(trace.error, 28);
  EXPECT_EQ(trace.attached, Attached::audit);
  EXPECT_EQ(trace.startOfDay, 1'700'000'000'000'000'000U);
  EXPECT_EQ(trace.program, "/bin/shop");
  EXPECT_EQ(trace.folder, "/home/ada");
  EXPECT_EQ(trace.arguments, (std::vector<std::string>{"shop", "--all"}));
  EXPECT_EQ(trace.lost, 0U);
}

TEST(Reader, NestsCallsAndKeepsTheirTimes) {
  EventWriter writer;
  writer.at(100).begin(getTypeByName, 0, Payload().text("Cart"));
  writer.at(150).scan(1, {40, 5001, 5001, 0, 0, 0, 0}, "Cart");
  writer.at(200).begin(loadSource, 1, Payload().text("/s/Cart.ov"));
  writer.at(300).begin(getTypeByName, 2, Payload().text("Item"));
  writer.at(400).returned(getTypeByName, 2, Payload().pointer(7));
  writer.at(500).returned(loadSource, 1);
  writer.at(700).returned(getTypeByName, 0, Payload().null());
  writer.at(800).begin(loadClass, 0).at(801).returned(loadClass, 0);
  const Trace trace = traceOf(writer);
  ASSERT_EQ(trace.threads.size(), 1U);
  EXPECT_EQ(shapeOf(trace.threads[0].events),
            "ClassLoader.getTypeByName[scan Compiler::ensureSourceLoadedInActiveJit[ClassLoader.getTypeByName]] "
            "SystemClassLoader.loadClass");
  const Event& native = trace.threads[0].events[0];
  EXPECT_EQ(native.begin, 100U);
  EXPECT_EQ(native.duration, 600U);
  EXPECT_EQ(native.ending, Ending::returned);
  ASSERT_NE(native.result(), nullptr);
  EXPECT_EQ(native.result()->kind, StoredKind::null);
  EXPECT_EQ(native.arguments.at(0).text, "Cart");
  EXPECT_EQ(native.inner[0].begin, 150U);
  EXPECT_EQ(native.inner[0].duration, 40U);
  EXPECT_EQ(native.inner[1].duration, 300U);
  EXPECT_EQ(native.inner[1].result(), nullptr);
  EXPECT_EQ(native.inner[1].inner[0].result()->number, 7);
}

TEST(Reader, ReadsReturnsThatAreInFirstRecords) {
  EventWriter writer;
  writer.at(100).complete(getTypeByName, 0, 900, Payload().pointer(9), Payload().text("Cart"));
  writer.at(200).complete(loadSource, 1, 300, {}, Payload().text("/s/Cart.ov"));
  writer.at(300).complete(getTypeByName, 2, 50, Payload().null(), Payload().text("Item"));
  writer.at(600).complete(loadClass, 1, 20, Payload().integer(-7));
  writer.at(700).complete(loadClass, 1, 20, Payload().null().null());
  const Trace trace = traceOf(writer);
  const std::vector<Event>& events = trace.threads.at(0).events;
  EXPECT_EQ(shapeOf(events),
            "ClassLoader.getTypeByName[Compiler::ensureSourceLoadedInActiveJit[ClassLoader.getTypeByName] "
            "SystemClassLoader.loadClass SystemClassLoader.loadClass]");
  const Event& native = events.at(0);
  EXPECT_EQ(native.duration, 900U);
  EXPECT_EQ(native.ending, Ending::returned);
  EXPECT_EQ(native.arguments.at(0).text, "Cart");
  EXPECT_EQ(native.result()->number, 9);
  EXPECT_EQ(native.inner[0].duration, 300U);
  EXPECT_EQ(native.inner[0].result(), nullptr);
  EXPECT_EQ(native.inner[0].arguments.at(0).text, "/s/Cart.ov");
  ASSERT_EQ(native.inner[0].inner[0].results.size(), 1U);
  EXPECT_EQ(native.inner[0].inner[0].result()->kind, StoredKind::null);
  EXPECT_EQ(native.inner[1].result()->number, -7);
  EXPECT_EQ(native.inner[2].results.size(), 2U);
}

/// A call may have ended after the last record, so other calls of its process lasted at least until then.
TEST(Reader, CountsEndsOfCallsAsTimesOfTheProcess) {
  EventWriter writer;
  writer.in(1).at(100).begin(getTypeByName, 0);
  writer.in(2).at(200).complete(loadClass, 0, 500);
  const Trace trace = traceOf(writer);
  EXPECT_EQ(trace.threads.at(0).events.at(0).ending, Ending::abandoned);
  EXPECT_EQ(trace.threads.at(0).events.at(0).duration, 600U);
}

/// A lock that failed is still open when the call around it returns.
TEST(Reader, AbandonsWhatIsOpenInCallsThatReturned) {
  EventWriter writer;
  writer.at(100).begin(getTypeByName, 0).at(110).complete(loadSource, 1, 500);
  writer.at(150).lock(2, notYet, notYet).at(160).begin(loadClass, 2);
  EXPECT_EQ(shapeOf(writer),
            "ClassLoader.getTypeByName?[Compiler::ensureSourceLoadedInActiveJit"
            "[SystemClassLoader.loadClass!]]");
}

/// The last events of a call may not be in the part of the file that was read.
TEST(Reader, ShowsCallsThatReturnedWhileTheFileWasReadAsRunning) {
  EventWriter writer;
  writer.at(100).complete(getTypeByName, 0, 900, Payload().pointer(9)).at(150).scanBegins(1);
  const Event native = traceOf(writer, {EventWriter::startTime + 500, {4711}}).threads.at(0).events.at(0);
  EXPECT_EQ(native.ending, Ending::open);
  EXPECT_EQ(native.result(), nullptr);
  EXPECT_EQ(native.inner.size(), 1U);
  EXPECT_EQ(traceOf(writer, {EventWriter::startTime + 1000, {4711}}).threads.at(0).events.at(0).ending,
            Ending::returned);
}

/// A running scan is shown until the record of its end replaces it.
TEST(Reader, ReplacesARunningScanByItsEnd) {
  EventWriter writer;
  writer.at(100).begin(getTypeByName, 0).at(150).scanBegins(1);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?[scan?]");
  writer.at(150).scan(1, {40, 5001, 5001, 0, 0, 0, 0}, "Cart");
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?[scan]");
}

/// If reading the registry failed or was abandoned, the following events show it.
TEST(Reader, DropsAScanWithoutAnEnd) {
  EventWriter writer;
  writer.at(100).complete(getTypeByName, 0, 900).at(150).scanBegins(1);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName");
}

TEST(Reader, ReadsLocksThatAreAwaitedOrHeld) {
  EventWriter writer;
  writer.begin(getTypeByName, 0);
  for (const std::uint64_t waited : {notYet, std::uint64_t{30}}) {
    EventWriter atLock = writer;
    atLock.at(10).lock(1, waited, notYet);
    EXPECT_EQ(shapeOf(atLock), "ClassLoader.getTypeByName?[lock?]");
    const Trace trace = traceOf(atLock, {EventWriter::startTime + 110, {4711}});
    const Event& lock = trace.threads.at(0).events.at(0).inner.at(0);
    EXPECT_EQ(lock.duration, 100U);
    EXPECT_EQ(lock.lock.waited, waited == notYet ? 100U : 30U);
    EXPECT_EQ(lock.lock.isAwaited, waited == notYet);
    // A lock that failed is not shown, whether the native continues or ends.
    EXPECT_EQ(shapeOf(EventWriter(atLock).begin(loadClass, 1)),
              "ClassLoader.getTypeByName?[SystemClassLoader.loadClass?]");
    EXPECT_EQ(shapeOf(EventWriter(atLock).returned(getTypeByName, 0)), "ClassLoader.getTypeByName");
  }
}

TEST(Reader, ReadsWhatWasThrown) {
  const auto thrown = [](const Payload& type) {
    EventWriter writer;
    writer.begin(loadSource, 0).at(9).threw(loadSource, 0, type);
    const Trace trace = traceOf(writer);
    const Event& event = trace.threads.at(0).events.at(0);
    EXPECT_EQ(event.ending, Ending::threw);
    EXPECT_EQ(event.duration, 9U);
    return event.thrown.value_or("nothing");
  };
  EXPECT_EQ(thrown(Payload().typeName("St13runtime_error")), "std::runtime_error");
  EXPECT_EQ(thrown(Payload().typeName("i")), "int");
  EXPECT_EQ(thrown(Payload().typeName("*N4shop5ErrorE")), "shop::Error");
  EXPECT_EQ(thrown(Payload().typeName("NSt3__112system_errorE")), "std::system_error");
  EXPECT_EQ(thrown(Payload().typeName("no name")), "no name");
  EXPECT_EQ(thrown(Payload()), "");
}

TEST(Reader, KeepsThreadsApart) {
  EventWriter writer;
  writer.in(1).threadNamed("main", 4711, 4711).begin(getTypeByName, 0);
  writer.in(2).threadNamed("worker", 4712, 4720).begin(loadClass, 0);
  writer.in(1).at(5).returned(getTypeByName, 0);
  writer.in(2).at(6).returned(loadClass, 0);
  const Trace trace = traceOf(writer);
  ASSERT_EQ(trace.threads.size(), 2U);
  EXPECT_EQ(trace.threads[0].name, "main");
  EXPECT_EQ(shapeOf(trace.threads[0].events), "ClassLoader.getTypeByName");
  EXPECT_EQ(trace.threads[1].name, "worker");
  EXPECT_EQ(trace.threads[1].process, 4712U);
  EXPECT_EQ(trace.threads[1].id, 4720U);
  EXPECT_EQ(shapeOf(trace.threads[1].events), "SystemClassLoader.loadClass");
}

TEST(Reader, UsesTheProcessOfTheHeaderForThreadsWithoutARecord) {
  EXPECT_EQ(traceOf(EventWriter(12, 11).begin(loadClass, 0)).threads.at(0).process, 12U);
}

/// How long the first call of each thread lasted, and how it ended.
static std::vector<std::pair<std::uint64_t, Ending>> endsOf(const Trace& trace) {
  std::vector<std::pair<std::uint64_t, Ending>> ends;
  for (const Thread& thread : trace.threads) {
    ends.emplace_back(thread.events.at(0).duration, thread.events.at(0).ending);
  }
  return ends;
}

TEST(Reader, LetsOpenCallsLastUntilNowOrUntilTheLastEventOfTheirProcess) {
  constexpr std::uint32_t parent = 4711;
  constexpr std::uint32_t child = 4712;
  EventWriter writer(parent);
  writer.threadNamed("", parent, parent).at(100).begin(getTypeByName, 0).at(200).begin(loadSource, 1);
  writer.in(2).threadNamed("", child, child).at(300).begin(getTypeByName, 0).at(450).begin(loadSource, 1);
  const std::uint64_t now = EventWriter::startTime + 1100;
  using Ends = std::vector<std::pair<std::uint64_t, Ending>>;
  EXPECT_EQ(endsOf(traceOf(writer)), (Ends{{100, Ending::abandoned}, {150, Ending::abandoned}}));
  EXPECT_EQ(endsOf(traceOf(writer, {now, {parent}})), (Ends{{1000, Ending::open}, {150, Ending::abandoned}}));
  EXPECT_EQ(endsOf(traceOf(writer, {now, {child}})), (Ends{{100, Ending::abandoned}, {800, Ending::open}}));
  EXPECT_EQ(traceOf(writer, {now, {parent}}).threads[0].events[0].inner[0].duration, 900U);
  writer.header(offsetof(FileHeader, stopped), static_cast<std::uint32_t>(Stopped::limit));
  EXPECT_EQ(endsOf(traceOf(writer, {now, {parent}})), (Ends{{100, Ending::unknown}, {150, Ending::unknown}}));
}

TEST(Reader, LetsNoTimeBeNegativeOrOverflow) {
  EventWriter writer;
  writer.at(0 - std::uint64_t{1000}).begin(loadSource, 0).at(900).returned(loadSource, 0);
  writer.begin(loadSource, 0).at(100).returned(loadSource, 0);
  writer.lock(0, notYet - 1, 5);
  const Trace trace = traceOf(writer);
  const std::vector<Event>& events = trace.threads.at(0).events;
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[0].begin, 0U);
  EXPECT_EQ(events[0].duration, 900U);
  EXPECT_EQ(events[1].duration, 0U);
  EXPECT_EQ(events[2].duration, notYet);
}

TEST(Reader, DropsEndsWithoutABeginning) {
  EventWriter writer;
  writer.returned(loadSource, 1).threw(getTypeByName, 0);
  EXPECT_EQ(shapeOf(writer), "");
  // Ends of another call at the same depth, and of the same call at another depth.
  writer.begin(getTypeByName, 0).returned(loadClass, 0).returned(getTypeByName, 1);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?");
  writer.returned(getTypeByName, 0);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName");
}

TEST(Reader, TreatsCallsWithoutAnEndAsAbandoned) {
  EventWriter writer;
  writer.begin(getTypeByName, 0).begin(loadSource, 1).begin(loadClass, 2).at(7).returned(getTypeByName, 0);
  EXPECT_EQ(shapeOf(writer),
            "ClassLoader.getTypeByName[Compiler::ensureSourceLoadedInActiveJit![SystemClassLoader.loadClass!]]");
  writer.begin(loadClass, 0).begin(loadClass, 0).jumped(loadClass, 0);
  EXPECT_EQ(shapeOf(writer).substr(97), " SystemClassLoader.loadClass! SystemClassLoader.loadClass!");
}

TEST(Reader, NestsACallWithoutItsCallerWhereItCan) {
  EventWriter writer;
  writer.begin(loadSource, 3)
      .begin(getTypeByName, 4)
      .scan(7, {}, "")
      .returned(getTypeByName, 4)
      .returned(loadSource, 3);
  EXPECT_EQ(shapeOf(writer), "Compiler::ensureSourceLoadedInActiveJit[ClassLoader.getTypeByName[scan]]");
}

TEST(Reader, SkipsWhatWasNotFinished) {
  EventWriter writer;
  writer.begin(getTypeByName, 0).unwritten(40).begin(loadSource, 1);
  writer.record(RecordKind::unfinished, loadClass, 2, Payload().text("half"));
  writer.returned(loadSource, 1).returned(getTypeByName, 0);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName[Compiler::ensureSourceLoadedInActiveJit]");
  EXPECT_EQ(traceOf(writer).lost, 2U);
  writer.unwritten(32);
  EXPECT_EQ(traceOf(writer).lost, 3U);
}

TEST(Reader, DoesNotCountWhatWasClaimedBeyondTheLimitAsLost) {
  EventWriter writer;
  writer.begin(getTypeByName, 0).unwritten(64);
  writer.header(offsetof(FileHeader, end), std::uint64_t{1} << 40);
  writer.header(offsetof(FileHeader, stopped), static_cast<std::uint32_t>(Stopped::limit));
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?");
  EXPECT_EQ(traceOf(writer).lost, 0U);
}

TEST(Reader, ReadsOnlyUpToTheEnd) {
  EventWriter writer;
  writer.begin(getTypeByName, 0);
  const std::uint64_t end = writer.bytes.size();
  writer.begin(loadClass, 0);
  writer.header(offsetof(FileHeader, end), end);
  EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?");
  EXPECT_EQ(traceOf(writer).lost, 0U);
}

TEST(Reader, ReadsATruncatedFileAsFarAsItGoes) {
  EventWriter writer;
  writer.begin(getTypeByName, 0, Payload().text("Cart"));
  const std::size_t first = writer.bytes.size();
  writer.begin(loadSource, 1, Payload().text("/s/Cart.ov"));
  const std::string whole = writer.bytes;
  writer.bytes.resize(first);
  writer.header(offsetof(FileHeader, reserved), std::uint64_t{whole.size()});
  EXPECT_EQ(traceOf(writer).damagedFrom, first);
  for (std::size_t size = first + 1; size < whole.size(); ++size) {
    writer.bytes = whole.substr(0, size);
    EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?") << size;
    // The file of a running program may have grown since its size was read.
    EXPECT_EQ(traceOf(writer).lost, 1U) << size;
    EXPECT_EQ(traceOf(writer).damagedFrom, 0U) << size;
    writer.header(offsetof(FileHeader, reserved), std::uint64_t{whole.size()});
    EXPECT_EQ(traceOf(writer).lost, 0U) << size;
    EXPECT_EQ(traceOf(writer).damagedFrom, first) << size;
  }
}

TEST(Reader, StopsAtAnInvalidSize) {
  for (const std::uint32_t size : {8U, 23U, 28U, 0xFFFFFFF8U}) {
    EventWriter writer;
    writer.begin(getTypeByName, 0);
    const std::size_t torn = writer.bytes.size();
    writer.begin(loadClass, 0).begin(loadClass, 0);
    std::memcpy(writer.bytes.data() + torn, &size, sizeof size);
    EXPECT_EQ(shapeOf(writer), "ClassLoader.getTypeByName?") << size;
    EXPECT_EQ(traceOf(writer).damagedFrom, torn) << size;
    EXPECT_EQ(traceOf(writer).lost, 0U) << size;
  }
}

TEST(Reader, IgnoresCallsAndKindsThatItDoesNotKnow) {
  EventWriter writer;
  writer.begin(CallId::count, 0).begin(static_cast<CallId>(0xFFFF), 0);
  writer.record(static_cast<RecordKind>(99), loadClass, 0, {}).begin(loadClass, 0);
  EXPECT_EQ(shapeOf(writer), "SystemClassLoader.loadClass?");
  EXPECT_EQ(traceOf(writer).lost, 1U);
}

TEST(Reader, KeepsValuesBeforeAnInvalidOne) {
  const auto valuesBefore = [](const StoredValue& bad) {
    EventWriter writer;
    writer.begin(getTypeByName, 0, Payload().text("kept").raw(bad).raw(std::uint64_t{0}).text("beyond"));
    return traceOf(writer).threads.at(0).events.at(0).arguments.size();
  };
  EXPECT_EQ(valuesBefore({StoredKind::integer, 0, 0, 8}), 3U);
  EXPECT_EQ(valuesBefore({StoredKind::integer, 0, 0, 4}), 1U);
  EXPECT_EQ(valuesBefore({static_cast<StoredKind>(99), 0, 0, 8}), 1U);
  EXPECT_EQ(valuesBefore({StoredKind::text, 0, 0, 0xFFFFFFFF}), 1U);
}

TEST(Reader, KeepsOnlyTextsInAList) {
  EventWriter writer;
  Payload list = Payload().list(9, {"a", "b"});
  const std::uint16_t three = 3;
  std::memcpy(list.bytes.data() + offsetof(StoredValue, elements), &three, sizeof three);
  writer.begin(getTypeByName, 0, list.integer(7).text("c"));
  const Trace trace = traceOf(writer);
  const std::vector<Value>& values = trace.threads.at(0).events.at(0).arguments;
  ASSERT_EQ(values.size(), 3U);
  EXPECT_EQ(values[0].elements.size(), 2U);
  EXPECT_EQ(values[1].number, 7);
  EXPECT_EQ(values[2].text, "c");
}

TEST(Reader, RefusesWhatIsNotAFileOfEvents) {
  const auto refusal = [](const std::string& path) -> std::string {
    try {
      readTrace(path);
    } catch (const std::runtime_error& error) {
      return error.what();
    }
    return "accepted";
  };
  const std::string path = temporaryPath();
  EXPECT_EQ(refusal("/dev/zero"), "'/dev/zero' is not a file of events");
  ASSERT_EQ(mkfifo(path.c_str(), S_IRWXU), 0);
  EXPECT_EQ(refusal(path), "'" + path + "' is not a file of events");
  std::filesystem::remove(path);
  EXPECT_EQ(refusal(path + ".none"), "cannot read '" + path + ".none': No such file or directory");
  EXPECT_EQ(refusal("/dev/null/none"), "cannot read '/dev/null/none': Not a directory");
  EXPECT_EQ(refusal("/"), "'/' is not a file of events");
  const std::string none = "'" + path + "' is not a file of events";
  const std::string nothing =
      "nothing is recorded in '" + path + "': its process had no room for it on the disk or in memory, or ended first";
  EventWriter writer;
  const std::string header = writer.bytes;
  for (std::size_t size = 0; size < header.size(); ++size) {
    writer.bytes = header.substr(0, size);
    EXPECT_EQ(refusal(writer.save(path)), size == 0 ? nothing : none) << size;
    writer.bytes.assign(size, '\0');
    EXPECT_EQ(refusal(writer.save(path)), nothing) << size;
  }
  writer.bytes = header;
  EXPECT_EQ(refusal(writer.save(path)), "accepted");
  for (const std::uint32_t size : {0U, 8U, static_cast<std::uint32_t>(sizeof(FileHeader)) + 1}) {
    writer.header(offsetof(FileHeader, headerSize), size);
    EXPECT_EQ(refusal(writer.save(path)), none) << size;
  }
  writer.bytes = header;
  writer.header(offsetof(FileHeader, version), fileVersion + 1);
  EXPECT_EQ(refusal(writer.save(path)),
            "'" + path + "' has version 3 of the events, not 2: use the orva-trace that recorded it");
}

/// Nested calls, the innermost of which reads the registry.
static Trace nested(std::uint16_t count) {
  EventWriter writer;
  for (std::uint16_t depth = 0; depth < count; ++depth) writer.begin(loadClass, depth, Payload().null().text("Cart"));
  writer.scan(count, {0, 9, 9, 0, 1, 0, 1}, "key");
  for (std::uint16_t depth = count; depth > 0; --depth) writer.returned(loadClass, depth - 1, Payload().null());
  return traceOf(writer);
}

TEST(Reader, NestsNoDeeperThanARecursionMayGo) {
  const Trace trace = nested(0xFFFF);
  std::size_t deepest = 0;
  std::size_t count = 0;
  const std::function<void(const std::vector<Event>&, std::size_t)> visit = [&](const auto& events, std::size_t depth) {
    deepest = std::max(deepest, depth);
    count += events.size();
    for (const Event& event : events) visit(event.inner, depth + 1);
  };
  visit(trace.threads.at(0).events, 0);
  EXPECT_EQ(deepest, 1001U);
  EXPECT_EQ(count, 1001U);
  EXPECT_EQ(trace.tooDeep, 0x10000U - 1001U);
}

TEST(Reader, CountsWhatIsNestedTooDeepOnEachThread) {
  EXPECT_EQ(nested(1000).tooDeep, 0U);
  EXPECT_EQ(nested(1001).tooDeep, 1U);
  EventWriter writer;
  for (const std::uint32_t thread : {1U, 2U}) {
    for (std::uint16_t depth = 0; depth < 1003; ++depth) writer.in(thread).begin(loadSource, depth);
  }
  EXPECT_EQ(traceOf(writer).tooDeep, 4U);
}

TEST(Reader, SaysHowManyCallsAreNestedTooDeep) {
  EXPECT_EQ(notesOf(nested(0xFFFF)),
            std::vector<std::string>{"64,535 calls are not shown: they are nested more than 1,000 deep"});
  EXPECT_EQ(notesOf(nested(1001)), std::vector<std::string>{"1 call is not shown: it is nested more than 1,000 deep"});
}

TEST(Reader, KnowsTheLastRaiseThatANativeMadeItself) {
  EventWriter writer;
  const auto raise = [&](std::uint16_t depth, const std::string& text) {
    writer.begin(CallId::Orva_raise, depth, Payload().text("Exception").text(text)).returned(CallId::Orva_raise, depth);
  };
  writer.begin(getTypeByName, 0);
  writer.begin(loadSource, 1).begin(loadClass, 2);
  raise(3, "nested");
  writer.returned(loadClass, 2).returned(loadSource, 1);
  EXPECT_FALSE(raiseOf(traceOf(writer).threads[0].events[0]));
  raise(1, "first");
  raise(1, "last");
  const std::optional<Raise> last = raiseOf(traceOf(writer).threads[0].events[0]);
  ASSERT_TRUE(last);
  EXPECT_EQ(last->exceptionClass, "Exception");
  EXPECT_EQ(last->message, "last");
  writer.begin(CallId::Orva_raise, 1, Payload().null());
  EXPECT_EQ(raiseOf(traceOf(writer).threads[0].events[0])->message, "");
}

/// Runs everything that reads a trace on a file that no recorder wrote.
static void readAndPrint(const EventWriter& writer) {
  try {
    Trace trace = traceOf(writer);
    std::ostringstream out;
    printTree(trace, {}, out);
    printSummary(summaryOf({trace}), {}, out);
    writeChromeTrace({trace}, out);
    keepMatching(trace, {{loadClass}, "Cart", 1});
  } catch (const std::runtime_error&) {
    // Refused.
  }
}

TEST(Reader, SurvivesAnyBytes) {
  const EventWriter valid = everyKindOfRecord();
  std::mt19937 random(1);
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  for (int round = 0; round < 3000; ++round) {
    EventWriter writer = valid;
    const std::size_t first = round % 4 == 0 ? 0 : sizeof(FileHeader);
    for (std::size_t changes = 1 + below(12); changes > 0; --changes) {
      const std::size_t at = first + below(writer.bytes.size() - first);
      // Small numbers and extreme ones are more interesting as sizes, kinds and depths.
      const std::size_t byte = below(3) == 0 ? below(256) : below(2) == 0 ? below(16) : 255;
      writer.bytes[at] = static_cast<char>(byte);
    }
    if (round % 5 == 0) writer.bytes.resize(below(writer.bytes.size()));
    readAndPrint(writer);
  }
}

}  // namespace orva::tracing
