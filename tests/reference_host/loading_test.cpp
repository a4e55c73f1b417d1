// Loading sources and bundles: each is loaded once, and either completely or not at all.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <algorithm>
#include <functional>
#include <future>
#include <iterator>
#include <set>
#include <system_error>
#include <thread>

#include "classloader/natives.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/compiler/workers.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"
#include "workspace.h"

namespace fs = std::filesystem;
using orva::compiler::activeContext;
using orva::runtime::findType;
using orva::runtime::Origin;
using Counts = std::vector<std::size_t>;

static void load(const std::string& path) { activeContext().loader.load(path, Origin::named); }

static void loadBundle(const std::vector<std::string>& sources) {
  std::vector<std::string> objects;
  std::vector<std::string> identities;
  for (const std::string& source : sources) {
    objects.push_back(orva::compiler::objectPathOf(source));
    identities.push_back(orva::compiler::sourceIdentity(readFile(source)));
  }
  activeContext().loader.loadBundle(objects, identities);
}

TEST(Loading, AFailedLoadLeavesNothingBehindAndTheRepairedFileLoads) {
  const Workspace workspace;
  const std::string good = "class Good { static String text() { return \"good\"; } }\n";
  writeFile("Bad.ov", good + "class Bad { static int number() { return missing; } }\n");
  EXPECT_EQ(failureOf([] { load("Bad.ov"); }),
            "Bad.ov:2:42: error: unknown variable 'missing'\n"
            "  class Bad { static int number() { return missing; } }\n"
            "                                           ^");
  writeFile("Bad.ov", good + "class Bad { static native void missing(); }\n");
  EXPECT_EQ(failureOf([] { load("Bad.ov"); }),
            "Bad.ov:2:32: error: native method 'Bad.missing' needs the symbol 'orva_Bad_missing', which the process "
            "does not define\n"
            "  class Bad { static native void missing(); }\n"
            "                                 ^");
  writeFile("Bad.ov", "class Bad { static native void one(); }\nclass Worse { static native void two(); }\n");
  EXPECT_EQ(failureOf([] { load("Bad.ov"); }),
            "Bad.ov:1:32: error: native method 'Bad.one' needs the symbol 'orva_Bad_one', which the process does not "
            "define\n"
            "  class Bad { static native void one(); }\n"
            "                                 ^\n"
            "Bad.ov:2:34: error: native method 'Worse.two' needs the symbol 'orva_Worse_two', which the process does "
            "not define\n"
            "  class Worse { static native void two(); }\n"
            "                                   ^");
  EXPECT_EQ(typeCounts(), (Counts{0, 0}));
  EXPECT_EQ(findType("Good"), nullptr);
  writeFile("Bad.ov", good + "class Bad { static String text() { return Good.text() + \" again\"; } }\n");
  load("Bad.ov");
  EXPECT_EQ(typeCounts(), (Counts{2, 2}));
  EXPECT_EQ(callText("Bad", "text"), "good again");
}

TEST(Loading, ASourceIsLoadedOnceUnderAllItsNames) {
  const Workspace workspace;
  writeFile("a/A.ov", "package a; class A { }");
  fs::create_symlink("A.ov", "a/link.ov");
  fs::create_directory_symlink("a", "b");
  const std::string absolute = (workspace.path() / "a/A.ov").string();
  for (const std::string& name : {std::string("a/A.ov"), std::string("./a/../a/A.ov"), std::string("a/link.ov"),
                                  std::string("b/A.ov"), std::string("b/link.ov"), absolute}) {
    load(name);
    EXPECT_EQ(typeCounts(), (Counts{1, 1})) << name;
  }
  EXPECT_EQ(findType("a.A")->source, "a/A.ov");
}

TEST(Loading, ASourceStaysLoadedWhenALinkTakesItsPlace) {
  const Workspace workspace;
  writeFile("a/A.ov", "package a; class A { }");
  load("a/A.ov");
  fs::rename("a", "moved");
  fs::create_directory_symlink("moved", "a");
  load("a/A.ov");
  fs::rename("moved/A.ov", "elsewhere.ov");
  fs::create_symlink("../elsewhere.ov", "moved/A.ov");
  load("a/A.ov");
  EXPECT_EQ(typeCounts(), (Counts{1, 1}));
}

