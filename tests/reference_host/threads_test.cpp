// Several threads load and look up at the same time, through the natives.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <set>
#include <thread>

#include "classloader/natives.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/values.h"
#include "workspace.h"

static constexpr int threadCount = 8;
static constexpr int classCount = 12;

/// Runs a function on eight threads that start together.
static void together(const std::function<void(int)>& work) {
  std::atomic<int> waiting{threadCount};
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) {
    threads.emplace_back([&, i] {
      for (--waiting; waiting > 0;) std::this_thread::yield();
      work(i);
    });
  }
  for (std::thread& each : threads) each.join();
}

static std::string className(int number) { return "p.C" + std::to_string(number); }

static void writeClasses() {
  for (int i = 0; i < classCount; ++i) {
    const std::string name = "C" + std::to_string(i);
    const std::string next = "C" + std::to_string((i + 1) % classCount);
    writeFile("p/" + name + ".ov", "package p; class " + name + " { static String name() { return \"" + name +
                                       "\"; }\n static String next() { return " + next + ".name(); } }");
  }
  writeFile("p/Box.ov", "package p; class Box<T> { static String of() { return \"box of \" + T.next(); } }");
}

TEST(Threads, LoadTheSameAndDifferentSourcesAtOnce) {
  const Workspace workspace;
  writeClasses();
  std::vector<std::set<void*>> found(classCount);
  std::mutex mutex;
  together([&](int thread) {
    for (int i = 0; i < classCount; ++i) {
      const int number = (i + thread * (thread % 2)) % classCount;
      void* type = orva_ClassLoader_getTypeByName(className(number).c_str());
      const std::string called = callText(className(number), "next");
      const std::lock_guard<std::mutex> lock(mutex);
      found[static_cast<std::size_t>(number)].insert(type);
      EXPECT_EQ(called, "C" + std::to_string((number + 1) % classCount));
    }
  });
  for (const std::set<void*>& types : found) {
    EXPECT_EQ(types.size(), 1U);
    EXPECT_EQ(types.count(nullptr), 0U);
  }
  EXPECT_EQ(typeCounts(), (std::vector<std::size_t>{classCount, classCount}));
}

TEST(Threads, MaterialiseTheSameInstancesAtOnce) {
  const Workspace workspace;
  writeClasses();
  together([&](int thread) {
    for (int i = 0; i < classCount; ++i) {
      const std::string argument = className((i + thread) % classCount);
      EXPECT_NE(orva_ClassLoader_getTypeByName(("p.Box<" + argument + ">").c_str()), nullptr);
      EXPECT_EQ(callText("p.Box<" + argument + ">", "of"), "box of C" + std::to_string((i + thread + 1) % classCount));
    }
  });
  EXPECT_EQ(typeCounts().front(), static_cast<std::size_t>(2 * classCount + 1));
}

TEST(Threads, AllButOneAreToldThatThePluginIsThere) {
  const Workspace workspace;
  writeFile("Plugin.ov", "class Plugin { }");
  std::atomic<int> loaded{0};
  std::atomic<int> told{0};
  together([&](int) {
    void* type = orva_ClassLoader_loadSourceClass("Plugin.ov", "Plugin");
    const auto pending = orva::runtime::takePendingException();
    loaded += type != nullptr && !pending ? 1 : 0;
    told += pending && pending->message == "Plugin entry type is already registered: Plugin" ? 1 : 0;
  });
  EXPECT_GE(loaded, 1);
  EXPECT_EQ(loaded + told, threadCount);
  EXPECT_EQ(typeCounts().front(), 1U);
}

TEST(Threads, FailuresOfOneDoNotReachTheOthers) {
  const Workspace workspace;
  writeClasses();
  writeFile("p/Bad.ov", "package p; class Bad { static int of() { return missing; } }");
  together([&](int thread) {
    for (int i = 0; i < classCount; ++i) {
      const bool isBad = (thread + i) % 2 == 0;
      orva_ClassLoader_getTypeByName(isBad ? "p.Bad" : className(i).c_str());
      EXPECT_EQ(orva::runtime::takePendingException().has_value(), isBad);
    }
  });
  EXPECT_EQ(typeCounts().front(), static_cast<std::size_t>(classCount));
}

