// The boundary of the natives: their types, the two that only forward a call, and how failures cross the bridge.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "classloader/failure_bridge.h"
#include "classloader/native_table.h"
#include "classloader/natives.h"
#include "tests/scripted_host/scripted_host.h"

using namespace scripted;

namespace {

class NativeBoundary : public HostTest {};
class FailureBridge : public HostTest {};

}  // namespace

// The list must give each native the type that natives.h declares.
#define ORVA_NATIVE(symbol, class_name, method, kind, result, parameters) \
  static_assert(std::is_same_v<decltype(symbol), result parameters>);
#include "classloader/native_list.inc"
#undef ORVA_NATIVE

TEST(NativeTable, DescribesEachNative) {
  const auto& [symbol, className, methodName, isStatic, function] = std::get<3>(orva::natives);
  EXPECT_EQ("orva_ClassLoader_addSourceRoot", symbol);
  EXPECT_EQ("ClassLoader", className);
  EXPECT_EQ("addSourceRoot", methodName);
  EXPECT_TRUE(isStatic);
  EXPECT_EQ(&orva_ClassLoader_addSourceRoot, function);
  EXPECT_FALSE(std::get<7>(orva::natives).isStatic);
}

TEST(NativeTable, FindsNativesByTheirExactSymbolsOnly) {
  std::size_t found = 0;
  const auto find = [&found](const auto& native) {
    EXPECT_EQ(reinterpret_cast<void*>(native.function), orva::findNative(native.symbol));
    ++found;
  };
  std::apply([&find](const auto&... native) { (find(native), ...); }, orva::natives);
  EXPECT_EQ(std::tuple_size_v<decltype(orva::natives)>, found);
  for (const char* symbol : {"", "orva_ClassLoader", "orva_ClassLoader_getSystem2", "getSystem"}) {
    EXPECT_EQ(nullptr, orva::findNative(symbol)) << symbol;
  }
}

TEST_F(NativeBoundary, AbiVersionIsTheCompilersSignExtended) {
  const int32_t lowest = std::numeric_limits<int32_t>::min();
  const int32_t highest = std::numeric_limits<int32_t>::max();
  for (const int32_t version : {7, 0, -1, lowest, highest}) {
    host().objectAbiVersion.next(returns(version));
    EXPECT_EQ(static_cast<int64_t>(version), orva_ClassLoader_objectAbiVersion());
    EXPECT_CALLS("Compiler::objectAbiVersion()");
  }
}

