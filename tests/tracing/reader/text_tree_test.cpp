// Tests the text that people read.
#include "tracing/reader/text_tree.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sstream>

#include "tests/tracing/reader/traces.h"
#include "tracing/reader/shown_text.h"

namespace orva::tracing {

static std::string treeOf(const EventWriter& writer, const TreeStyle& style = {}, const Writers& writers = {}) {
  std::ostringstream out;
  printTree(traceOf(writer, writers), style, out);
  return out.str();
}

/// The tree without its first line, which names the process.
static std::string callsOf(const EventWriter& writer, const TreeStyle& style = {}, const Writers& writers = {}) {
  const std::string tree = treeOf(writer, style, writers);
  return tree.substr(tree.find('\n') + 1);
}

static std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

/// The lines up to the column of durations.
static std::string withoutDurations(const std::string& text) {
  std::string left;
  for (const std::string& line : linesOf(text)) {
    const std::size_t begin = line.find_first_not_of(' ');
    left += line.substr(0, line.find("  ", begin)) + '\n';
  }
  return left;
}

static std::string withoutColours(std::string text) {
  for (std::size_t at = text.find('\x1B'); at != std::string::npos; at = text.find('\x1B')) {
    text.erase(at, text.find('m', at) + 1 - at);
  }
  return text;
}

TEST(TextTree, ShowsEveryKindOfEvent) {
  EXPECT_EQ(treeOf(everyKindOfRecord()), R"(process 4711: shop --all

thread 4711 'main'
ClassLoader.getTypeByName("Box<Cart>") raised Exception                   9.6 ms
  type table walked, lock held 1.2 ms                                     1.2 ms
  ClassLoader::materializeRuntimeGenericType("Box<Cart>", 0x55d0)       100.0 µs
      = true, "Box$Cart", "/shop/Box.ov"
  Compiler::ensureSourceLoadedInActiveJit("/shop/Box.ov", null)           7.5 ms
      threw std::runtime_error
    SystemClassLoader.loadClass(0x10, "Cart")                            50.0 µs
        was left without returning
  registry: 5,001 types, 2 matches:                                      60.0 µs
      shop.Cart, toy.Cart (1 by short name, 1 by tail)
  Compiler::ensureObjectBundleLoadedInActiveJit(["a.o"… more], ["1f"])  100.0 µs
  Orva_raise("Exception", "no…")
  → raised: here is why

thread 4712 'worker' of process 4712, forked
Reflection_getTypeCount() = -1                                          100.0 µs
ClassLoader.getSystem() had not ended when the process ended              ≥ 0 ns
)");
}

TEST(TextTree, QuotesTheArgumentsOfTheProcess) {
  EXPECT_EQ(treeOf(EventWriter().program({"/bin/shop", "/", "./my shop", "", "a b"})),
            "process 4711: './my shop' '' 'a b'\n");
  EXPECT_EQ(treeOf(EventWriter().program({"/my/shop keeper", "/"})), "process 4711: '/my/shop keeper'\n");
}

TEST(TextTree, NamesThreadsOnlyWhenSeveralHaveCalls) {
  EventWriter writer;
  writer.in(1).threadNamed("main", 4711, 4711).begin(loadClass, 0).returned(loadClass, 0, Payload().pointer(16));
  writer.in(2).threadNamed("idle", 4711, 4712);
  EXPECT_EQ(treeOf(writer), "process 4711\n" + padded("SystemClassLoader.loadClass() = 0x10", 76) + "0 ns\n");
  writer.in(3).begin(loadClass, 0).returned(loadClass, 0);
  EXPECT_EQ(withoutDurations(treeOf(writer)), R"(process 4711

thread 4711 'main'
SystemClassLoader.loadClass() = 0x10

thread 0
SystemClassLoader.loadClass()
)");
}

TEST(TextTree, ShowsWhichNamesOfTheRegistryMatch) {
  const auto shown = [](const ScanRecord& scan, const std::vector<std::string>& names) {
    const std::string line = callsOf(EventWriter().scan(0, scan, "Cart", names));
    return line.substr(0, line.find("  "));
  };
  EXPECT_EQ(shown({0, 0, 0, 0, 0, 0, 0}, {}), "registry: 0 types, no match");
  EXPECT_EQ(shown({0, -1, 0, 0, 0, 0, 0}, {}), "registry: -1 types, no match");
  EXPECT_EQ(shown({0, 5001, 5001, 1, 0, 0, 1}, {"shop.Cart"}), "registry: 5,001 types, 1 match: shop.Cart (full name)");
  EXPECT_EQ(shown({0, 1, 1, 0, 1, 0, 1}, {"Cart"}), "registry: 1 type, 1 match: Cart (short name)");
  EXPECT_EQ(shown({0, 9, 4, 0, 0, 2, 2}, {"a.Cart", "b.Cart"}),
            "registry: 9 types, 4 read, 2 matches: a.Cart, b.Cart (tail)");
  EXPECT_EQ(shown({0, 99, 99, 20, 0, 0, 2}, {"a", "b"}), "registry: 99 types, 20 matches: a, b, … (full name)");
}

TEST(TextTree, TellsWaitingForTheLockFromHoldingIt) {
  EXPECT_EQ(callsOf(EventWriter().lock(0, 999, 1'200'000)),
            padded("type table walked, lock held 1.2 ms", 74) + "1.2 ms\n");
  EXPECT_EQ(callsOf(EventWriter().lock(0, 3'000'000, 1'200'000)),
            padded("type table walked, lock held 1.2 ms after a wait of 3.0 ms", 74) + "4.2 ms\n");
  EXPECT_EQ(callsOf(EventWriter().lock(0, 1000, 1'200'000)),
            padded("type table walked, lock held 1.2 ms after a wait of 1.0 µs", 74) + "1.2 ms\n");
}

TEST(TextTree, ShowsWhoIsAtTheLock) {
  const auto shown = [](std::uint64_t waited, std::uint64_t held) {
    EventWriter writer;
    writer.at(100'000'000).begin(getTypeByName, 0).lock(1, waited, held);
    const std::string tree = callsOf(writer, {}, {EventWriter::startTime + 2'200'000'000, {4711}});
    return tree.substr(tree.find('\n') + 1);
  };
  const std::string time = "still running after 2.1 s\n";
  EXPECT_EQ(shown(notYet, notYet), padded("  waiting for the type table's lock", 55) + time);
  EXPECT_EQ(shown(600'000'000, notYet), padded("  holding the type table's lock", 55) + time);
}

TEST(TextTree, ShowsWhatWasBeingDoneAtTheEnd) {
  const auto shown = [](const EventWriter& writer) { return linesOf(withoutDurations(callsOf(writer))).at(0); };
  const std::string ended = " had not ended when the process ended";
  EXPECT_EQ(shown(EventWriter().scanBegins(0)), "reading the registry" + ended);
  EXPECT_EQ(shown(EventWriter().lock(0, notYet, notYet)), "waiting for the type table's lock" + ended);
  EventWriter writer;
  writer.lock(0, 100, notYet);
  EXPECT_EQ(shown(writer), "holding the type table's lock" + ended);
  writer.header(offsetof(FileHeader, stopped), Stopped::limit);
  EXPECT_EQ(shown(writer), "holding the type table's lock had not ended when the recording stopped");
}

TEST(TextTree, SaysHowLongACallHasBeenRunning) {
  EventWriter writer;
  writer.at(100'000'000).begin(loadSource, 0, Payload().text("/s/Cart.ov"));
  EXPECT_EQ(callsOf(writer, {}, {EventWriter::startTime + 2'200'000'000, {4711}}),
            "Compiler::ensureSourceLoadedInActiveJit(\"/s/Cart.ov\")  still running after 2.1 s\n");
  writer.at(1'400'000'000).lock(1, 0, 0);
  EXPECT_EQ(callsOf(writer), padded("Compiler::ensureSourceLoadedInActiveJit(\"/s/Cart.ov\")", 73) + "≥ 1.3 s\n" +
                                 "    had not ended when the process ended\n" +
                                 padded("  type table walked, lock held 0 ns", 76) + "0 ns\n");
}

TEST(TextTree, CutsLongTextsInTheirMiddle) {
  const std::string path = "/usr/share/orva/a/folder/with/a/name/that/is/long/Cart.ov";
  EventWriter writer;
  writer.begin(loadSource, 0, Payload().text(path)).returned(loadSource, 0);
  EXPECT_EQ(callsOf(writer), "Compiler::ensureSourceLoadedInActiveJit(\"/usr/share/orva…is/long/Cart.ov\")  0 ns\n");
}

TEST(TextTree, ShowsWhatIsRaisedAndWhyInFull) {
  const std::string message = "Ambiguous plugin entry type 'Cart'; use its fully qualified name, one of those below";
  EventWriter writer;
  writer.begin(loadClass, 0).begin(CallId::Orva_raise, 1, Payload().text("ClassNotFoundException").text(message));
  writer.returned(CallId::Orva_raise, 1).returned(loadClass, 0, Payload().null());
  EXPECT_EQ(callsOf(writer), padded("SystemClassLoader.loadClass() raised ClassNotFoundException", 76) + R"(0 ns
  Orva_raise("ClassNotFoundException", "Ambiguous plugin entry type 'Cart';
    use its fully qualified name, one of those below")
  → raised: here is why
)");
}

TEST(TextTree, ExplainsNestedNativesInTheirPlace) {
  EventWriter writer;
  writer.begin(getTypeByName, 0).begin(loadSource, 1).begin(loadClass, 2, Payload().text("Item"));
  writer.returned(loadClass, 2, Payload().null()).returned(loadSource, 1).returned(getTypeByName, 0, Payload().null());
  EXPECT_EQ(withoutDurations(callsOf(writer)), R"(ClassLoader.getTypeByName() = null
  Compiler::ensureSourceLoadedInActiveJit()
    SystemClassLoader.loadClass("Item") = null
      → null: here is why
  → null: here is why
)");
}

TEST(TextTree, ShowsBothEndsOfALongRowOfCalls) {
  const auto item = CallId::orva_collections_ArrayList_operator_index;
  const auto shown = [&](std::int64_t count) {
    EventWriter writer;
    writer.begin(loadClass, 0);
    for (std::int64_t i = 0; i < count; ++i) {
      writer.begin(item, 1, Payload().integer(i))
          .returned(item, 1, i + 1 < count ? Payload().text("") : Payload().null());
    }
    writer.begin(loadSource, 1).returned(loadSource, 1).returned(loadClass, 0);
    return withoutDurations(callsOf(writer));
  };
  EXPECT_EQ(shown(5001), R"(SystemClassLoader.loadClass()
  orva_collections_ArrayList_operator_index(0) = ""
  orva_collections_ArrayList_operator_index(1) = ""
  orva_collections_ArrayList_operator_index(2) = ""
  … 4,997 more of orva_collections_ArrayList_operator_index
  orva_collections_ArrayList_operator_index(5000) = null
  Compiler::ensureSourceLoadedInActiveJit()
)");
  EXPECT_EQ(linesOf(shown(9)).size(), 7U);
  EXPECT_EQ(linesOf(shown(8)).size(), 10U);
}

TEST(TextTree, ShowsEachCallOfARowThatDiffers) {
  EventWriter writer;
  writer.begin(loadClass, 0);
  for (int i = 0; i < 9; ++i) writer.begin(loadSource, 1).lock(2, 0, 0).returned(loadSource, 1);
  for (int i = 0; i < 9; ++i) writer.begin(loadSource, 1).threw(loadSource, 1, Payload().typeName("i"));
  for (int i = 0; i < 9; ++i) writer.begin(getTypeByName, 1).returned(getTypeByName, 1, Payload().pointer(16));
  for (int i = 0; i < 9; ++i) writer.lock(1, 0, 0);
  EXPECT_EQ(linesOf(callsOf(writer)).size(), 46U);
}

TEST(TextTree, NeverLeavesAFailureOutOfARow) {
  EventWriter writer;
  writer.begin(loadClass, 0);
  for (int i = 0; i < 19; ++i) {
    writer.begin(loadSource, 1);
    i == 9 ? writer.threw(loadSource, 1) : writer.returned(loadSource, 1);
  }
  const std::string tree = callsOf(writer);
  EXPECT_EQ(linesOf(tree).size(), 13U) << tree;
  EXPECT_NE(tree.find("threw something that is not a C++ exception"), std::string::npos);
}

TEST(TextTree, EscapesWhatWouldControlATerminal) {
  EventWriter writer;
  const std::string bad = "\x1B[2J\n\xFF\u202E";
  const std::string shown = R"(\x1B[2J\n\xFF\u202E)";
  writer.program({bad, "/"}).in(2).threadNamed(bad, 1, 1).begin(loadSource, 0, Payload().text(bad));
  writer.threw(loadSource, 0, Payload().typeName(bad));
  writer.scan(0, {0, 1, 1, 1, 0, 0, 1}, bad, {bad});
  writer.in(3).begin(loadClass, 0).threw(loadClass, 0, Payload().typeName(bad));
  const std::string tree = treeOf(writer);
  EXPECT_EQ(tree.find_first_of("\x1B\xFF"), std::string::npos);
  std::size_t count = 0;
  for (std::size_t at = tree.find(shown); at != std::string::npos; at = tree.find(shown, at + 1)) ++count;
  EXPECT_EQ(count, 7U) << tree;
}

TEST(TextTree, CountsTheDepthOfCallsTooDeepToIndent) {
  EventWriter writer;
  for (std::uint16_t depth = 0; depth < 15; ++depth) writer.begin(loadClass, depth);
  for (std::uint16_t depth = 15; depth > 0; --depth) writer.returned(loadClass, static_cast<std::uint16_t>(depth - 1));
  const std::string tree = callsOf(writer);
  EXPECT_NE(tree.find("\n" + std::string(24, ' ') + "SystemClassLoader.loadClass() "), std::string::npos);
  EXPECT_NE(tree.find("\n" + std::string(24, ' ') + "14: SystemClassLoader.loadClass() "), std::string::npos);
}

TEST(TextTree, FitsIntoItsColumns) {
  EventWriter writer = everyKindOfRecord();
  std::string wide;
  for (int i = 0; i < 60; ++i) {
    wide += i % 3 == 0 ? "購物車" : "e\u0301";
    writer.in(9).begin(loadSource, static_cast<std::uint16_t>(i % 20), Payload().text(wide).list(99, {wide, wide}));
  }
  writer.threadNamed(wide.substr(0, 30), 1, 1);
  for (std::size_t columns = 60; columns < 130; ++columns) {
    for (const std::string& line : linesOf(treeOf(writer, {columns, false}))) {
      EXPECT_LE(widthOf(line), columns) << line;
      EXPECT_TRUE(line.empty() || line.back() != ' ') << line;
    }
  }
}

TEST(TextTree, UsesColoursOnlyOnRequest) {
  const EventWriter writer = everyKindOfRecord();
  const std::string coloured = treeOf(writer, {80, true});
  EXPECT_NE(coloured.find("\x1B[1mClassLoader.getTypeByName\x1B[0m(\"Box<Cart>\") "), std::string::npos) << coloured;
  EXPECT_NE(coloured.find("\x1B[31mraised Exception\x1B[0m"), std::string::npos) << coloured;
  EXPECT_EQ(withoutColours(coloured), treeOf(writer));
}

TEST(TextTree, EndsWithWhatItDoesNotShow) {
  Trace trace;
  EXPECT_TRUE(notesOf(trace).empty());
  trace.stopped = Stopped::limit;
  trace.lost = 1;
  trace.damagedFrom = 4096;
  trace.missed = 3;
  trace.unseen = 2;
  const std::string missed =
      "3 calls of natives are not shown: signal handlers made them while another was being recorded, or memory was "
      "short";
  const std::string unseen =
      "2 references to traced functions, or further class-loading libraries, were not redirected: calls through them "
      "are not shown";
  EXPECT_EQ(notesOf(trace),
            (std::vector<std::string>{"the trace ends early: its size limit is reached", "1 event was not finished",
                                      "the trace ends early: its file is damaged from byte 4096 on", missed, unseen}));
  trace = {};
  trace.stopped = Stopped::failed;
  trace.error = ENOSPC;
  std::ostringstream out;
  printTree(trace, {}, out);
  EXPECT_EQ(out.str(), "process 0\nthe trace ends early: its file cannot grow: No space left on device\n");
  trace.error = 0;
  EXPECT_EQ(notesOf(trace), std::vector<std::string>{"the trace ends early: its file cannot grow"});
}

TEST(ShownText, Durations) {
  EXPECT_EQ(durationText(0), "0 ns");
  EXPECT_EQ(durationText(999), "999 ns");
  EXPECT_EQ(durationText(1000), "1.0 µs");
  EXPECT_EQ(durationText(999'949), "999.9 µs");
  EXPECT_EQ(durationText(999'950), "1.0 ms");
  EXPECT_EQ(durationText(999'950'000), "1.0 s");
  EXPECT_EQ(durationText(75'500'000'000), "75.5 s");
}

TEST(ShownText, Numbers) {
  EXPECT_EQ(numberText(0), "0");
  EXPECT_EQ(numberText(999), "999");
  EXPECT_EQ(numberText(1000), "1,000");
  EXPECT_EQ(numberText(-123), "-123");
  EXPECT_EQ(numberText(-1'234'567), "-1,234,567");
  EXPECT_EQ(countText(1, "type", "types"), "1 type");
  EXPECT_EQ(countText(5001, "type", "types"), "5,001 types");
}

TEST(ShownText, EscapesQuotesAndBackslashes) {
  Value value;
  value.kind = StoredKind::text;
  value.text = "a\"b\\c\x1B";
  EXPECT_EQ(valueText(value), R"("a\"b\\c\x1B")");
}

TEST(ShownText, QuotesWordsForShells) {
  EXPECT_EQ(shellWord("--keep=/a/b_c.d:e,f@1%+"), "--keep=/a/b_c.d:e,f@1%+");
  EXPECT_EQ(shellWord("é購"), "é購");
  EXPECT_EQ(shellWord(""), "''");
  for (const char* const word :
       {"two words", "a$b", "a\"b", "a\\b", "*", "~", "a;b", "a&b", "a|b", "a<b", "a(b", "#", "!"}) {
    EXPECT_EQ(shellWord(word), "'" + std::string(word) + "'");
  }
  EXPECT_EQ(shellWord("it's"), R"('it'\''s')");
  EXPECT_EQ(shellWord("it's\n\\\x1B"), R"($'it\'s\n\\\x1B')");
}

TEST(ShownText, Widths) {
  EXPECT_EQ(widthOf("abc"), 3U);
  EXPECT_EQ(widthOf("é…→"), 3U);
  EXPECT_EQ(widthOf("e\u0301"), 1U);
  EXPECT_EQ(widthOf("購物車"), 6U);
  EXPECT_EQ(widthOf("\U0001F6D2"), 2U);
}

TEST(ShownText, CutsBetweenCharacters) {
  EXPECT_EQ(cutInMiddle("0123456789", 10), "0123456789");
  EXPECT_EQ(cutInMiddle("0123456789", 7), "012…789");
  EXPECT_EQ(cutInMiddle("0123456789", 6), "01…789");
  EXPECT_EQ(cutInMiddle("äöüßäöüß", 5), "äö…üß");
  EXPECT_EQ(cutInMiddle("購物車購物車", 7), "購…車");
  EXPECT_EQ(cutInMiddle("abc", 1), "…");
  EXPECT_EQ(cutInMiddle("abc", 0), "");
}

TEST(ShownText, WrapsBetweenWords) {
  using Lines = std::vector<std::string>;
  EXPECT_EQ(wrapped("", 5), Lines{""});
  EXPECT_EQ(wrapped("one two", 7), Lines{"one two"});
  EXPECT_EQ(wrapped("one two three", 7), (Lines{"one two", "three"}));
  EXPECT_EQ(wrapped("one two three", 6), (Lines{"one", "two", "three"}));
  EXPECT_EQ(wrapped("abcdefgh ij", 3), (Lines{"abc", "def", "gh", "ij"}));
  EXPECT_EQ(wrapped(" abcd", 3), (Lines{" ab", "cd"}));
  EXPECT_EQ(wrapped("購物車", 1), (Lines{"購", "物", "車"}));
}

}  // namespace orva::tracing
