// Tests the JSON for timeline viewers.
#include "tracing/reader/chrome_trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/tracing/reader/traces.h"
#include "tracing/reader/json_text.h"

namespace orva::tracing {

static std::string jsonOf(const std::vector<Trace>& traces) {
  std::ostringstream out;
  writeChromeTrace(traces, out);
  return out.str();
}

/// Tells whether another program can parse a text as JSON.
static bool isValid(const std::string& json) {
  const std::string path = temporaryPath() + ".json";
  std::ofstream(path) << json;
  return std::system(("python3 -m json.tool '" + path + "' >/dev/null 2>&1").c_str()) == 0;
}

/// A line of an event of the first thread.
static std::string line(const std::string& name, const std::string& category, const std::string& times,
                        const std::string& arguments) {
  return R"({"name":")" + name + R"(","cat":")" + category + R"(","ph":"X","pid":4711,"tid":4711,)" + times +
         R"(,"args":{)" + arguments + "}},\n";
}

TEST(ChromeTrace, HasALineForEachEvent) {
  const std::string lines =
      line("ClassLoader.getTypeByName", "native", R"("ts":1.000,"dur":9599.000)",
           R"("arguments":["Box\u003cCart\u003e"],"results":[null],"message":"no","ending":"raised Exception",)"
           R"("explanation":"raised: here is why")") +
      line("type table walked", "runtime", R"("ts":2.000,"dur":1200.500)", R"("waited":0.500)") +
      line("ClassLoader::materializeRuntimeGenericType", "neighbour", R"("ts":1300.000,"dur":100.000)",
           R"("arguments":["Box\u003cCart\u003e","0x55d0"],"results":[true,"Box$Cart","/shop/Box.ov"])") +
      line("Compiler::ensureSourceLoadedInActiveJit", "neighbour", R"("ts":1500.000,"dur":7500.000)",
           R"("arguments":["/shop/Box.ov",null],"ending":"threw std::runtime_error")") +
      line("SystemClassLoader.loadClass", "native", R"("ts":1600.000,"dur":50.000)",
           R"("arguments":["0x10","Cart"],"ending":"was left without returning")") +
      line("registry", "runtime", R"("ts":9100.000,"dur":60.000)",
           R"("key":"Cart","types":5001,"read":5001,"by full name":0,"by short name":1,"by tail":1,)"
           R"("matches":["shop.Cart","toy.Cart"])") +
      line("Compiler::ensureObjectBundleLoadedInActiveJit", "neighbour", R"("ts":9200.000,"dur":100.000)",
           R"("arguments":[{"count":20,"first":["a.o","b.o"]},{"count":1,"first":["1f"]}])") +
      line("Orva_raise", "neighbour", R"("ts":9400.000,"dur":100.000)", R"("arguments":["Exception","no…"])");
  EXPECT_EQ(jsonOf({traceOf(everyKindOfRecord())}),
            R"({"traceEvents":[
{"name":"process_name","ph":"M","pid":4711,"tid":4711,"args":{"name":"/usr/bin/shop"}},
{"name":"thread_name","ph":"M","pid":4711,"tid":4711,"args":{"name":"main"}},
)" + lines +
                R"({"name":"thread_name","ph":"M","pid":4712,"tid":4712,"args":{"name":"worker"}},
{"name":"Reflection_getTypeCount","cat":"neighbour","ph":"X","pid":4712,"tid":4712,"ts":9700.000,"dur":100.000,)"
                R"("args":{"arguments":[],"results":[-1]}},
{"name":"ClassLoader.getSystem","cat":"native","ph":"X","pid":4712,"tid":4712,"ts":9900.000,"dur":0.000,)"
                R"("args":{"arguments":[],"ending":"had not ended when the process ended"}}
],"otherData":{"notes":[]}}
)");
}