TEST_F(NativeBoundary, AbiVersionLetsEveryThrownObjectPass) {
  host().objectAbiVersion.next(throws(std::runtime_error("no engine"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_ClassLoader_objectAbiVersion(), std::runtime_error, "no engine");
  EXPECT_THROWS_VALUE(orva_ClassLoader_objectAbiVersion(), int, 5);
  EXPECT_CALLS("Compiler::objectAbiVersion()", "Compiler::objectAbiVersion()");
}

TEST_F(NativeBoundary, LoadClassReturnsWhatTheRuntimeReturnsForTheNameGiven) {
  for (const char* name : {static_cast<const char*>(nullptr), "", " a.B ", "Box< a >"}) {
    for (void* receiver : {static_cast<void*>(nullptr), token(9)}) {
      for (void* type : {static_cast<void*>(nullptr), token(3)}) {
        host().typeByName.next(returns(type));
        EXPECT_EQ(type, orva_SystemClassLoader_loadClass(receiver, name));
        EXPECT_EQ(name, host().lastTypeNamePointer);
        EXPECT_CALLS("Orva_typeByName(" + inQuotes(name) + ")");
      }
    }
  }
}

TEST_F(NativeBoundary, LoadClassLetsEveryThrownObjectPass) {
  host().typeByName.next(throws(std::runtime_error("no registry"))).next(throws(5));
  EXPECT_THROWS_TEXT(orva_SystemClassLoader_loadClass(token(0), "a.B"), std::runtime_error, "no registry");
  EXPECT_THROWS_VALUE(orva_SystemClassLoader_loadClass(token(0), "a.B"), int, 5);
  EXPECT_CALLS(typeByName("a.B"), typeByName("a.B"));
}

TEST_F(FailureBridge, RunsTheWorkOnceAndRaisesNothing) {
  int runs = 0;
  EXPECT_TRUE(bridged("Exception", [&runs] { ++runs; }));
  EXPECT_TRUE(bridged("Exception", "other", [&runs] { ++runs; }));
  EXPECT_EQ(2, runs);
  EXPECT_CALLS();
}

/// Runs work that throws `object` through both forms of the bridge.
template <typename Thrown>
static void failThroughBothForms(const Thrown& object) {
  EXPECT_FALSE(bridged("OneClass", [&object] { throw object; }));
  EXPECT_FALSE(bridged("OtherClass", "fixed text", [&object] { throw object; }));
}

TEST_F(FailureBridge, RaisesTheTextOfAnyStandardExceptionUnchanged) {
  failThroughBothForms(std::runtime_error("a.ov:3: 'x' is unknown"));
  EXPECT_CALLS(raised("OneClass", "a.ov:3: 'x' is unknown"), raised("OtherClass", "a.ov:3: 'x' is unknown"));
  failThroughBothForms(CustomFailure(" own\ntext \xff"));
  EXPECT_CALLS(raised("OneClass", " own\ntext \xff"), raised("OtherClass", " own\ntext \xff"));
  failThroughBothForms(std::bad_alloc());
  EXPECT_CALLS(raised("OneClass", "std::bad_alloc"), raised("OtherClass", "std::bad_alloc"));
}

TEST_F(FailureBridge, KeepsAnEmptyTextEmpty) {
  failThroughBothForms(CustomFailure(""));
  EXPECT_CALLS(raised("OneClass", ""), raised("OtherClass", ""));
}

TEST_F(FailureBridge, RaisesTheFixedTextForAnyOtherObject) {
  EXPECT_FALSE(bridged("Exception", "fixed text", [] { throw 5; }));
  EXPECT_FALSE(bridged("Exception", "fixed text", [] { throw "a text"; }));
  EXPECT_FALSE(bridged("Exception", "fixed text", [] { throw std::string("a text"); }));
  EXPECT_CALLS(raised("Exception", "fixed text"), raised("Exception", "fixed text"), raised("Exception", "fixed text"));
}

TEST_F(FailureBridge, WithoutFixedTextAnyOtherObjectPasses) {
  EXPECT_THROWS_VALUE(bridged("Exception", [] { throw 5; }), int, 5);
  EXPECT_THROWS_VALUE(bridged("Exception", [] { throw std::string("text"); }), std::string, "text");
  EXPECT_CALLS();
}

namespace {

struct Witness {
  ~Witness() { host().record("work is gone"); }
};

}  // namespace

TEST_F(FailureBridge, WhatTheWorkBuiltIsGoneBeforeTheRaise) {
  const auto failing = [] {
    const Witness witness;
    throw std::runtime_error("failed");
  };
  EXPECT_FALSE(bridged("Exception", failing));
  EXPECT_CALLS("work is gone", raised("Exception", "failed"));
  EXPECT_FALSE(bridged("Exception", "other", failing));
  EXPECT_CALLS("work is gone", raised("Exception", "failed"));
}

TEST_F(FailureBridge, WhatARaiseThrowsPassesWithoutASecondRaise) {
  const auto failing = [] { throw std::runtime_error("failed"); };
  const auto failingOtherwise = [] { throw 'c'; };
  host().raise.next(throws(std::logic_error("raise 1"))).next(throws(std::logic_error("raise 2"))).next(throws(3));
  host().raise.next(throws(4)).next(throws(5)).next(throws(std::logic_error("raise 6")));
  EXPECT_THROWS_TEXT(bridged("Exception", failing), std::logic_error, "raise 1");
  EXPECT_THROWS_TEXT(bridged("Exception", "other", failing), std::logic_error, "raise 2");
  EXPECT_THROWS_VALUE(bridged("Exception", failing), int, 3);
  EXPECT_THROWS_VALUE(bridged("Exception", "other", failing), int, 4);
  EXPECT_THROWS_VALUE(bridged("Exception", "other", failingOtherwise), int, 5);
  EXPECT_THROWS_TEXT(bridged("Exception", "other", failingOtherwise), std::logic_error, "raise 6");
  const std::vector<std::string> failed(4, raised("Exception", "failed"));
  EXPECT_CALLS(failed, raised("Exception", "other"), raised("Exception", "other"));
}
