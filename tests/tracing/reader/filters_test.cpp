// What filters keep.
#include "tracing/reader/filters.h"

#include <gtest/gtest.h>

#include "tests/tracing/reader/traces.h"

namespace orva::tracing {

/// Four outermost calls, named by when they begin: 1, 2, 3 and 4 ms.
static Trace fourCalls() {
  EventWriter writer;
  constexpr std::uint64_t ms = 1'000'000;
  writer.at(1 * ms)
      .begin(getTypeByName, 0, Payload().text("shop.Cart"))
      .scan(1, {0, 9, 9, 0, 1, 0, 1}, "key.Cart", {"hit.Cart"});
  writer.begin(loadSource, 1, Payload().text("/s/Cart.ov")).begin(loadClass, 2, Payload().text("shop.Item"));
  writer.at(1 * ms + 500).threw(loadClass, 2, Payload().typeName("St9bad_alloc"));
  writer.at(1 * ms + 600).returned(loadSource, 1).returned(getTypeByName, 0, Payload().null());
  writer.at(2 * ms).begin(getSystem, 0).lock(1, 0, 0).at(2 * ms + 900).returned(getSystem, 0, Payload().text("filled"));
  writer.at(3 * ms).begin(loadClass, 0, Payload().list(1, {"element"})).at(3 * ms + 100).returned(loadClass, 0);
  writer.at(4 * ms).begin(loadSource, 0, Payload().text("shop.Cart")).at(5 * ms).returned(loadSource, 0);
  return traceOf(writer);
}

static std::string keptBy(const Filter& filter) {
  Trace trace = fourCalls();
  keepMatching(trace, filter);
  std::string kept;
  for (const Event& event : trace.threads.at(0).events) kept += std::to_string(event.begin / 1'000'000);
  return kept;
}

TEST(Filters, KeepEverythingWhenEmpty) { EXPECT_EQ(keptBy({}), "1234"); }

TEST(Filters, KeepNativesByNameWhereverTheyAre) {
  EXPECT_EQ(keptBy({{loadClass}, "", 0}), "13");
  EXPECT_EQ(keptBy({{getTypeByName}, "", 0}), "1");
  EXPECT_EQ(keptBy({{getSystem, getTypeByName}, "", 0}), "12");
  EXPECT_EQ(keptBy({{CallId::orva_ClassLoader_addSourceRoot}, "", 0}), "");
}

TEST(Filters, KeepNativesByAnyText) {
  const auto by = [](const char* text) { return keptBy({{}, text, 0}); };
  EXPECT_EQ(by("shop.Cart"), "1");
  EXPECT_EQ(by("shop.Item"), "1");
  EXPECT_EQ(by("hit.Cart"), "1");
  EXPECT_EQ(by("key.Cart"), "1");
  EXPECT_EQ(by("bad_alloc"), "1");
  EXPECT_EQ(by("ensureSource"), "1");
  EXPECT_EQ(by("filled"), "2");
  EXPECT_EQ(by("element"), "3");
  EXPECT_EQ(by("SystemClassLoader"), "13");
  EXPECT_EQ(by("nothing of it"), "");
}

TEST(Filters, KeepNativesThatMayHaveTakenAsLong) {
  EventWriter writer;
  writer.at(1'000).begin(loadClass, 0).at(2'000).begin(loadSource, 1);
  Trace trace = traceOf(writer);
  keepMatching(trace, {{}, "", 1'000'000'000});
  EXPECT_EQ(trace.threads.at(0).events.size(), 1U);
}

TEST(Filters, KeepNativesThatStillRun) {
  EventWriter writer;
  writer.at(1'000).begin(loadClass, 0).at(2'000).returned(loadClass, 0);
  writer.at(3'000).begin(getTypeByName, 0).begin(loadSource, 1).begin(loadClass, 2);
  Trace trace = traceOf(writer, {EventWriter::startTime + 4'000, {4711}});
  keepMatching(trace, {{}, "", 1'000'000'000});
  ASSERT_EQ(trace.threads.at(0).events.size(), 1U);
  EXPECT_EQ(trace.threads[0].events[0].begin, 3'000U);
  EXPECT_EQ(trace.threads[0].events[0].ending, Ending::open);
}

TEST(Filters, KeepNativesByDuration) {
  EXPECT_EQ(keptBy({{}, "", 600}), "12");
  EXPECT_EQ(keptBy({{}, "", 601}), "2");
  EXPECT_EQ(keptBy({{}, "", 901}), "");
}

TEST(Filters, AskAllOfTheSameNative) {
  EXPECT_EQ(keptBy({{loadClass}, "shop.Item", 0}), "1");
  // The text is outside of that native, or the time is another's.
  EXPECT_EQ(keptBy({{loadClass}, "shop.Cart", 0}), "");
  EXPECT_EQ(keptBy({{loadClass}, "", 501}), "");
  EXPECT_EQ(keptBy({{loadClass}, "", 500}), "1");
}

TEST(Filters, KnowNativesByThreeNames) {
  using Calls = std::vector<CallId>;
  EXPECT_EQ(nativesNamed("getTypeByName"), Calls{getTypeByName});
  EXPECT_EQ(nativesNamed("ClassLoader.getTypeByName"), Calls{getTypeByName});
  EXPECT_EQ(nativesNamed("orva_ClassLoader_getTypeByName"), Calls{getTypeByName});
  EXPECT_EQ(nativesNamed("SystemClassLoader.loadClass"), Calls{loadClass});
  EXPECT_EQ(nativesNamed("Orva_raise"), Calls{});
  EXPECT_EQ(nativesNamed("TypeByName"), Calls{});
  EXPECT_EQ(nativesNamed(""), Calls{});
}

}  // namespace orva::tracing
