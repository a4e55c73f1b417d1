// Tests what the summary says about where the time went.
#include "tracing/reader/summary.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/tracing/reader/traces.h"
#include "tracing/reader/shown_text.h"

namespace orva::tracing {

constexpr auto loadBundle = CallId::Compiler_ensureObjectBundleLoadedInActiveJit;

/// A load of Cart.ov that itself takes 90 ms. It loads Item.ov, which needs Cart.ov again.
static EventWriter nestedLoads() {
  constexpr std::uint64_t ms = 1'000'000;
  EventWriter writer;
  writer.at(0).begin(getTypeByName, 0, Payload().text("Cart")).at(1 * ms).scan(1, {2 * ms, 9, 9, 0, 0, 0, 0}, "Cart");
  writer.at(4 * ms).begin(loadSource, 1, Payload().text("/s/Cart.ov"));
  writer.at(10 * ms).begin(getTypeByName, 2, Payload().text("Item")).lock(3, 0, 1 * ms);
  writer.at(12 * ms).begin(loadSource, 3, Payload().text("/s/Item.ov"));
  writer.at(13 * ms).begin(loadSource, 4, Payload().text("/s/Cart.ov")).at(16 * ms).returned(loadSource, 4);
  writer.at(20 * ms).returned(loadSource, 3);
  writer.at(22 * ms).returned(getTypeByName, 2, Payload().pointer(16));
  writer.at(99 * ms).returned(loadSource, 1);
  writer.at(100 * ms).returned(getTypeByName, 0, Payload().pointer(16));
  return writer;
}

/// `name calls total/self`, in milliseconds.
static std::string textOf(const std::vector<Share>& shares) {
  std::ostringstream text;
  for (const Share& share : shares) {
    text << share.name << ' ' << share.calls << ' ' << share.total / 1'000'000 << '/' << share.self / 1'000'000 << '\n';
  }
  return text.str();
}

TEST(Summary, AddsUpAllTraces) {
  EXPECT_EQ(summaryOf({traceOf(nestedLoads()), traceOf(nestedLoads())}).total, 200'000'000U);
}

TEST(Summary, NamesBundlesByTheirFirstObject) {
  EventWriter writer;
  const auto load = [&](const Payload& arguments) { writer.begin(loadBundle, 0, arguments).returned(loadBundle, 0); };
  load(Payload().list(20, {"a.o", "b.o"}).list(0, {}));
  load(Payload().list(1, {"c.o"}).list(0, {}));
  load(Payload().list(0, {}).list(0, {}));
  writer.begin(CallId::Compiler_precompileSources, 0, Payload().list(2, {"a.ov", "b.ov"}));
  EXPECT_EQ(textOf(summaryOf({traceOf(writer)}).sources),
            "a.o and 19 more 1 0/0\na.ov and 1 more 1 0/0\nc.o 1 0/0\nnothing 1 0/0\n");
}

TEST(Summary, CountsTheNamesThatGaveNoType) {
  EventWriter writer;
  const auto call = [&](const Payload& arguments, const Payload& result, bool raises = false) {
    writer.begin(loadClass, 0, arguments);
    if (raises) writer.begin(CallId::Orva_raise, 1).returned(CallId::Orva_raise, 1);
    writer.returned(loadClass, 0, result);
  };
  call(Payload().pointer(1).text("Cart"), Payload().pointer(16));
  call(Payload().pointer(1).text("Item"), Payload().null());
  for (int i = 0; i < 3; ++i) call(Payload().text("file.ov").text("Till"), Payload().null(), i == 0);
  call(Payload().null(), Payload().null());
  call(Payload().text("file.ov").null(), Payload().null());
  for (const char* name : {"", "Item ", "\"Item\"", "\tItem"}) call(Payload().pointer(1).text(name), Payload().null());
  writer.begin(loadClass, 0, Payload().text("open"));
  const Summary summary = summaryOf({traceOf(writer)});
  std::ostringstream text;
  for (const Miss& miss : summary.misses) text << miss.name << ' ' << miss.calls << ' ' << miss.raises << '\n';
  EXPECT_EQ(text.str(),
            R"("Till" 3 1
"" 1 0
"Item " 1 0
"Item" 1 0
"\"Item\"" 1 0
"\tItem" 1 0
SystemClassLoader.loadClass() 1 0
SystemClassLoader.loadClass(null) 1 0
)");
}

static std::string printed(const Summary& summary, const TreeStyle& style = {}) {
  std::ostringstream out;
  printSummary(summary, style, out);
  return out.str();
}

TEST(Summary, IsPrintedAsTables) {
  Summary summary = summaryOf({traceOf(nestedLoads())});
  summary.misses = {{"\"shop.Till\"", 5001, 1}};
  EXPECT_EQ(printed(summary), R"(natives                                            calls    total     self share
  ClassLoader.getTypeByName                            2 100.0 ms   6.0 ms   6 %

neighbours                                         calls    total     self share
  Compiler::ensureSourceLoadedInActiveJit              3  95.0 ms  91.0 ms  91 %
  registry                                             1   2.0 ms   2.0 ms   2 %
  type table walked                                    1   1.0 ms   1.0 ms   1 %

sources                                            calls    total     self share
  /s/Cart.ov                                           2  95.0 ms  90.0 ms  90 %
  /s/Item.ov                                           1   8.0 ms   5.0 ms   5 %

loads by cost                                                     total     self
  /s/Cart.ov                                                    95.0 ms  87.0 ms
    for ClassLoader.getTypeByName("Cart")
  /s/Item.ov                                                     8.0 ms   5.0 ms
    for ClassLoader.getTypeByName("Item")
  /s/Cart.ov                                                     3.0 ms   3.0 ms
    for ClassLoader.getTypeByName("Item")

names that gave no type                                            null   raised
  "shop.Till"                                                     5,000        1
)");
}

TEST(Summary, ShowsTheFirstRowsInTheirColumns) {
  Summary summary;
  for (int i = 0; i < 45; ++i) summary.misses.push_back({"a\x1B" + std::string(200, 'x') + std::to_string(i), 1, 0});
  const std::string text = printed(summary);
  std::istringstream in(text);
  std::size_t count = 0;
  for (std::string line; std::getline(in, line); ++count) EXPECT_LE(widthOf(line), 80U);
  EXPECT_EQ(count, 22U);
  EXPECT_NE(text.find("\n  a\\x1Bxx"), std::string::npos);
  EXPECT_EQ(text.substr(text.rfind('\n', text.size() - 2)), "\n  … 25 more\n");
  EXPECT_EQ(printed({}), "");
}

}  // namespace orva::tracing