TEST(ChromeTrace, SaysWhyAnEventDidNotEnd) {
  EventWriter writer;
  writer.begin(loadSource, 0).lock(1, notYet, notYet);
  const auto endings = [&](const Writers& writers, const std::string& ending) {
    const std::string json = jsonOf({traceOf(writer, writers)});
    const std::size_t first = json.find(ending);
    return first != std::string::npos && json.find(ending, first + 1) != std::string::npos;
  };
  EXPECT_TRUE(endings({}, R"("ending":"had not ended when the process ended")"));
  EXPECT_TRUE(endings({EventWriter::startTime, {4711}}, R"("ending":"is still running")"));
}

TEST(ChromeTrace, IsValidWhateverBytesNamesHave) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  bytes += "\xF0\x9F\x98\x80 \xE2\x80\xA8 \xED\xA0\x80 \xC0\x80";
  EventWriter writer = everyKindOfRecord();
  writer.program({bytes, "/"}).in(7).threadNamed(bytes, 1, 1);
  writer.begin(loadSource, 0, Payload().text(bytes).list(9, {bytes}).integer(INT64_MIN).truth(false));
  writer.scan(1, {0, 1, 1, 1, 0, 0, 1}, bytes, {bytes}).threw(loadSource, 0, Payload().typeName(bytes));
  EXPECT_TRUE(isValid(jsonOf({traceOf(writer)})));
  EXPECT_TRUE(isValid(jsonOf({})));
  EXPECT_TRUE(isValid(jsonOf({traceOf(EventWriter())})));
  EXPECT_FALSE(isValid("{\"traceEvents\":[,]}"));
}

TEST(ChromeTrace, PutsProcessesOnOneTimeline) {
  EventWriter first(100, 1);
  first.at(1000).begin(loadSource, 0);
  EventWriter second(200, 100);
  second.header(offsetof(FileHeader, startOfDay), std::uint64_t{1'700'000'000'000'050'500});
  second.at(2000).begin(loadSource, 0);
  for (const std::vector<Trace>& traces :
       {std::vector<Trace>{traceOf(second), traceOf(first)}, std::vector<Trace>{traceOf(first), traceOf(second)}}) {
    const std::string json = jsonOf(traces);
    EXPECT_NE(json.find("\"pid\":100,\"tid\":0,\"ts\":1.000,"), std::string::npos) << json;
    EXPECT_NE(json.find("\"pid\":200,\"tid\":0,\"ts\":52.500,"), std::string::npos) << json;
    // Neither the programs nor the threads have names.
    EXPECT_EQ(json.find("\"ph\":\"M\""), std::string::npos) << json;
  }
}

TEST(ChromeTrace, SaysWhatIsMissing) {
  EventWriter cut(100);
  cut.program({"/bin/first", "/"}).header(offsetof(FileHeader, stopped), Stopped::limit);
  EventWriter unseen(200);
  unseen.program({"/bin/\"second", "/"}).header(offsetof(FileHeader, unseen), 1U);
  const std::string json = jsonOf({traceOf(cut), traceOf(unseen)});
  EXPECT_TRUE(isValid(json));
  EXPECT_NE(
      json.find("\"notes\":[\"/bin/first: the trace ends early: its size limit is reached\",\"/bin/\\\"second: 1 "),
      std::string::npos)
      << json;
}

TEST(JsonText, EscapesWhatJsonOrAPageWouldInterpret) {
  EXPECT_EQ(jsonText(""), "\"\"");
  EXPECT_EQ(jsonText("a\"b\\c"), R"("a\"b\\c")");
  EXPECT_EQ(jsonText(std::string_view("\0\n\x1F\x7F", 4)), R"("\u0000\u000a\u001f\u007f")");
  EXPECT_EQ(jsonText("</script>&"), R"("\u003c/script\u003e\u0026")");
  EXPECT_EQ(jsonText("é購\xFF\xC3"), "\"é購\uFFFD\uFFFD\"");
  EXPECT_EQ(jsonText("\u2028\u2029"), R"("\u2028\u2029")");
}

}  // namespace orva::tracing
