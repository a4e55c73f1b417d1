// Tests sentences about what does not occur in the small worlds: natives that have not ended, natives within loads, and
// texts and names that the recorder cut or could not read.
#include "tracing/reader/explanation.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "tests/tracing/made_events.h"

using namespace orva::tracing;

static const Value nullValue;
static const Value objectValue = pointer(1);

static Event raise(const std::string& exceptionClass, const std::string& message) {
  return call(CallId::Orva_raise, {text(exceptionClass), text(message)});
}

/// Each match is by short name.
static Event scanOf(const std::string& key, const std::vector<std::string>& matches, std::uint32_t shortNames) {
  return scan({key, 99, 99, 0, shortNames, 0, matches});
}

static Event load(const std::string& path) {
  return call(CallId::Compiler_ensureSourceLoadedInActiveJit, {text(path), objectValue});
}

static Event typeByName(const Value& name) { return call(CallId::Orva_typeByName, {name}, {nullValue}); }

static Event search(const std::string& name, const std::string& source) {
  return call(CallId::ClassLoader_sourceFileForClass, {text(name), objectValue, nullValue}, {text(source)});
}

static Event lookUp(const std::string& name, const std::vector<Event>& inner) {
  return call(CallId::orva_ClassLoader_getTypeByName, {text(name)}, {nullValue}, inner);
}

static Event loadPlugin(const std::vector<Event>& inner) {
  return call(CallId::orva_ClassLoader_loadSourceClass, {text("f"), text("A")}, {nullValue}, inner);
}

static Event addRoot(const Value& path, const std::vector<Event>& inner) {
  return call(CallId::orva_ClassLoader_addSourceRoot, {path}, {number(0)}, inner);
}

/// The sentence for a name that `loadClass` does not find.
static std::string sentenceOf(const Value& name) {
  return explanationOf(
      call(CallId::orva_SystemClassLoader_loadClass, {objectValue, name}, {nullValue}, {typeByName(name)}));
}

TEST(Explanation, IsEmptyForANativeThatHasNotEnded) {
  for (const Ending ending : {Ending::open, Ending::abandoned, Ending::unknown, Ending::jumped}) {
    Event running = lookUp("A", {scanOf("A", {}, 0)});
    running.ending = ending;
    running.results.clear();
    EXPECT_EQ("", explanationOf(running));
  }
}

TEST(Explanation, SaysWhyANativeRaisedEvenBeforeItsEnd) {
  Event running = addRoot(nullValue, {raise("ValueException", "")});
  running.ending = Ending::jumped;
  EXPECT_EQ("raised: the class path root is null, and ClassLoader.addSourceRoot needs one", explanationOf(running));
}

/// Several entries with one name count as one match.
TEST(Explanation, DoesNotCallOneNameAmbiguous) {
  EXPECT_EQ(
      "raised: ClassLoader.getTypeByName failed while the trace shows no failing call of the host: 'std::bad_alloc'",
      explanationOf(lookUp("A", {scanOf("A", {"p.A", "p.A"}, 2), raise("Exception", "std::bad_alloc")})));
}

TEST(Explanation, ReportsAnAmbiguityWhoseSecondNameIsLost) {
  const Event scan = scanOf("A", std::vector<std::string>(mostMatches, "p.A"), 40);
  EXPECT_EQ("raised: 'A' is the short name of p.A and another type",
            explanationOf(lookUp("A", {scan, raise("ClassNotFoundException", "Ambiguous plugin entry type 'A'")})));
  // Only one name, because memory ran out.
  const std::string other = explanationOf(lookUp("A", {scan, raise("Exception", "std::bad_alloc")}));
  EXPECT_EQ(other.find("another type"), std::string::npos) << other;
}

TEST(Explanation, ClaimsNothingAboutLostEvents) {
  for (const Event& lossy :
       {lookUp("A<B>", {typeByName(text("A<B>"))}), lookUp("A", {typeByName(text("A"))}),
        lookUp("p.A", {scanOf("p.A", {}, 0), typeByName(text("p.A"))}), lookUp("A<", {}), lookUp("", {})}) {
    EXPECT_EQ("null: the trace does not show what ClassLoader.getTypeByName asked of the host", explanationOf(lossy));
  }
  for (const Event& lossy : {loadPlugin({load("f"), typeByName(text("A"))}),
                             loadPlugin({scanOf("A", {}, 0), load("f"), typeByName(text("A"))}),
                             loadPlugin({scanOf("A", {}, 0), load("f")})}) {
    EXPECT_EQ("null: the trace does not show what ClassLoader.loadSourceClass asked of the host", explanationOf(lossy));
  }
}

TEST(Explanation, PointsToTheEndOfTheTraceIfAllCallsOfANativeAreMissing) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (!calls[i].isNative || calls[i].result != ValueType::object) continue;
    const Event alone = call(static_cast<CallId>(i), {text("a"), text("A"), text("A")}, {nullValue});
    const std::string name(calls[i].name);
    EXPECT_EQ(explanationOf(alone), "null: the trace does not show what " + name + " asked of the host");
  }
}

/// A host may pass on the text of a nested native.
TEST(Explanation, DoesNotClaimTheFixedTextOfAnotherNative) {
  const std::string text = "Unknown native failure while loading package";
  EXPECT_EQ(
      "raised: 'A.ov', the source of 'A', could not be loaded: MyError '" + text + "'",
      explanationOf(lookUp("A", {search("A", "A.ov"), thrown(load("A.ov"), "MyError"), raise("Exception", text)})));
}

/// A load that calls natives itself.
TEST(Explanation, IgnoresNestedNatives) {
  Event outer = load("r/A.ov");
  outer.inner = {addRoot(nullValue, {raise("ValueException", "")}), lookUp("B", {typeByName(text("B"))})};
  EXPECT_EQ("null: 'r/A.ov', the source of 'A', was loaded, and the runtime still knows no such type",
            explanationOf(lookUp("A", {scanOf("A", {}, 0), search("A", "r/A.ov"), outer, typeByName(text("A"))})));
}

TEST(Explanation, StaysOnOneLine) {
  EXPECT_EQ("null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'A\\n\\x01\\x7F\xC3\xA9'",
            sentenceOf(text("A\n\x01\x7F\xC3\xA9")));
}

TEST(Explanation, MarksWhereATextIsCut) {
  Value name = text("Aaa");
  name.isCut = true;
  EXPECT_EQ("null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'Aaa…'", sentenceOf(name));
}

TEST(Explanation, DoesNotNameTheTypeOfAnObjectThatIsNotAnException) {
  Event thrower = thrown(call(CallId::Compiler_objectAbiVersion, {}), "");
  EXPECT_EQ(
      "threw: Compiler::objectAbiVersion() threw something that is not a C++ exception, and "
      "ClassLoader.objectAbiVersion catches nothing there",
      explanationOf(thrown(call(CallId::orva_ClassLoader_objectAbiVersion, {}, {}, {thrower}), "")));
}
