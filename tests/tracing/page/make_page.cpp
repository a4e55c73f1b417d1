// Writes a page from traces that are built in code.
// Usage: make_page few|many|hostile|empty >PAGE
#include <cstdint>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/tracing/made_events.h"
#include "tracing/reader/html_page.h"

namespace orva::tracing {

/// Each match is by full name.
static Event scan(const std::string& key, const std::vector<std::string>& matches) {
  return scan({key, 5001, 5001, static_cast<std::uint32_t>(matches.size()), 0, 0, matches});
}

static Event hit(const std::string& name) {
  return call(CallId::orva_ClassLoader_getTypeByName, {text(name)}, {pointer(0x5500)},
              {scan(name, {name}), call(CallId::Orva_typeByName, {text(name)}, {pointer(0x5500)})});
}

static Event miss(const std::string& name) {
  return call(CallId::orva_ClassLoader_getTypeByName, {text(name)}, {Value()},
              {scan(name, {}), call(CallId::ClassLoader_sourceFileForClass, {pointer(0x10), text(name)}, {text("")}),
               call(CallId::Orva_typeByName, {text(name)}, {Value()})});
}

static Event raising(const std::string& name, const std::string& message) {
  return call(CallId::orva_ClassLoader_getTypeByName, {text(name)}, {Value()},
              {scan(name, {"shop." + name, "yard." + name}),
               call(CallId::Orva_raise, {text("ClassNotFoundException"), text(message)}, {})});
}

static Event load(const std::string& file, std::vector<Event> inner) {
  return call(CallId::Compiler_ensureSourceLoadedInActiveJit, {pointer(0x10), text(file)}, {}, std::move(inner));
}

/// Sets the times of an event and its nested events: each call takes 100 ns plus the time of the calls in it.
static std::uint64_t timed(Event& event, std::uint64_t begin) {
  event.begin = begin;
  std::uint64_t end = begin + 50;
  for (Event& inner : event.inner) end = timed(inner, end) + 10;
  event.duration = end + 50 - begin;
  return begin + event.duration;
}

static Thread thread(std::uint32_t process, std::uint32_t id, const std::string& name, std::vector<Event> events) {
  Thread made;
  made.process = process;
  made.id = id;
  made.name = name;
  made.events = std::move(events);
  std::uint64_t time = 1000;
  for (Event& event : made.events) time = timed(event, time) + 400;
  return made;
}

static Trace trace(std::uint32_t process, std::vector<Thread> threads) {
  Trace made;
  made.program = "/opt/shop/bin/shop";
  made.folder = "/srv/shop";
  made.arguments = {"shop", "--serve"};
  made.process = process;
  made.parent = 1;
  made.startOfDay = 1'700'000'000'000'000'000;
  made.attached = Attached::audit;
  made.threads = std::move(threads);
  return made;
}

/// One of everything: two programs, a fork, each ending.
static std::vector<Trace> few() {
  const Event failed = thrown(call(CallId::Orva_typeByName, {text("shop.Broken")}), "std::bad_alloc");
  const Event threw =
      thrown(call(CallId::orva_SystemClassLoader_loadClass, {pointer(0x20), text("shop.Broken")}, {}, {failed}),
             "std::bad_alloc");
  Event jumped = call(CallId::orva_ClassLoader_getSystem, {}, {});
  jumped.ending = Ending::jumped;
  Event open = call(CallId::orva_ClassLoader_getSystem, {}, {});
  open.ending = Ending::open;
  Event nested = call(CallId::orva_ClassLoader_getTypeByName, {text("shop.Cart")}, {pointer(0x5510)},
                      {scan("shop.Cart", {}), load("/srv/shop/Cart.ov", {hit("shop.Item"), miss("shop.Till")})});
  Event table = lock();
  table.lock.waited = 12;
  const Event generic =
      call(CallId::orva_ClassLoader_getTypeByName, {text("shop.Box<shop.Item>")}, {pointer(0x5520)}, {table});
  const std::string ambiguous = "Ambiguous type name 'Item'";
  Trace first = trace(
      4711, {thread(4711, 4711, "shop", {nested, raising("Item", ambiguous), generic, threw, open}),
             thread(4711, 4712, "worker", {jumped, miss("Till")}), thread(4800, 4800, "shop", {hit("shop.Item")})});
  first.unseen = 2;
  Trace second = trace(4900, {thread(4900, 4900, "stock", {hit("stock.Shelf")})});
  second.program = "/opt/shop/bin/stock";
  second.startOfDay += 5000;
  second.stopped = Stopped::limit;
  return {first, second};
}

/// 10,000 events on four threads: each fortieth lookup misses.
static std::vector<Trace> many() {
  std::vector<Thread> threads;
  constexpr std::uint32_t threadCount = 4;
  constexpr int lookupsOfEach = 500;  // with five events each
  for (std::uint32_t id = 1; id <= threadCount; ++id) {
    std::vector<Event> events;
    for (int i = 0; i < lookupsOfEach; ++i) {
      const std::string name = "shop.p" + std::to_string(id) + ".Type" + std::to_string(i);
      if (i % 40 == 20) {
        Event missed = miss(name);
        missed.inner.insert(missed.inner.begin(), scan(name, {}));
        events.push_back(std::move(missed));
      } else {
        events.push_back(call(CallId::orva_ClassLoader_getTypeByName, {text(name)}, {pointer(0x6000 + i)},
                              {scan(name, {}), load("/srv/" + name + ".ov", {scan(name, {name})}),
                               call(CallId::Orva_typeByName, {text(name)}, {pointer(0x6000 + i)})}));
      }
    }
    threads.push_back(thread(4711, 4710 + id, "worker " + std::to_string(id), std::move(events)));
  }
  return {trace(4711, std::move(threads))};
}

/// Names that would end the script, change how text is shown or break the JSON, and one name for each byte.
static std::vector<Trace> hostile() {
  std::vector<Event> events;
  for (const char* name : {"</script><script>document.title='broken'</script>", "<!--<script>", "]]>", "&lt;b&gt;&amp;",
                           "\u2028line\u2029", "\u202Eesrever", "\"\\'`${1}", "\xC3\xA9\xF0\x9F\x98\x80", "\xC0\xAF",
                           "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "__proto__", "@page.js@"}) {
    events.push_back(miss(name));
  }
  for (int byte = 0; byte < 256; ++byte) events.push_back(miss(std::string("byte ") + static_cast<char>(byte)));
  Trace made = trace(4711, {thread(4711, 4711, "</title><img src=x onerror=alert(1)>", std::move(events))});
  made.program = "/opt/<img src=x onerror=alert(1)>";
  made.arguments = {"</script>", "two words", "\xFF"};
  return {made};
}

}  // namespace orva::tracing

int main(int argc, char** argv) {
  using namespace orva::tracing;
  const std::map<std::string, std::vector<Trace> (*)()> pages = {
      {"few", few}, {"many", many}, {"hostile", hostile}, {"empty", [] { return std::vector<Trace>(); }}};
  const auto page = pages.find(argc == 2 ? argv[1] : "");
  if (page == pages.end()) {
    std::cerr << "usage: make_page few|many|hostile|empty >PAGE\n";
    return 2;
  }
  writeHtmlPage(page->second(), std::cout);
  return std::cout.flush() ? 0 : 1;
}