TEST(Loading, APlaceIsCheckedWhateverIsLoadedAlready) {
  const Workspace workspace;
  const auto place = [](const std::string& path) {
    return failureOf([&] { activeContext().loader.load(path, Origin::classPath); });
  };
  const auto loadObject = [](const std::string& folder) {
    activeContext().loader.precompile(folder + "/M.ov");
    loadBundle({folder + "/M.ov"});
  };
  const std::vector<std::function<void(const std::string&)>> before = {
      [](const std::string&) {},
      [](const std::string& folder) { load(folder + "/M.ov"); },
      [](const std::string& folder) { load(folder + "/N.ov"); },
      [&](const std::string& folder) { place("./" + folder + "/M.ov"); },
      [&](const std::string& folder) { place(folder + "/N.ov"); },
      loadObject};
  for (std::size_t i = 0; i < before.size(); ++i) {
    const std::string folder = "k" + std::to_string(i);
    const std::string link = "l" + std::to_string(i);
    writeFile(folder + "/M.ov", "package " + folder + "; class M { }");
    fs::create_symlink("M.ov", folder + "/N.ov");
    fs::create_directory_symlink(folder, link);
    before[i](folder);
    EXPECT_EQ(place(folder + "/N.ov"), folder +
                                           "/N.ov:1:19: error: expected a class 'N', named after the file\n"
                                           "  package " +
                                           folder + "; class M { }\n                    ^");
    EXPECT_NE(place(link + "/M.ov").find("this file is in the directory of package '" + link), std::string::npos);
    EXPECT_EQ(place(folder + "/M.ov"), "nothing");
    EXPECT_NE(findType(folder + ".M"), nullptr);
  }
}

/// The error for loading a file that declares a class which it did not declare when it was loaded.
static std::string changed(const std::string& path, const std::string& className) {
  return "'" + path + "' was loaded earlier and has changed since: its class '" + className +
         "' is not loaded, because a file is loaded only once";
}

TEST(Loading, ASourceThatChangedBringsNoFurtherClass) {
  const Workspace workspace;
  writeFile("p/A.ov", "package p; class A { } class B { }");
  fs::create_symlink("A.ov", "p/link.ov");
  load("p/A.ov");
  // Loaded classes may be declared again, or be gone.
  for (const char* text : {"package p; class B { static void more() { } } class A { }", "package p; class A { }"}) {
    writeFile("p/A.ov", text);
    EXPECT_EQ(failureOf([] { load("p/A.ov"); }), "nothing") << text;
  }
  const std::vector<std::pair<std::string, std::string>> newClasses = {
      {"package p; class C { }", "p.C"},
      {"package p; class A { } class C { } class B { }", "p.C"},
      {"package p; class A<T> { } class C<T> { }", "p.C"},
      {"package q; class A { }", "q.A"},
      {"class A { static int number() { return missing; } }", "A"}};
  for (const auto& [text, name] : newClasses) {
    writeFile("p/A.ov", text);
    for (const std::string path : {"p/A.ov", "./p/../p/A.ov", "p/link.ov"}) {
      EXPECT_EQ(failureOf([&] { load(path); }), changed(path, name)) << text;
    }
  }
  writeFile("p/A.ov", "package p;\nclass { }");
  EXPECT_EQ(failureOf([] { load("p/A.ov"); }),
            "p/A.ov:2:7: error: expected a class name, found '{'\n"
            "  class { }\n"
            "        ^");
  writeFile("p/A.ov", "package p; class A { } class B { }");
  EXPECT_EQ(failureOf([] { load("p/A.ov"); }), "nothing");
  EXPECT_EQ(typeCounts(), (Counts{2, 2}));
}

TEST(Loading, TwoFilesCannotBringOneClass) {
  const Workspace workspace;
  writeFile("One.ov", "class One { }\nclass Same { }");
  writeFile("Two.ov", "class Two { }\nclass Same { }");
  load("One.ov");
  EXPECT_EQ(failureOf([] { load("Two.ov"); }),
            "Two.ov:2:7: error: type 'Same' is already loaded from One.ov\n"
            "  class Same { }\n"
            "        ^");
  EXPECT_EQ(typeCounts(), (Counts{2, 2}));
  EXPECT_EQ(findType("Two"), nullptr);
}

