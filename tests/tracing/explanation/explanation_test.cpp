// Tests each sentence once, with events made by hand; then tests what holds for all sentences.
#include "tracing/reader/explanation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace orva::tracing;

namespace {

// Values.

Value text(const std::string& bytes) {
  Value value;
  value.kind = StoredKind::text;
  value.text = bytes;
  return value;
}

Value number(std::int64_t count, StoredKind kind = StoredKind::integer) {
  Value value;
  value.kind = kind;
  value.number = count;
  return value;
}

const Value kNull;
const Value kObject = number(1, StoredKind::pointer);
const Value kTrue = number(1, StoredKind::truth);
const Value kFalse = number(0, StoredKind::truth);

Value list(const std::vector<std::string>& texts, std::int64_t more = 0) {
  Value value = number(static_cast<std::int64_t>(texts.size()) + more, StoredKind::count);
  for (const std::string& each : texts) value.elements.push_back(text(each));
  return value;
}

// Events.

Event call(CallId id, const std::vector<Value>& arguments, const std::vector<Value>& results = {}) {
  Event event;
  event.call = id;
  event.ending = Ending::returned;
  event.arguments = arguments;
  event.results = results;
  return event;
}

Event throwing(CallId id, const std::vector<Value>& arguments, const std::string& type = "MyError") {
  Event event = call(id, arguments);
  event.ending = Ending::threw;
  event.thrown = type;
  return event;
}

Event raise(const std::string& exceptionClass, const std::string& message) {
  return call(CallId::Orva_raise, {text(exceptionClass), text(message)});
}

Event lock() {
  Event event;
  event.kind = EventKind::lock;
  return event;
}

/// Each match is by short name.
Event scan(const std::string& key, std::int32_t count, const std::vector<std::string>& matches = {}) {
  Event event;
  event.kind = EventKind::scan;
  event.scan.key = key;
  event.scan.count = count;
  event.scan.matches = matches;
  event.scan.shortNames = static_cast<std::uint32_t>(matches.size());
  return event;
}

Event fullScan(const std::string& key, std::int32_t count) {
  Event event = scan(key, count);
  event.scan.fullNames = 1;
  event.scan.matches = {key};
  return event;
}

Event load(const std::string& path) {
  return call(CallId::Compiler_ensureSourceLoadedInActiveJit, {text(path), kObject});
}

Event failingLoad(const std::string& path) {
  return throwing(CallId::Compiler_ensureSourceLoadedInActiveJit, {text(path), kObject});
}

Event typeByName(const Value& name) { return call(CallId::Orva_typeByName, {name}, {kNull}); }

Event context() { return call(CallId::Compiler_activeRuntimeContext, {}, {kObject}); }

Event runtime() { return call(CallId::Runtime_getInstance, {}, {kObject}); }

Event search(const std::string& name, const std::string& source) {
  return call(CallId::ClassLoader_sourceFileForClass, {text(name), kObject, kNull}, {text(source)});
}

Event making(const std::string& name, const Value& isMade, const std::string& source = "") {
  return call(CallId::ClassLoader_materializeRuntimeGenericType, {text(name), text(""), text(""), kObject},
              {isMade, text(""), text(source)});
}

Event library(const std::string& path) { return call(CallId::Runtime_getStandardLibraryPath, {}, {text(path)}); }

Event allocation() { return call(CallId::Orva_allocObject, {text("SystemClassLoader")}, {kNull}); }

Event size(std::int64_t count) { return call(CallId::orva_collections_ArrayList_size, {kObject}, {number(count)}); }

Event element(std::int64_t index, const Value& value) {
  return call(CallId::orva_collections_ArrayList_operator_index, {kObject, number(index)}, {value});
}

Event bundle(const std::vector<std::string>& objects) {
  return call(CallId::Compiler_ensureObjectBundleLoadedInActiveJit, {list(objects), list(objects)});
}

Event validPackage(const std::string& name, const Value& answer) {
  return call(CallId::PackageLayout_isValidPackageName, {text(name)}, {answer});
}

Event roots(const Value& all) { return call(CallId::Runtime_getKlassPaths, {}, {all}); }

// Natives.

/// A native that returned null, or nothing where it returns nothing.
Event native(CallId id, const std::vector<Value>& arguments, const std::vector<Event>& inner) {
  Event event = call(id, arguments);
  if (descriptionOf(id).result != ValueType::nothing) event.results = {kNull};
  event.inner = inner;
  return event;
}

Event lookUp(const std::string& name, const std::vector<Event>& inner) {
  return native(CallId::orva_ClassLoader_getTypeByName, {text(name)}, inner);
}

Event system(const std::vector<Event>& inner) { return native(CallId::orva_ClassLoader_getSystem, {}, inner); }

Event root(const Value& path, const std::vector<Event>& inner) {
  return native(CallId::orva_ClassLoader_addSourceRoot, {path}, inner);
}

Event precompiling(const Value& files, const std::vector<Event>& inner) {
  return native(CallId::orva_ClassLoader_precompileSources, {files}, inner);
}

Event plugin(const std::string& entryType, const std::vector<Event>& inner) {
  return native(CallId::orva_ClassLoader_loadSourceClass, {text("f.ov"), text(entryType)}, inner);
}

Event bundled(const std::string& entryType, const std::vector<Event>& inner) {
  return native(CallId::orva_ClassLoader_loadObjectBundle, {kObject, kObject, text(entryType)}, inner);
}

Event package(const Value& name, const std::vector<Event>& inner) {
  return native(CallId::orva_SystemClassLoader_loadPackageTypes, {kObject, name}, inner);
}

Event leftBy(const std::string& type, Event event) {
  event.ending = Ending::threw;
  event.thrown = type;
  event.results.clear();
  return event;
}

struct Case {
  SentenceId id;
  std::string sentence;
  Event native;
};

std::vector<Case> nullsOfLookUps() {
  const Event unknown = typeByName(text("A"));
  const Event unknownInstance = typeByName(text("A<B>"));
  return {
      {SentenceId::missingName, "null: the name is empty, so only the runtime was asked, and it knows no such type",
       lookUp("", {typeByName(text(""))})},
      {SentenceId::missingName, "null: the name is null, so only the runtime was asked, and it knows no such type",
       native(CallId::orva_SystemClassLoader_loadClass, {kObject, kNull}, {typeByName(kNull)})},
      {SentenceId::unclosedName,
       "null: the name 'A<B' has '<' without '>', so only the runtime was asked, and it knows no such type",
       lookUp("A<B", {typeByName(text("A<B"))})},
      {SentenceId::noSource,
       "null: no registered type matches 'shop.Till', the class path holds no source for it, and the runtime knows no "
       "such type",
       lookUp("shop.Till", {scan("shop.Till", 3), context(), search("shop.Till", ""), typeByName(text("shop.Till"))})},
      {SentenceId::sourceWithoutType,
       "null: 'r/A.ov', the source of 'A', was loaded, and the runtime still knows no such type",
       lookUp("A", {scan("A", 3), context(), search("A", "r/A.ov"), load("r/A.ov"), unknown})},
      {SentenceId::registeredUnknown, "null: 'A' is registered as p.A, and the runtime knows no type 'A'",
       lookUp("A", {scan("A", 3, {"p.A"}), unknown})},
      {SentenceId::registeredUnknown, "null: 'p.A' is registered as p.A, and the runtime knows no type 'p.A'",
       lookUp("p.A", {fullScan("p.A", 3), typeByName(text("p.A"))})},
      {SentenceId::noInstance,
       "null: the type table has no ready 'A<B>', the compiler makes no such instance, and the runtime knows no such "
       "type",
       lookUp("A<B>", {lock(), context(), making("A<B>", kFalse), unknownInstance})},
      {SentenceId::instanceWithoutType,
       "null: 's.ov', the source of the instance 'A<B>', was loaded, and the runtime still knows no such type",
       lookUp("A<B>", {lock(), context(), making("A<B>", kTrue, "s.ov"), load("s.ov"), unknownInstance})},
      {SentenceId::instanceWithoutSource,
       "null: the compiler made the instance 'A<B>' and named no source for it, and the runtime knows no such type",
       lookUp("A<B>", {lock(), context(), making("A<B>", kTrue), load(""), unknownInstance})},
      {SentenceId::readyUnknown,
       "null: the type table has a ready 'A<B>', and the runtime knows no type of that spelling",
       lookUp("A<B>", {lock(), unknownInstance})},
  };
}

std::vector<Case> otherNulls() {
  const Event unknown = typeByName(text("A"));
  return {
      {SentenceId::runtimeOnly, "null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'A'",
       native(CallId::orva_SystemClassLoader_loadClass, {kObject, text("A")}, {unknown})},
      {SentenceId::entryUnknown,
       "null: the entry type 'A' is registered as p.A since the load, and the runtime knows no type 'p.A'",
       plugin("A", {scan("A", 3), load("f.ov"), scan("A", 4, {"p.A"}), typeByName(text("p.A"))})},
      {SentenceId::noObject, "null: Orva_allocObject returned null for SystemClassLoader, whose source is loaded",
       system({runtime(), library("/std"), load("a"), load("b"), allocation()})},
      {SentenceId::noLibrary,
       "null: Orva_allocObject returned null for SystemClassLoader, and the runtime names no standard library to load "
       "it from",
       system({runtime(), library(""), allocation()})},
      {SentenceId::unseen, "null: the trace does not show what ClassLoader.getTypeByName asked of the host",
       lookUp("A", {})},
  };
}

std::vector<Case> missingArguments() {
  const Event valueException = raise("ValueException", "");
  return {
      {SentenceId::missingArgument, "raised: the class path root is null, and ClassLoader.addSourceRoot needs one",
       root(kNull, {valueException})},
      {SentenceId::missingArgument, "raised: the entry type is empty, and ClassLoader.loadSourceClass needs one",
       plugin("", {valueException})},
      {SentenceId::missingArgument,
       "raised: the list of source files is null, and ClassLoader.precompileSources needs one",
       precompiling(kNull, {raise("Exception", "Source filename list is required")})},
      {SentenceId::missingArgument,
       "raised: the package name is empty, and SystemClassLoader.loadPackageTypes needs one",
       package(text(""), {validPackage("", kFalse), valueException})},
  };
}

std::vector<Case> refusals() {
  const Event valueException = raise("ValueException", "");
  const Event exception = raise("Exception", "vector::reserve");
  const Event missing = raise("ClassNotFoundException", "");
  const Event valid = validPackage("a.b", kTrue);
  return {
      {SentenceId::nullElement, "raised: element 1 of the list of source identities is null, counted from 0",
       bundled("A", {scan("A", 1), size(1), element(0, text("o")), size(2), element(0, text("i")), element(1, kNull),
                     raise("Exception", "Plugin source identity list cannot contain null")})},
      {SentenceId::endlessList,
       "raised: the list of source files says that it has 1152921504606846976 elements, for which there was no room: "
       "'vector::reserve'",
       precompiling(kObject, {size(1152921504606846976), exception})},
      {SentenceId::differentLengths,
       "raised: the list of object paths has 1 elements and the list of source identities 0, and each object needs its "
       "identity",
       bundled("A", {scan("A", 1), size(1), element(0, text("o")), size(-1), exception})},
      {SentenceId::badPackage, "raised: 'a/b' is not a package name that the host accepts",
       package(text("a/b"), {validPackage("a/b", kFalse), valueException})},
      {SentenceId::noRoots, "raised: the class path has no roots to search for the package 'a.b'",
       package(text("a.b"), {valid, runtime(), roots(list({})), missing})},
      {SentenceId::noPackage, "raised: no root of the class path has a folder for the package 'a.b': 'r', 's' and 't'",
       package(text("a.b"), {valid, runtime(), roots(list({"r", "s", "t"})), missing})},
      {SentenceId::unreadPackage, "raised: the folder of the package 'a.b' could not be listed: Input/output error",
       package(text("a.b"), {valid, runtime(), roots(list({"r"})),
                             raise("IOException", "Cannot enumerate package 'a.b': Input/output error")})},
      {SentenceId::refusedRoot,
       "raised: the runtime refused 'r' as a root, and it is not a folder that the program can reach",
       root(text("r"),
            {runtime(), call(CallId::Runtime_addKlassPath, {text("r")}, {kFalse}), raise("IOException", "")})},
  };
}

std::vector<Case> names() {
  const Event ambiguity = raise("Exception", "Ambiguous plugin entry type 'A'; use its fully qualified name");
  const Event missing = raise("ClassNotFoundException", "");
  return {
      {SentenceId::alreadyRegistered, "raised: the entry type 'A' is registered as p.A already, so nothing was loaded",
       plugin("A", {scan("A", 2, {"p.A"}), raise("IllegalStateException", "")})},
      {SentenceId::ambiguousName, "raised: 'Cart' is the short name of shop.Cart and toys.Cart",
       lookUp("Cart", {scan("Cart", 9, {"shop.Cart", "shop.Cart", "toys.Cart"}), ambiguity})},
      {SentenceId::ambiguousEntry,
       "raised: the entry type 'A' is the short name of p.A and q.A already, so nothing was loaded",
       bundled("A", {scan("A", 2, {"p.A", "q.A"}), ambiguity})},
      {SentenceId::ambiguousLoad,
       "raised: the entry type 'A' is the short name of p.A and q.A, which were registered during the load of the "
       "bundle of 'o'",
       bundled("A", {scan("A", 2), bundle({"o"}), scan("A", 4, {"p.A", "q.A"}), ambiguity})},
      {SentenceId::nothingRegistered,
       "raised: the entry type 'A' is not registered: loading 'f.ov' added no type to the 2 that there were",
       plugin("A", {scan("A", 2), load("f.ov"), scan("A", 2), missing})},
      {SentenceId::othersRegistered,
       "raised: the entry type 'A' is not registered: loading the empty bundle took the registry from 0 to 3 types, "
       "and "
       "none matches",
       bundled("A", {scan("A", -1), bundle({}), scan("A", 3), missing})},
  };
}

std::vector<Case> failedWork() {
  const Event broken = raise("Exception", "broken");
  const Event valid = validPackage("a", kTrue);
  return {
      {SentenceId::sourceFailed, "raised: 'r/A.ov', the source of 'A', could not be loaded: MyError 'broken'",
       lookUp("A", {scan("A", 1), context(), search("A", "r/A.ov"), failingLoad("r/A.ov"), broken})},
      {SentenceId::instanceFailed, "raised: the compiler could not make the instance 'A<B>': MyError 'broken'",
       lookUp("A<B>", {lock(), context(), throwing(CallId::ClassLoader_materializeRuntimeGenericType, {text("A<B>")}),
                       broken})},
      {SentenceId::searchFailed, "raised: the class path could not be searched for 'A': MyError 'broken'",
       lookUp("A", {scan("A", 1), context(), throwing(CallId::ClassLoader_sourceFileForClass, {text("A")}), broken})},
      {SentenceId::pluginFailed, "raised: the plugin in 'f.ov' could not be loaded: MyError 'broken'",
       plugin("A", {scan("A", 1), failingLoad("f.ov"), broken})},
      {SentenceId::precompilingFailed, "raised: 'x' and 'y' could not be precompiled: MyError 'broken'",
       precompiling(kObject, {throwing(CallId::Compiler_precompileSources, {list({"x", "y"})}), broken})},
      {SentenceId::libraryFailed,
       "raised: '/std/orva/ClassLoader.ov' of the standard library could not be loaded: MyError "
       "'broken'",
       system({runtime(), library("/std"), failingLoad("/std/orva/ClassLoader.ov"), broken})},
      {SentenceId::objectFailed, "raised: the runtime could not allocate a SystemClassLoader: MyError 'broken'",
       system({throwing(CallId::Orva_allocObject, {text("SystemClassLoader")}), broken})},
      {SentenceId::packageFileFailed,
       "raised: 'r/a/B.ov' of the package 'a' could not be loaded: MyError 'broken'; before it, 1 of the package's "
       "files "
       "were loaded",
       package(text("a"),
               {valid, runtime(), roots(list({"r"})), context(), load("r/a/A.ov"), failingLoad("r/a/B.ov"), broken})},
  };
}

std::vector<Case> failedCalls() {
  const Event broken = raise("Exception", "broken");
  const Event valid = validPackage("a", kTrue);
  return {
      {SentenceId::callFailed, "raised: Orva_typeByName('p.A') threw MyError 'broken'",
       plugin("A", {scan("A", 0), load("f.ov"), scan("A", 1, {"p.A"}), throwing(CallId::Orva_typeByName, {text("p.A")}),
                    broken})},
      {SentenceId::objectThrown,
       "raised: Compiler::ensureSourceLoadedInActiveJit('r/a/A.ov') threw int, which is not a std::exception, so its "
       "own "
       "message is lost",
       package(text("a"), {valid, throwing(CallId::Compiler_ensureSourceLoadedInActiveJit, {text("r/a/A.ov")}, "int"),
                           raise("Exception", "Unknown native failure while loading package")})},
      {SentenceId::raiseReplaced,
       "raised: Orva_raise threw MyError for ValueException 'bad', so another exception was raised instead",
       package(text("a"), {validPackage("a", kFalse),
                           throwing(CallId::Orva_raise, {text("ValueException"), text("bad")}), broken})},
      {SentenceId::unreadTable, "raised: the type table could not be searched for 'A<B>': 'Resource deadlock avoided'",
       lookUp("A<B>", {raise("ClassNotFoundException", "Resource deadlock avoided")})},
      {SentenceId::failedItself,
       "raised: ClassLoader.loadSourceClass failed while the trace shows no failing call of the host: 'std::bad_alloc'",
       plugin("A", {scan("A", 1), raise("Exception", "std::bad_alloc")})},
  };
}

std::vector<Case> exceptions() {
  return {
      {SentenceId::passed,
       "threw: Compiler::objectAbiVersion() threw MyError, and ClassLoader.objectAbiVersion catches nothing there",
       leftBy("MyError", native(CallId::orva_ClassLoader_objectAbiVersion, {},
                                {throwing(CallId::Compiler_objectAbiVersion, {})}))},
      {SentenceId::passed,
       "threw: Orva_typeByName('') threw MyError, and ClassLoader.getTypeByName catches nothing there",
       leftBy("MyError", lookUp("", {throwing(CallId::Orva_typeByName, {text("")})}))},
      {SentenceId::passedObject,
       "threw: Orva_typeByName('p.A') threw int, and ClassLoader.loadSourceClass catches nothing but std::exception",
       leftBy("int", plugin("A", {throwing(CallId::Orva_typeByName, {text("p.A")}, "int")}))},
      {SentenceId::raiseThrew, "threw: Orva_raise threw int instead of making ValueException 'bad' pending",
       leftBy("int", root(kNull, {throwing(CallId::Orva_raise, {text("ValueException"), text("bad")}, "int")}))},
      {SentenceId::threwItself,
       "threw: ClassLoader.addSourceRoot let std::bad_alloc out while the trace shows no failing call of the host",
       leftBy("std::bad_alloc", root(text("r"), {runtime()}))},
  };
}

std::vector<Case> allCases() {
  std::vector<Case> all;
  for (const std::vector<Case>& some : {nullsOfLookUps(), otherNulls(), missingArguments(), refusals(), names(),
                                        failedWork(), failedCalls(), exceptions()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

TEST(Explanation, SaysEachSentence) {
  for (const Case& each : allCases()) EXPECT_EQ(each.sentence, explanationOf(each.native));
}

TEST(Explanation, HasACaseForEachSentence) {
  const std::vector<Case> cases = allCases();
  for (std::size_t id = 0; id < sentences.size(); ++id) {
    const bool has = std::any_of(cases.begin(), cases.end(),
                                 [id](const Case& each) { return each.id == static_cast<SentenceId>(id); });
    EXPECT_TRUE(has) << sentences[id].pattern;
  }
}

TEST(Explanation, IsEmptyForWhatSucceeded) {
  Event found = lookUp("A", {scan("A", 1, {"A"}), call(CallId::Orva_typeByName, {text("A")}, {kObject})});
  found.results = {kObject};
  EXPECT_EQ("", explanationOf(found));
  Event refused = root(text("r"), {runtime(), call(CallId::Runtime_addKlassPath, {text("r")}, {kFalse})});
  refused.results = {number(0)};
  EXPECT_EQ("", explanationOf(refused));
  EXPECT_EQ("", explanationOf(precompiling(kObject, {size(0)})));
  EXPECT_EQ("", explanationOf(typeByName(text("A"))));
}

TEST(Explanation, IsEmptyForWhatHasNotEnded) {
  for (const Ending ending : {Ending::open, Ending::abandoned, Ending::unknown, Ending::jumped}) {
    Event running = lookUp("A", {scan("A", 1), context()});
    running.ending = ending;
    running.results.clear();
    EXPECT_EQ("", explanationOf(running));
  }
}

TEST(Explanation, SaysWhyItRaisedAlsoBeforeTheEnd) {
  Event running = root(kNull, {raise("ValueException", "")});
  running.ending = Ending::jumped;
  EXPECT_EQ("raised: the class path root is null, and ClassLoader.addSourceRoot needs one", explanationOf(running));
}

/// Several entries with one name count as one match.
TEST(Explanation, TakesOneNameForNoAmbiguity) {
  EXPECT_EQ(
      "raised: ClassLoader.getTypeByName failed while the trace shows no failing call of the host: 'std::bad_alloc'",
      explanationOf(lookUp("A", {scan("A", 2, {"p.A", "p.A"}), raise("Exception", "std::bad_alloc")})));
}

TEST(Explanation, ClaimsNothingOfEventsThatAreLost) {
  for (const Event& lossy : {lookUp("A<B>", {typeByName(text("A<B>"))}), lookUp("A", {typeByName(text("A"))}),
                             lookUp("p.A", {scan("p.A", 2), typeByName(text("p.A"))})}) {
    EXPECT_EQ("null: the trace does not show what ClassLoader.getTypeByName asked of the host", explanationOf(lossy));
  }
}

TEST(Explanation, PointsToTheEndOfTheTraceWhereAllCallsOfANativeAreMissing) {
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (!calls[i].isNative || calls[i].result != ValueType::object) continue;
    const Event alone = native(static_cast<CallId>(i), {text("a"), text("A"), text("A")}, {});
    const std::string name(calls[i].name);
    EXPECT_EQ(explanationOf(alone), "null: the trace does not show what " + name + " asked of the host");
  }
}

/// A host may pass the text of a nested native on.
TEST(Explanation, TakesAFixedTextForItsOwnOnly) {
  const std::string text = "Unknown native failure while loading package";
  EXPECT_EQ("raised: 'A.ov', the source of 'A', could not be loaded: MyError '" + text + "'",
            explanationOf(lookUp("A", {search("A", "A.ov"), failingLoad("A.ov"), raise("Exception", text)})));
}

/// A load that calls natives itself.
TEST(Explanation, LeavesNestedNativesToThemselves) {
  Event outer = load("r/A.ov");
  outer.inner = {root(kNull, {raise("ValueException", "")}), lookUp("B", {typeByName(text("B"))})};
  const std::string sentence =
      explanationOf(lookUp("A", {scan("A", 3), context(), search("A", "r/A.ov"), outer, typeByName(text("A"))}));
  EXPECT_EQ("null: 'r/A.ov', the source of 'A', was loaded, and the runtime still knows no such type", sentence);
}

TEST(Explanation, StaysOnOneLine) {
  const std::string name = "A\n\x01\x7F\xC3\xA9";
  EXPECT_EQ(
      "null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'A\\n\\x01\\x7F\xC3\xA9'",
      explanationOf(native(CallId::orva_SystemClassLoader_loadClass, {kObject, text(name)}, {typeByName(text(name))})));
}

/// The lines below it show the place in a source.
TEST(Explanation, KeepsTheFirstLineOfAMessage) {
  EXPECT_EQ("raised: the plugin in 'f.ov' could not be loaded: MyError 'f.ov:1:2: error: expected int…'",
            explanationOf(plugin("A", {scan("A", 1), failingLoad("f.ov"),
                                       raise("Exception", "f.ov:1:2: error: expected int\n  class\n  ^")})));
}

TEST(Explanation, ShowsWhereATextIsCut) {
  Value name = text("Aaa");
  name.isCut = true;
  EXPECT_EQ("null: SystemClassLoader.loadClass asks only the runtime, which knows no type 'Aaa…'",
            explanationOf(native(CallId::orva_SystemClassLoader_loadClass, {kObject, name}, {typeByName(name)})));
}

TEST(Explanation, CountsWhatAListKeepsNot) {
  EXPECT_EQ("raised: no root of the class path has a folder for the package 'a': 'r' and 7 more",
            explanationOf(package(text("a"), {roots(list({"r"}, 7)), raise("ClassNotFoundException", "")})));
}

TEST(Explanation, TellsOfAnAmbiguityWhoseSecondNameIsLost) {
  Event search = scan("A", 99, std::vector<std::string>(mostMatches, "p.A"));
  search.scan.shortNames = 40;
  EXPECT_EQ("raised: 'A' is the short name of p.A and another type",
            explanationOf(lookUp("A", {search, raise("ClassNotFoundException", "Ambiguous plugin entry type 'A'")})));
  // Only one name, because memory ran out.
  const std::string other = explanationOf(lookUp("A", {search, raise("Exception", "std::bad_alloc")}));
  EXPECT_EQ(other.find("another type"), std::string::npos) << other;
}

TEST(Explanation, NamesNoTypeOfWhatIsNotAnException) {
  Event thrower = throwing(CallId::Compiler_objectAbiVersion, {});
  thrower.thrown.reset();
  EXPECT_EQ(
      "threw: Compiler::objectAbiVersion() threw something that is not a C++ exception, and "
      "ClassLoader.objectAbiVersion catches nothing there",
      explanationOf(leftBy("", native(CallId::orva_ClassLoader_objectAbiVersion, {}, {thrower}))));
}

}  // namespace
