// Two simultaneous lookups. Checking for a type and loading it is not one step, so both threads may ask for the same
// source; the compiler makes this harmless.
#include "lookups.h"

#include <gtest/gtest.h>

#include <string>

using namespace scripted;

TEST(Lookups, OfTheSameMissingClass) {
  const Side circle = lookup("p.Circle", {{"loads it", loading("p.Circle", "cp/p/Circle.ov", 0), "p.Circle"},
                                          {"finds it", finding("p.Circle", 1), "p.Circle"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("cp/p/Circle.ov", "p.Circle");
  };
  expectOutcomes({world, circle, circle}, 912,
                 {"A loads it. B finds it. cp/p/Circle.ov compiled for A.",
                  "A finds it. B loads it. cp/p/Circle.ov compiled for B.",
                  "A loads it. B loads it. cp/p/Circle.ov compiled for A.",
                  "A loads it. B loads it. cp/p/Circle.ov compiled for B."});
}

TEST(Lookups, OfTheSameMissingClassBesideAnother) {
  const Side circle = lookup("p.Circle", {{"loads it", loading("p.Circle", "cp/p/Circle.ov", 1), "p.Circle"},
                                          {"finds it", finding("p.Circle", 2), "p.Circle"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.hasType("p.Square");
    host.defines("cp/p/Circle.ov", "p.Circle");
  };
  expectOutcomes({world, circle, circle}, 12854,
                 {"A loads it. B finds it. cp/p/Circle.ov compiled for A.",
                  "A finds it. B loads it. cp/p/Circle.ov compiled for B.",
                  "A loads it. B loads it. cp/p/Circle.ov compiled for A.",
                  "A loads it. B loads it. cp/p/Circle.ov compiled for B."});
}

TEST(Lookups, OfAShortNameAndOfAClassThatGetsIt) {
  const Side map = lookup("Map", {{"loads the class of the default package", loading("Map", "cp/Map.ov", 0), "Map"},
                                  {"finds the other class", finding("Map", 1), "b.Map"}});
  const Side other = lookup("b.Map", {{"loads it first", loading("b.Map", "cp/b/Map.ov", 0), "b.Map"},
                                      {"loads it second", loading("b.Map", "cp/b/Map.ov", 1), "b.Map"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("cp/Map.ov", "Map");
    host.defines("cp/b/Map.ov", "b.Map");
  };
  const std::string both = "cp/Map.ov compiled for A, cp/b/Map.ov compiled for B.";
  expectOutcomes({world, map, other}, 930,
                 {"A loads the class of the default package. B loads it first. " + both,
                  "A loads the class of the default package. B loads it second. " + both,
                  "A finds the other class. B loads it first. cp/b/Map.ov compiled for B."});
}

TEST(Lookups, OfAShortNameThatBecomesAmbiguous) {
  const std::string refusal = "Ambiguous plugin entry type 'Map'; use its fully qualified name";
  const Side map =
      lookup("Map", {{"finds the one class", finding("Map", 1), "a.Map"},
                     {"finds the one class, and the runtime two", finding("Map", 1), "null"},
                     {"is told that there are two", sequence(scan(2), raised("ClassNotFoundException", refusal)),
                      "null, ClassNotFoundException"}});
  const Side other = lookup("b.Map", {{"loads the second", loading("b.Map", "cp/b/Map.ov", 1), "b.Map"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.hasType("a.Map");
    host.defines("cp/b/Map.ov", "b.Map");
  };
  const std::string rest = ". B loads the second. cp/b/Map.ov compiled for B.";
  expectOutcomes({world, map, other}, 1303,
                 {"A finds the one class" + rest, "A finds the one class, and the runtime two" + rest,
                  "A is told that there are two" + rest});
}

static const std::string instance = "p.Box<p.Circle>";
static const std::vector<std::string> walkCalls{"lock(gReflectionMutex)", "unlock(gReflectionMutex)"};

static Side instanceLookup() {
  const auto materialised =
      sequence(walkCalls, "Compiler::activeRuntimeContext()",
               "ClassLoader::materializeRuntimeGenericType(\"" + instance + "\", \"\", \"\", active)",
               loaded("made/Box.ov", "active"), typeByName(instance));
  return lookup(instance, {{"materialises it", materialised, instance},
                           {"finds it ready", sequence(walkCalls, typeByName(instance)), instance}});
}

TEST(Lookups, OfTheSameMissingInstance) {
  const auto world = [](SteppedHost& host) { host.defines("made/Box.ov", instance); };
  expectOutcomes({world, instanceLookup(), instanceLookup()}, 1878,
                 {"A materialises it. B finds it ready. made/Box.ov compiled for A.",
                  "A finds it ready. B materialises it. made/Box.ov compiled for B.",
                  "A materialises it. B materialises it. made/Box.ov compiled for A.",
                  "A materialises it. B materialises it. made/Box.ov compiled for B."});
}

TEST(Lookups, OfTheSameReadyInstance) {
  const auto world = [](SteppedHost& host) { host.hasType(instance); };
  expectOutcomes({world, instanceLookup(), instanceLookup()}, 34,
                 {"A finds it ready. B finds it ready. nothing compiled."});
}

TEST(Lookups, OfAClassAndByTheSystemClassLoader) {
  const Side asking = {[](const SteppedHost& host) {
                         return host.endingWithType(orva_SystemClassLoader_loadClass(nullptr, "p.Circle"));
                       },
                       {{"is answered null", {typeByName("p.Circle")}, "null"},
                        {"is answered the class", {typeByName("p.Circle")}, "p.Circle"}}};
  const Side circle = lookup("p.Circle", {{"loads it", loading("p.Circle", "cp/p/Circle.ov", 0), "p.Circle"}});
  const auto world = [](SteppedHost& host) {
    host.hasRoot("cp");
    host.defines("cp/p/Circle.ov", "p.Circle");
  };
  expectOutcomes({world, asking, circle}, 28,
                 {"A is answered null. B loads it. cp/p/Circle.ov compiled for B.",
                  "A is answered the class. B loads it. cp/p/Circle.ov compiled for B."});
}