TEST(Loading, AFileThatTookThePlaceOfAnotherIsToldFromIt) {
  const Workspace workspace;
  for (const std::string& folder : {std::string("a/p"), std::string("b/p")}) {
    writeFile(folder + "/X.ov", "package p; class X { }");
    writeFile(folder + "/Y.ov", "package p; class Y { } /* " + folder + " */");
    activeContext().loader.precompile(folder + "/Y.ov");
  }
  fs::create_directory_symlink("a", "cur");
  load("cur/p/X.ov");
  loadBundle({"cur/p/Y.ov"});
  fs::remove("cur");
  fs::create_directory_symlink("b", "cur");
  for (const std::string path : {"cur/p/X.ov", "./cur/p/X.ov", "cur/p/../p/X.ov"}) {
    EXPECT_EQ(failureOf([&] { load(path); }),
              path + ":1:18: error: type 'p.X' is already loaded from an earlier file of the same name\n" +
                  "  package p; class X { }\n                   ^");
  }
  EXPECT_EQ(failureOf([] { loadBundle({"cur/p/Y.ov"}); }),
            "Type 'p.Y' in cur/p/Y.o is already loaded from an earlier file of the same name");
  // Another name makes clear which file is meant.
  EXPECT_EQ(failureOf([] { load("b/p/X.ov"); }).find("b/p/X.ov:1:18: error: type 'p.X' is already loaded from cur/p/"),
            0U);
}

TEST(Loading, RecordsAreReadyAndSpellInstancesInFull) {
  const Workspace workspace;
  writeFile("c/Box.ov", "package c; class Box<T> { static String of() { return T.text(); } }");
  writeFile("g/Circle.ov", "package g; class Circle { static String text() { return \"circle\"; } }");
  const void* box = orva_ClassLoader_getTypeByName("c.Box< g.Circle >");
  ASSERT_NE(box, nullptr);
  EXPECT_EQ(callText("c.Box<g.Circle>", "of"), "circle");
  ASSERT_EQ(gTypes.size(), 3U);
  const auto names = [](const TypeRecord& record) {
    return std::vector<std::string>{record.name1, record.name2, record.name3, record.name4};
  };
  EXPECT_EQ(names(gTypes[0]), (std::vector<std::string>{"Box", "c.Box", "", ""}));
  EXPECT_EQ(names(gTypes[1]), (std::vector<std::string>{"", "c.Box<g.Circle>", "", ""}));
  EXPECT_EQ(gTypes[1].type, box);
  for (const TypeRecord& each : gTypes) EXPECT_TRUE(isReady(each)) << each.name2;
}

TEST(Loading, PointersHandedOutStayValid) {
  const Workspace workspace;
  writeFile("First.ov", "class First { }");
  load("First.ov");
  const char* name = Reflection_getTypeName(0);
  const char* fullName = Reflection_getTypeFullName(0);
  const void* type = Orva_typeByName("First");
  std::string many;
  for (int i = 0; i < 300; ++i) many += "class Other" + std::to_string(i) + " { }\n";
  writeFile("Many.ov", many);
  load("Many.ov");
  EXPECT_EQ(typeCounts(), (Counts{301, 301}));
  EXPECT_STREQ(name, "First");
  EXPECT_STREQ(fullName, "First");
  EXPECT_EQ(Reflection_getTypeName(0), name);
  EXPECT_EQ(Reflection_getTypeFullName(0), fullName);
  EXPECT_EQ(Orva_typeByName("First"), type);
}

/// The message of the language exception that a call throws.
static std::string messageOf(const std::string& fullName, const std::string& method) {
  try {
    callMethod(fullName, method);
  } catch (const orva::runtime::Thrown& thrown) {
    return thrown.exception->message;
  }
  return "nothing";
}

