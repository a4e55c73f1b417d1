// Traces for the reader's tests. Their sentences are placeholders; other tests check which one each native gets.
#include "tests/tracing/reader/traces.h"

#include "tests/scripted_host/temporary_folder.h"
#include "tracing/reader/explanation.h"

namespace orva::tracing {

std::string explanationOf(const Event& native) {
  const Value* result = native.result();
  if (native.ending == Ending::threw) return "threw: " + native.thrown.value_or("");
  if (raiseOf(native)) return "raised: here is why";
  return result != nullptr && result->kind == StoredKind::null ? "null: here is why" : "";
}

std::string temporaryPath() {
  static const TemporaryFolder folder;
  return folder.path("trace.events");
}

Trace traceOf(const EventWriter& writer, const Writers& writers) {
  return readTrace(writer.save(temporaryPath()), writers);
}

EventWriter everyKindOfRecord() {
  EventWriter writer;
  writer.program({"/usr/bin/shop", "/home/ada", "shop", "--all"}).threadNamed("main", 4711, 4711);
  writer.at(1'000).begin(CallId::orva_ClassLoader_getTypeByName, 0, Payload().text("Box<Cart>"));
  writer.at(2'000).lock(1, 500, 1'200'000);
  const auto materialize = CallId::ClassLoader_materializeRuntimeGenericType;
  writer.at(1'300'000).begin(materialize, 1, Payload().text("Box<Cart>").pointer(0x55d0));
  writer.at(1'400'000).returned(materialize, 1, Payload().truth(true).text("Box$Cart").text("/shop/Box.ov"));
  const auto load = CallId::Compiler_ensureSourceLoadedInActiveJit;
  writer.at(1'500'000).begin(load, 1, Payload().text("/shop/Box.ov").null());
  writer.at(1'600'000).begin(CallId::orva_SystemClassLoader_loadClass, 2, Payload().pointer(16).text("Cart"));
  writer.at(1'650'000).jumped(CallId::orva_SystemClassLoader_loadClass, 2);
  writer.at(9'000'000).threw(load, 1, Payload().typeName("St13runtime_error"));
  writer.at(9'100'000).scan(1, {60'000, 5001, 5001, 0, 1, 1, 2}, "Cart", {"shop.Cart", "toy.Cart"});
  const auto bundle = CallId::Compiler_ensureObjectBundleLoadedInActiveJit;
  writer.at(9'200'000).complete(bundle, 1, 100'000, {}, Payload().list(20, {"a.o", "b.o"}).list(1, {"1f"}));
  writer.at(9'400'000).begin(CallId::Orva_raise, 1, Payload().text("Exception").text("no", true));
  writer.at(9'500'000).returned(CallId::Orva_raise, 1);
  writer.at(9'600'000).returned(CallId::orva_ClassLoader_getTypeByName, 0, Payload().null());
  writer.in(2).threadNamed("worker", 4712, 4712);
  writer.at(9'700'000).begin(CallId::Reflection_getTypeCount, 0);
  writer.at(9'800'000).returned(CallId::Reflection_getTypeCount, 0, Payload().integer(-1));
  writer.at(9'900'000).begin(CallId::orva_ClassLoader_getSystem, 0);
  return writer;
}

}  // namespace orva::tracing