TEST(Threads, PrecompileAndLoadAtOnce) {
  const Workspace workspace;
  writeClasses();
  together([&](int thread) {
    for (int i = 0; i < classCount; ++i) {
      const std::string file = "p/C" + std::to_string((i + thread) % classCount) + ".ov";
      orva::compiler::activeContext().loader.precompile(file);
      orva_ClassLoader_getTypeByName(className(i).c_str());
    }
  });
  EXPECT_EQ(typeCounts().front(), static_cast<std::size_t>(classCount));
  EXPECT_FALSE(orva::runtime::takePendingException().has_value());
}

TEST(Threads, PrecompileTheSameListAtOnce) {
  const Workspace workspace;
  writeClasses();
  std::vector<std::string> sources;
  std::vector<std::string> alone;
  for (int i = 0; i < classCount; ++i) {
    sources.push_back("p/C" + std::to_string(i) + ".ov");
    orva::compiler::activeContext().loader.precompile(sources.back());
    alone.push_back(readFile(orva::compiler::objectPathOf(sources.back())));
  }
  together([&](int) { orva::compiler::Compiler::precompileSources(sources, nullptr, nullptr); });
  for (std::size_t i = 0; i < sources.size(); ++i) {
    EXPECT_EQ(readFile(orva::compiler::objectPathOf(sources[i])), alone[i]) << sources[i];
  }
}

static void writeLibrary() {
  for (const std::string name : {"ClassLoader", "SystemClassLoader"}) {
    writeFile("lib/orva/" + name + ".ov", "package orva; class " + name + " { }");
  }
}

TEST(Threads, TheFirstCallsForTheSystemClassLoaderEachGetOne) {
  const Workspace workspace("lib");
  writeLibrary();
  std::set<void*> objects;
  std::mutex mutex;
  together([&](int) {
    void* object = orva_ClassLoader_getSystem();
    const std::lock_guard<std::mutex> lock(mutex);
    objects.insert(object);
  });
  EXPECT_EQ(objects.count(nullptr), 0U);
  EXPECT_EQ(objects.count(orva_ClassLoader_getSystem()), 1U);
  EXPECT_EQ(typeCounts().front(), 2U);
}

static void* listOf(const std::string& text) {
  orva::runtime::ArrayList* list = orva::runtime::newList();
  list->elements.push_back(orva::runtime::newText(text));
  return list;
}

/// Loads a plugin's source, and another's object, that no other thread loads.
static void loadOwnPlugins(const std::string& number) {
  EXPECT_NE(orva_ClassLoader_loadSourceClass(("Own" + number + ".ov").c_str(), ("Own" + number).c_str()), nullptr);
  const std::string source = "Built" + number + ".ov";
  orva_ClassLoader_precompileSources(listOf(source));
  void* objects = listOf(orva::compiler::objectPathOf(source));
  void* identities = listOf(orva::compiler::sourceIdentity(readFile(source)));
  EXPECT_NE(orva_ClassLoader_loadObjectBundle(objects, identities, ("Built" + number).c_str()), nullptr);
}

static void callEveryNative(const std::string& number) {
  void* system = orva_ClassLoader_getSystem();
  EXPECT_NE(system, nullptr);
  EXPECT_GT(orva_ClassLoader_objectAbiVersion(), 0);
  EXPECT_EQ(orva_ClassLoader_addSourceRoot(("root" + number).c_str()), 1);
  EXPECT_NE(orva_ClassLoader_getTypeByName(("Below" + number).c_str()), nullptr);
  EXPECT_NE(orva_ClassLoader_getTypeByName("p.Box<p.C0>"), nullptr);
  orva_SystemClassLoader_loadPackageTypes(system, "p");
  EXPECT_NE(orva_SystemClassLoader_loadClass(system, "p.C1"), nullptr);
  loadOwnPlugins(number);
  EXPECT_FALSE(orva::runtime::takePendingException().has_value());
}

TEST(Threads, CallEveryNativeAtOnce) {
  const Workspace workspace("lib");
  writeLibrary();
  writeClasses();
  for (int i = 0; i < threadCount; ++i) {
    const std::string number = std::to_string(i);
    writeFile("root" + number + "/Below" + number + ".ov", "class Below" + number + " { }");
    writeFile("Own" + number + ".ov", "class Own" + number + " { }");
    writeFile("Built" + number + ".ov", "class Built" + number + " { }");
  }
  together([](int thread) { callEveryNative(std::to_string(thread)); });
  // The library's two classes, the package with the generic class and its instance, and three classes for each thread.
  EXPECT_EQ(typeCounts().front(), static_cast<std::size_t>(2 + classCount + 2 + 3 * threadCount));
}
