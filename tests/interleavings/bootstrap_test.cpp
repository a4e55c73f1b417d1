// Two simultaneous first callers of the system class loader. Each may load the sources and allocate an object; the
// object that is stored last is kept.
#include <gtest/gtest.h>

#include <string>

#include "schedules.h"

using namespace scripted;

static const std::vector<std::string> askCalls{"Runtime::getInstance()", "Runtime::getStandardLibraryPath()"};
static const std::vector<std::string> loadCalls{loaded("/lib/orva/ClassLoader.ov", "empty"),
                                                loaded("/lib/orva/SystemClassLoader.ov", "empty")};
static const std::string allocation = "Orva_allocObject(\"SystemClassLoader\")";

/// A first caller called A or B, which makes the calls `before` its allocation.
static Side caller(const std::string& name, const std::string& other, const std::vector<std::string>& before) {
  return {[](const SteppedHost& host) { return host.endingWithObject(orva_ClassLoader_getSystem()); },
          {{"does all", sequence(before, allocation), name + "'s object"},
           {"only allocates", {allocation}, name + "'s object"},
           {"is handed " + other + "'s", {}, other + "'s object"}}};
}

/// Describes what a later caller gets. It must be the object that was stored last, without any call.
static std::string staying(const SteppedHost& host) {
  scripted::host().takeCalls();
  void* object = orva_ClassLoader_getSystem();
  const std::string stays = host.nameOfObject(object) + (host.isLatestObject(object) ? " stays" : " stays too long");
  return scripted::host().takeCalls().empty() ? stays : stays + ", and is asked for again";
}

static Pair callers(const std::string& library, const std::vector<std::string>& before) {
  const auto world = [library](SteppedHost& host) {
    host.hasLibrary(library);
    host.defines("/lib/orva/ClassLoader.ov", "orva.ClassLoader");
    host.defines("/lib/orva/SystemClassLoader.ov", "orva.SystemClassLoader");
  };
  return {world, caller("A", "B", before), caller("B", "A", before), staying, true};
}

TEST(Bootstrap, WithAStandardLibrary) {
  expectOutcomes(callers("/lib", sequence(askCalls, loadCalls)), 3380,
                 {"A does all. B is handed A's. A's object stays.", "A is handed B's. B does all. B's object stays.",
                  "A does all. B only allocates. A's object stays.", "A does all. B only allocates. B's object stays.",
                  "A only allocates. B does all. A's object stays.", "A only allocates. B does all. B's object stays.",
                  "A does all. B does all. A's object stays.", "A does all. B does all. B's object stays."});
}

TEST(Bootstrap, WithoutAStandardLibrary) {
  expectOutcomes(callers("", askCalls), 252,
                 {"A does all. B is handed A's. A's object stays.", "A is handed B's. B does all. B's object stays.",
                  "A does all. B does all. A's object stays.", "A does all. B does all. B's object stays."});
}