TEST(Loading, CallersOfAClassThatChangedAreTold) {
  const Workspace workspace;
  writeFile("Thrower.ov",
            "class Thrower {\n"
            "  static native Thrower own();\n"
            "  static int number() { return 1; }\n"
            "  static void nothing() { }\n"
            "  static void gone() { }\n"
            "  int both(int a, String b) { return 1; }\n"
            "  static int more(int a) { return 1; }\n"
            "}");
  writeFile("Caller.ov",
            "class Caller {\n"
            "  static int number() { return Thrower.number(); }\n"
            "  static void nothing() { Thrower.nothing(); }\n"
            "  static void gone() { Thrower.gone(); }\n"
            "  static int both() { return Thrower.own().both(1, null); }\n"
            "  static int more() { return Thrower.more(1); }\n"
            "}");
  load("Caller.ov");
  writeFile("Thrower.ov",
            "class Thrower {\n"
            "  static native Thrower own();\n"
            "  static int number(int a) { return 1; }\n"
            "  static int nothing() { return 1; }\n"
            "  static int both(int a, String b) { return 1; }\n"
            "  static int more(String a) { return 1; }\n"
            "}");
  const std::string begin = "Type 'Thrower' in ./Thrower.ov has no method '";
  const std::string end = "', which its caller was compiled against";
  EXPECT_EQ(messageOf("Caller", "number"), begin + "static int number()" + end);
  EXPECT_EQ(messageOf("Caller", "nothing"), begin + "static void nothing()" + end);
  EXPECT_EQ(messageOf("Caller", "gone"), begin + "static void gone()" + end);
  EXPECT_EQ(messageOf("Caller", "both"), begin + "int both(int, String)" + end);
  EXPECT_EQ(messageOf("Caller", "more"), begin + "static int more(int)" + end);
}

TEST(Loading, CallersOfAClassThatIsGoneAreTold) {
  const Workspace workspace;
  writeFile("Callee.ov", "class Callee { static int number() { return 1; } }");
  writeFile("Box.ov", "class Box<T> { static int number() { return 1; } }");
  writeFile("Caller.ov", "class Caller { static int number() { return Callee.number(); } }");
  writeFile("Holder.ov", "class Holder<T> { static int number() { return T.number(); } }");
  load("Caller.ov");
  ASSERT_NE(orva_ClassLoader_getTypeByName("Holder<Box<int>>"), nullptr);
  fs::remove("Callee.ov");
  fs::remove("Box.ov");
  orva::compiler::ClassLoader::invalidateKlassPathCaches();
  EXPECT_EQ(messageOf("Caller", "number"), "Class not found: Callee");
  EXPECT_EQ(messageOf("Holder<Box<int>>", "number"), "Class not found: Box<int>");
}

TEST(Loading, ASourceBelowSeveralRootsMayDeclareThePackageOfAny) {
  const Workspace workspace;
  // The package of the folder a/b/c below each of several nested roots.
  const std::vector<std::pair<std::string, std::string>> all = {
      {"./", "a.b.c"}, {"a", "b.c"}, {"./a/b", "c"}, {"a/b/c/", ""}};
  fs::create_directories("a/b/c");
  for (unsigned chosen = 1; chosen < 1U << all.size(); ++chosen) {
    orva::compiler::ClassPath classPath("");
    std::set<std::string> packages;
    for (std::size_t i = 0; i < all.size(); ++i) {
      if ((chosen >> i & 1) == 0) continue;
      EXPECT_TRUE(classPath.add(all[i].first));
      packages.insert(all[i].second);
    }
    orva::compiler::Loader loader(classPath, activeContext().engine, activeContext().generics);
    int number = 0;
    for (const char* package : {"", "a", "b", "c", "a.b", "b.c", "a.b.c", "a.c", "b.c.a", "x.a.b.c"}) {
      const std::string name = "C" + std::to_string(chosen) + "x" + std::to_string(number++);
      const std::string file = "./a/b/c/" + name + ".ov";
      writeFile(file, (*package == '\0' ? "" : "package " + std::string(package) + "; ") + "class " + name + " { }");
      const std::string failure = failureOf([&] { loader.load(file, Origin::classPath); });
      EXPECT_EQ(failure == "nothing", packages.count(package) != 0) << file << " of package " << package;
    }
  }
}

TEST(Loading, ASourceIsToldWhatItHasToDeclare) {
  const Workspace workspace;
  const std::vector<std::vector<std::string>> faults = {
      {"a/b/C.ov", "", "the directory of package 'a.b': expected 'package a.b;'"},
      {"a/C.ov", "", "the directory of package 'a': expected 'package a;'"},
      {"a/C.ov", "package b; ", "the directory of package 'a': it cannot declare package 'b'"},
      {"C.ov", "package a; ", "a root of the class path: it cannot declare package 'a'"}};
  for (const auto& fault : faults) {
    writeFile(fault[0], fault[1] + "class C { }");
    const std::string text = failureOf([&] { activeContext().loader.load("./" + fault[0], Origin::classPath); });
    EXPECT_NE(text.find("error: this file is in " + fault[2] + "\n"), std::string::npos) << text;
  }
}

