// This library on the reference host, beside its peers.
#include <array>
#include <deque>

#include "classloader/natives.h"
#include "measure.h"
#include "reference_host/compiler/context.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/runtime/pending_exception.h"
#include "reference_host/runtime/type_registry.h"
#include "reference_host/runtime/values.h"

namespace rt = orva::runtime;
using peers::Report;

// ---- lookups

/// Registers types without methods, as the initialisers of compiled classes do.
static void registerTypes(int from, int to) {
  std::deque<std::array<std::string, 2>> names;
  std::deque<rt::TypeDescriptor> descriptors;
  rt::Registration registration;
  registration.setSource(rt::Origin::named, "made");
  for (int i = from; i < to; ++i) {
    const std::string name = "Type" + std::to_string(i);
    const auto& [shortName, fullName] = names.emplace_back(std::array{name, "peers." + name});
    registration.add(descriptors.emplace_back(rt::TypeDescriptor{shortName.c_str(), fullName.c_str(), 0, nullptr}));
  }
  registration.commit();
}

using LookUp = void* (*)(const char*);

static void* loadClass(const char* name) { return orva_SystemClassLoader_loadClass(nullptr, name); }

static void find(const Report& report, const std::string& what, LookUp lookUp, int types, const std::string& prefix,
                 bool isKnown) {
  peers::Names names(prefix, types);
  report.add(isKnown ? "find_loaded" : "find_missing", what, peers::timeCalls([&] {
               peers::require((lookUp(names.next()) != nullptr) == isKnown, "a lookup returned a wrong result");
             }),
             types);
}

static void findTypes(const Report& report) {
  const std::string byName = "orva_ClassLoader_getTypeByName of a ";
  const std::string byRuntime = "orva_SystemClassLoader_loadClass of a full name";
  int registered = 0;
  for (const int types : peers::typeCounts) {
    registerTypes(registered, types);
    registered = types;
    find(report, byName + "full name", orva_ClassLoader_getTypeByName, types, "peers.Type", true);
    find(report, byName + "short name", orva_ClassLoader_getTypeByName, types, "Type", true);
    find(report, byRuntime, loadClass, types, "peers.Type", true);
    find(report, byName + "full name", orva_ClassLoader_getTypeByName, types, "peers.Other", false);
    find(report, byName + "short name", orva_ClassLoader_getTypeByName, types, "Other", false);
    find(report, byRuntime, loadClass, types, "peers.Other", false);
  }
}

// ---- loads

constexpr const char* classSource = R"(package peers;
public class NAME {
  public static int number() { return NUMBER; }
  public static String name() { return "NAME"; }
  public static int sum(int a, int b) { return a + b; }
  public static String greet(String who) { return "Hello, " + who; }
  public static boolean isSame(int a, int b) { return a == b; }
}
)";

static std::string sourceOf(const std::string& name, int number) {
  return peers::replaced(peers::replaced(classSource, "NAME", name), "NUMBER", std::to_string(number));
}

static void requireNothingRaised() {
  const auto raised = rt::takePendingException();
  if (raised) throw std::runtime_error(raised->className + ": " + raised->message);
}

static void requireWorks(void* type, int number) {
  if (type == nullptr) requireNothingRaised();
  const auto* method = type == nullptr ? nullptr : static_cast<const rt::Type*>(type)->find("number");
  peers::require(method != nullptr && method->call(nullptr, nullptr) == number, "a loaded class does not work");
}

static void loadSources(const Report& report, const std::string& root) {
  std::vector<std::string> names;
  for (int i = 0; i < peers::allLoads; ++i) {
    const std::string name = "Source" + std::to_string(i);
    names.push_back("peers." + name);
    peers::writeFile(root + "/peers/" + name + ".ov", sourceOf(name, i));
  }
  peers::require(orva_ClassLoader_addSourceRoot(root.c_str()) == 1, "the class path refuses a root");
  report.add("load_source", "orva_ClassLoader_getTypeByName of a class on the class path, and a call",
             peers::timeLoads([&names](int i) {
               const std::string& name = names[static_cast<std::size_t>(i)];
               requireWorks(orva_ClassLoader_getTypeByName(name.c_str()), i);
             }));
}

struct Bundle {
  std::string entryType;
  rt::ArrayList objects;
  rt::ArrayList identities;
};

static Bundle makeBundle(const std::string& folder, int number) {
  const std::string name = "Object" + std::to_string(number);
  const std::string path = folder + "/" + name + ".ov";
  const std::string text = sourceOf(name, number);
  peers::writeFile(path, text);
  rt::ArrayList sources{{path.c_str()}};
  orva_ClassLoader_precompileSources(&sources);
  requireNothingRaised();
  return {"peers." + name,
          {{rt::newText(orva::compiler::objectPathOf(path))}},
          {{rt::newText(orva::compiler::sourceIdentity(text))}}};
}

static void loadCompiled(const Report& report, const std::string& folder) {
  std::vector<Bundle> bundles;
  for (int i = 0; i < peers::allLoads; ++i) bundles.push_back(makeBundle(folder, i));
  report.add("load_compiled", "orva_ClassLoader_loadObjectBundle of one object, and a call",
             peers::timeLoads([&bundles](int i) {
               Bundle& bundle = bundles[static_cast<std::size_t>(i)];
               requireWorks(
                   orva_ClassLoader_loadObjectBundle(&bundle.objects, &bundle.identities, bundle.entryType.c_str()), i);
             }));
}

static void load(const Report& report, const std::string& folder) {
  loadSources(report, folder + "/sources");
  loadCompiled(report, folder + "/objects");
}

/// Lookups begin with an empty registry, and loads with a small one, so each kind needs its own process.
int main(int argc, char** argv) {
  return peers::runJobs([argc, argv] {
    const Report report("orva", ORVA_VERSION);
    orva::compiler::startHost(ORVA_STANDARD_LIBRARY);
    if (argc == 1) {
      findTypes(report);
    } else {
      load(report, argv[1]);
    }
  });
}