TEST(Loading, ASourceInNoPackageOfItsIsToldTheNearest) {
  const Workspace workspace;
  fs::create_directories("plugins/text");
  EXPECT_TRUE(activeContext().classPath.add("plugins"));
  const auto toldTo = [](const std::string& package) {
    writeFile("plugins/text/Upper.ov", package + "class Upper { }");
    const std::string text =
        failureOf([] { activeContext().loader.load("./plugins/text/Upper.ov", Origin::classPath); });
    const std::string begin = "this file is in the directory of package '";
    const std::size_t at = text.find(begin);
    return at == std::string::npos ? text : text.substr(at + begin.size(), text.find("':", at) - at - begin.size());
  };
  EXPECT_EQ(toldTo("package plugin.text; "), "plugins.text");
  EXPECT_EQ(toldTo("package plugins.txt; "), "plugins.text");
  EXPECT_EQ(toldTo("package test; "), "text");
  EXPECT_EQ(toldTo(""), "text");
}

TEST(Loading, ASourceOutsideOfEveryRootMayDeclareAnyPackage) {
  const Workspace workspace;
  const std::string outside = workspace.path().string() + ".ov";
  writeFile(outside, "package far.away; class Stranger { }");
  activeContext().loader.load(outside, Origin::classPath);
  fs::remove(outside);
  EXPECT_NE(findType("far.away.Stranger"), nullptr);
}

/// Writes files of classes that call each other; returns their paths.
static std::vector<std::string> writeSources(int count) {
  std::vector<std::string> paths;
  for (int i = 0; i < count; ++i) {
    const std::string name = "C" + std::to_string(i);
    const std::string next = "C" + std::to_string((i + 1) % count);
    paths.push_back(name + ".ov");
    writeFile(paths.back(), "class " + name + " { static String next() { return \"\" + " + next + ".next(); } }\n" +
                                "class Near" + name + " { static native int at(String text); }\n");
  }
  return paths;
}

static void precompile(const std::vector<std::string>& paths) {
  orva::compiler::Compiler::precompileSources(paths, nullptr, nullptr);
}

TEST(Precompiling, BuildsTheSameObjectsTogetherAsAlone) {
  const Workspace workspace;
  const std::vector<std::string> sources = writeSources(30);
  std::vector<std::string> alone;
  for (const std::string& source : sources) {
    activeContext().loader.precompile(source);
    alone.push_back(readFile(orva::compiler::objectPathOf(source)));
    fs::remove(orva::compiler::objectPathOf(source));
  }
  precompile(sources);
  for (std::size_t i = 0; i < sources.size(); ++i) {
    EXPECT_EQ(readFile(orva::compiler::objectPathOf(sources[i])), alone[i]) << sources[i];
  }
}

TEST(Precompiling, AnObjectHasTheSizeOfItsSourceHoweverLongTheLinesAre) {
  const Workspace workspace;
  std::map<char, std::uintmax_t> sizes;
  for (const char between : {'\n', ' '}) {
    std::string source;
    for (int i = 0; i < 400; ++i) {
      source += "class C" + std::to_string(i) + " { static void m() { Console.print(\"\"); } }" + between;
    }
    writeFile("Classes.ov", "class Classes { }" + source);
    precompile({"Classes.ov"});
    sizes[between] = fs::file_size("Classes.o");
  }
  EXPECT_LT(sizes[' '], 3 * sizes['\n']);
}

TEST(Precompiling, StopsAtTheFirstFileThatFails) {
  const Workspace workspace;
  const std::vector<std::string> sources = writeSources(20);
  // The later one fails sooner, because it does not exist.
  std::string much;
  for (int i = 0; i < 300; ++i) much += "static int m" + std::to_string(i) + "(int a) { return a + 1; }\n";
  writeFile("C10.ov", "class C10 { " + much + " static int last() { return missing; } }");
  fs::remove("C11.ov");
  EXPECT_EQ(failureOf([&] { precompile(sources); }),
            "C10.ov:301:29: error: unknown variable 'missing'\n"
            "   static int last() { return missing; } }\n"
            "                              ^");
  for (int i = 0; i < 20; ++i) EXPECT_EQ(fs::exists("C" + std::to_string(i) + ".o"), i < 10) << i;
}

TEST(Precompiling, TellsOfEachSourceThatIsDoneAndStopsWhenTheListenerThrows) {
  const Workspace workspace;
  int done = 0;
  const auto listener = [&done](const orva::compiler::Compiler::CompilationProgress&) {
    EXPECT_TRUE(fs::exists("C" + std::to_string(done++) + ".o"));
    if (fs::exists("C5.o")) throw std::runtime_error("enough");
  };
  EXPECT_EQ(failureOf([&] { orva::compiler::Compiler::precompileSources(writeSources(20), nullptr, listener); }),
            "enough");
  EXPECT_EQ(done, 6);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(fs::exists("C" + std::to_string(i) + ".o"), i < 6) << i;
}

TEST(Precompiling, GoesOnWithoutThreads) {
  const Workspace workspace;
  const std::vector<std::string> sources = writeSources(5);
  // No address space has room for such a stack.
  pthread_attr_t huge;
  ASSERT_EQ(pthread_attr_init(&huge), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 47U), 0);
  ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
  EXPECT_THROW(std::thread([] {}).join(), std::system_error);
  precompile(sources);
  for (const std::string& source : sources) EXPECT_TRUE(fs::exists(orva::compiler::objectPathOf(source)));
}

static std::size_t threadCount() {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator("/proc/self/task"), fs::directory_iterator()));
}

/// The number of threads that work with a number of free descriptors.
static std::size_t workersWith(std::size_t freeDescriptors) {
  rlimit before{};
  EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit limit{0, before.rlim_max};
  for (std::size_t free = 0; free < freeDescriptors; ++limit.rlim_cur) {
    if (fcntl(static_cast<int>(limit.rlim_cur), F_GETFD) == -1) ++free;
  }
  const std::size_t others = threadCount();
  std::promise<void> counted;
  const std::shared_future<void> isCounted = counted.get_future();
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
  orva::compiler::Workers workers(1000, [&](std::size_t) { isCounted.wait(); });
  EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  // The caller works too.
  const std::size_t count = threadCount() - others + 1;
  counted.set_value();
  return count;
}

TEST(Precompiling, StartsOnlyThreadsThatHaveDescriptors) {
  const std::size_t all = workersWith(500);
  EXPECT_GE(all, 1U);
  for (std::size_t free = 0; free < 2 * all + 2; ++free) {
    // Each needs two, to write an object.
    EXPECT_EQ(workersWith(free), std::max<std::size_t>(std::min(all, free / 2), 1)) << free;
  }
}

TEST(Bundles, BindTheNativesOfTheProcess) {
  const Workspace workspace;
  writeFile("Thrower.ov", "class Thrower { static native boolean truth(int value); }");
  activeContext().loader.precompile("Thrower.ov");
  loadBundle({"Thrower.ov"});
  EXPECT_EQ(callMethod("Thrower", "truth", {0}), 0);
  EXPECT_EQ(callMethod("Thrower", "truth", {5}), 1);
}

TEST(Bundles, BringWhatTheirUnchangedSourcesDeclare) {
  const Workspace workspace;
  writeFile("A.ov", "class A { }");
  activeContext().loader.precompile("A.ov");
  activeContext().loader.loadBundle({"A.o"}, {orva::compiler::sourceIdentity("class A { }")});
  load("A.ov");
  EXPECT_EQ(typeCounts(), (Counts{1, 1}));
  writeFile("A.ov", "class A { static void changed() { } }");
  EXPECT_EQ(failureOf([] { load("A.ov"); }),
            "A.ov:1:7: error: type 'A' is already loaded from A.o\n"
            "  class A { static void changed() { } }\n"
            "        ^");
}

TEST(Bundles, AnObjectThatChangedBringsNoFurtherClass) {
  const Workspace workspace;
  const auto rebuild = [](const std::string& text) {
    writeFile("A.ov", text);
    activeContext().loader.precompile("A.ov");
    return failureOf([] { loadBundle({"A.ov"}); });
  };
  EXPECT_EQ(rebuild("package p; class A { } class B { }"), "nothing");
  EXPECT_EQ(rebuild("package p; class A { static void more() { } }"), "nothing");
  EXPECT_EQ(rebuild("package p; class B { } class A { }"), "nothing");
  EXPECT_EQ(rebuild("package p; class A { } class C { }"), changed("A.o", "p.C"));
  EXPECT_EQ(rebuild("package q; class A<T> { }"), changed("A.o", "q.A"));
  EXPECT_EQ(typeCounts(), (Counts{2, 2}));
}

TEST(Bundles, AreLoadedAllOrNothing) {
  const Workspace workspace;
  writeFile("One.ov", "class One { static String text() { return \"one\"; } }");
  writeFile("Two.ov", "class Two { static native void missing(); }");
  writeFile("Three.ov", "class Three { }\nclass One { }");
  for (const char* source : {"One.ov", "Two.ov", "Three.ov"}) {
    activeContext().loader.precompile(source);
  }
  EXPECT_EQ(failureOf([] { loadBundle({"One.ov", "Two.ov"}); }),
            "Two.o: a native method needs the symbol 'orva_Two_missing', which the process does not define");
  EXPECT_EQ(failureOf([] { loadBundle({"One.ov", "Three.ov"}); }),
            "Type 'One' in Three.o is already loaded from One.o");
  EXPECT_EQ(typeCounts(), (Counts{0, 0}));
  loadBundle({"One.ov"});
  loadBundle({"One.ov", "One.ov"});
  EXPECT_EQ(typeCounts(), (Counts{1, 1}));
  EXPECT_EQ(callText("One", "text"), "one");
}

/// A different file of that name is not the source of the class, nor is one that has changed since the object was
/// built.
TEST(Bundles, AGenericClassOfAnObjectTakesNoOtherSource) {
  const Workspace workspace;
  const std::string source = "package a; class G<T> { static String id() { return \"right\"; } }  class E { }";
  writeFile("plug/a/G.ov", source);
  activeContext().loader.precompile("plug/a/G.ov");
  loadBundle({"plug/a/G.ov"});
  const auto refused = [](const std::string& request) {
    EXPECT_EQ(orva_ClassLoader_getTypeByName(request.c_str()), nullptr);
    return orva::runtime::takePendingException().value_or(orva::runtime::PendingException{}).message;
  };
  for (const char* other : {"package a; class G<T> { static String id() { return \"wrong\"; } }",
                            "package a; class G<T> { } class E { } class H { }"}) {
    writeFile("a/G.ov", other);
    for (const char* request : {"a.G<String>", "G<int>"}) {
      EXPECT_EQ(
          refused(request),
          "Class 'a.G' was loaded from plug/a/G.o: its instances need the source that the object was built from, and "
          "'./a/G.ov' is a different one or has changed since");
    }
  }
  const auto expectRight = [](const std::string& instance) {
    ASSERT_NE(orva_ClassLoader_getTypeByName(instance.c_str()), nullptr);
    EXPECT_EQ(callText(instance, "id"), "right");
  };
  writeFile("a/G.ov", source);
  expectRight("a.G<String>");
  // The refused sources were elsewhere, so the class is looked up again.
  fs::remove("a/G.ov");
  writeFile("other/a/G.ov", source);
  orva_ClassLoader_addSourceRoot("other");
  expectRight("a.G<int>");
}

TEST(Bundles, AClassOfAnObjectThatIsNotGenericHasNoInstances) {
  const Workspace workspace;
  writeFile("plug/a/E.ov", "package a; class E { } class G { }");
  activeContext().loader.precompile("plug/a/E.ov");
  loadBundle({"plug/a/E.ov"});
  writeFile("a/G.ov", "package a; class G<T> { }");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("a.G<String>"), nullptr);
  EXPECT_NE(orva::runtime::takePendingException(), std::nullopt);
}

TEST(Bundles, AGenericClassOfAnObjectNeedsItsSourceForInstances) {
  const Workspace workspace;
  writeFile("c/Box.ov",
            "package c; class Box<T> { static String of() { return Near.text(); } }\n"
            "class Near { static String text() { return \"near\"; } }");
  writeFile("Circle.ov", "class Circle { }");
  activeContext().loader.precompile("c/Box.ov");
  loadBundle({"c/Box.ov"});
  fs::rename("c/Box.ov", "c/Hidden.ov");
  EXPECT_EQ(orva_ClassLoader_getTypeByName("Box<Circle>"), nullptr);
  EXPECT_EQ(orva::runtime::takePendingException().value_or(orva::runtime::PendingException{}).message,
            "Class 'c.Box' was loaded from c/Box.o: its instances need its source file on the class path");
  fs::rename("c/Hidden.ov", "c/Box.ov");
  orva::compiler::ClassLoader::invalidateKlassPathCaches();
  ASSERT_NE(orva_ClassLoader_getTypeByName("Box<Circle>"), nullptr);
  EXPECT_EQ(callText("c.Box<Circle>", "of"), "near");
}
