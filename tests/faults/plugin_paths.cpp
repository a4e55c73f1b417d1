// The paths of loading a plugin's entry type, from a source file and from a bundle of object files.
#include <utility>

#include "classloader/natives.h"
#include "path.h"

namespace faults {

using namespace scripted;
using Strings = std::vector<std::optional<std::string>>;

static const Native kSource{"orva_ClassLoader_loadSourceClass", "Exception", {}, "null"};
static const Native kBundle{"orva_ClassLoader_loadObjectBundle", "Exception", {}, "null"};

static const char* const kFile = "/plugins/of/ours/TracingPlugin.ov";
static const char* const kShort = "TracingPluginWithALongName";
static const char* const kFull = "plugins.of.ours.TracingPluginWithALongName";
static const char* const kRival = "elsewhere.TracingPluginWithALongName";
static const Entry kOther{"Circle", "geometry.shapes.Circle"};

static std::string alreadyRegistered() {
  return raised("IllegalStateException", std::string("Plugin entry type is already registered: ") + kFull);
}

static std::string notRegistered() {
  return raised("ClassNotFoundException", std::string("Plugin entry type is not registered: ") + kShort);
}

static std::string ambiguous() {
  return raised("Exception", std::string("Ambiguous plugin entry type '") + kShort + "'; use its fully qualified name");
}

/// A load that registers these types; everything else that the paths need of the host.
static void arrangeHost(const std::vector<Entry>& before, const std::vector<Entry>& loaded, void* type) {
  host().registry = before;
  const auto load = [loaded] { host().registry.insert(host().registry.end(), loaded.begin(), loaded.end()); };
  host().load.always(load);
  host().loadBundle.always(load);
  host().typeByName.always(returns(type));
}

/// How one of the two natives is called, and what it does between the two looks at the registry.
struct Loader {
  const Native* native;
  Steps loads;
  std::function<Arranged()> arrange;
};

static Path loading(const Loader& loader, std::string name, std::vector<Entry> before, std::vector<Entry> loaded,
                    Course usual) {
  Path path;
  path.native = loader.native;
  path.name = std::move(name);
  path.bridged = true;
  path.usual = std::move(usual);
  void* const type = reinterpret_cast<void*>(path.usual.result);
  path.arrange = [arrange = loader.arrange, before = std::move(before), loaded = std::move(loaded), type] {
    arrangeHost(before, loaded, type);
    return arrange();
  };
  return path;
}

/// The paths that both natives have.
static std::vector<Path> loadings(const Loader& loader) {
  const Entry entry{kShort, kFull};
  const Entry rival{std::nullopt, kRival};
  const intptr_t type = asResult(token(4));
  const std::string found = typeByName(kFull);
  const Steps looks = steps(scan(1), loader.loads);
  return {loading(loader, "an entry type that the plugin registers", {kOther}, {entry},
                  {steps(looks, scan(2), found), {}, type, "as usual"}),
          loading(loader, "an entry type without a type object", {kOther}, {entry},
                  {steps(looks, scan(2), found), {}, 0, "as usual"}),
          loading(loader, "an entry type that is registered already", {kOther, entry}, {},
                  {steps(scan(2), alreadyRegistered()), {}, 0, "as usual"}),
          loading(loader, "an entry type that is ambiguous before the load", {entry, rival, kOther}, {},
                  {steps(scan(2)), steps(ambiguous()), 0, "as usual"}),
          loading(loader, "an entry type that the plugin does not register", {kOther}, {},
                  {steps(looks, scan(1), notRegistered()), {}, 0, "as usual"}),
          loading(loader, "an entry type that is ambiguous after the load", {kOther}, {entry, rival},
                  {steps(looks, scan(3)), steps(ambiguous()), 0, "as usual"})};
}

/// A call that its arguments end.
static Path refusedCall(const Native& native, std::string name, const std::string& text,
                        std::function<Arranged()> arrange) {
  Path path;
  path.native = &native;
  path.name = std::move(name);
  path.usual = {{}, steps(raised("ValueException", text)), 0, "as usual"};
  path.arrange = std::move(arrange);
  return path;
}

static Arranged sourceCall(const char* file, const char* entryType) {
  return {[file, entryType] { return asResult(orva_ClassLoader_loadSourceClass(file, entryType)); }, {}};
}

static Path refusedSource(std::string name, const char* file, const char* entryType) {
  return refusedCall(kSource, std::move(name), "Plugin source filename and entry type are required",
                     [file, entryType] { return sourceCall(file, entryType); });
}

static Arranged bundleCall(const Strings* paths, const Strings* identities, const char* entryType) {
  Arranged arranged;
  const auto list = [&arranged](const char* label, const Strings* elements) -> void* {
    if (elements == nullptr) return nullptr;
    arranged.lists.push_back(host().list(label, *elements));
    return arranged.lists.back();
  };
  void* const objects = list("objects", paths);
  void* const sources = list("identities", identities);
  arranged.call = [=] { return asResult(orva_ClassLoader_loadObjectBundle(objects, sources, entryType)); };
  return arranged;
}

static const Strings kObjects{"/plugins/of/ours/First.object", "/plugins/of/ours/Second.object"};
static const Strings kIdentities{"the-identity-of-the-first-source", "the-identity-of-the-second-source"};
static const Strings kNullAmong{"/plugins/of/ours/First.object", std::nullopt, "/plugins/of/ours/Third.object"};
static const Strings kNone;

static Path refusedBundle(std::string name, const Strings* paths, const Strings* identities, const char* entryType) {
  return refusedCall(kBundle, std::move(name), "Plugin object bundle, source identities and entry type are required",
                     [=] { return bundleCall(paths, identities, entryType); });
}

static std::string bundled(const Strings& paths, const Strings& identities) {
  const auto braced = [](const Strings& strings) {
    std::string text;
    for (const auto& element : strings) text += (text.empty() ? "" : ", ") + inQuotes(element->c_str());
    return '{' + text + '}';
  };
  return "Compiler::ensureObjectBundleLoadedInActiveJit(" + braced(paths) + ", " + braced(identities) + ')';
}

static Loader bundleLoader(const Strings& paths, const Strings& identities) {
  const auto size = [](const Strings& strings) { return static_cast<int64_t>(strings.size()); };
  return {&kBundle,
          steps(listRead("objects", size(paths)), listRead("identities", size(identities)), bundled(paths, identities)),
          [paths, identities] { return bundleCall(&paths, &identities, kShort); }};
}

/// A bundle whose lists are refused once `reading` of them was made.
static Path refusedLists(std::string name, const Strings& paths, const Strings& identities, const Steps& reading,
                         const std::string& text) {
  const Loader loader{&kBundle, {}, [paths, identities] { return bundleCall(&paths, &identities, kShort); }};
  return loading(loader, std::move(name), {kOther}, {},
                 {steps(scan(1), reading), steps(raised("Exception", text)), 0, "as usual"});
}

static std::vector<Path> bundlePaths() {
  std::vector<Path> paths{refusedBundle("null object paths", nullptr, &kIdentities, kShort),
                          refusedBundle("null source identities", &kObjects, nullptr, kShort),
                          refusedBundle("a null entry type", &kObjects, &kIdentities, nullptr),
                          refusedBundle("an empty entry type", &kObjects, &kIdentities, "")};
  for (Path& path : loadings(bundleLoader(kObjects, kIdentities))) paths.push_back(std::move(path));
  const Loader empty = bundleLoader(kNone, kNone);
  paths.push_back(
      loading(empty, "two empty lists", {}, {{kShort, kFull}},
              {steps(scan(0), empty.loads, scan(1), typeByName(kFull)), {}, asResult(token(4)), "as usual"}));
  paths.push_back(refusedLists("a null among the object paths", kNullAmong, kNullAmong, steps(listRead("objects", 2)),
                               "Plugin object path list cannot contain null"));
  paths.push_back(refusedLists("a null among the source identities", kObjects, kNullAmong,
                               steps(listRead("objects", 2), listRead("identities", 2)),
                               "Plugin source identity list cannot contain null"));
  paths.push_back(refusedLists("lists of different sizes", kObjects, {kIdentities.front()},
                               steps(listRead("objects", 2), listRead("identities", 1)),
                               "Plugin object and source identity lists must have the same size"));
  return paths;
}

std::vector<Path> pluginPaths() {
  const Loader source{&kSource, steps(loaded(kFile, "empty")), [] { return sourceCall(kFile, kShort); }};
  std::vector<Path> paths{refusedSource("a null file", nullptr, kShort), refusedSource("an empty file", "", kShort),
                          refusedSource("a null entry type", kFile, nullptr),
                          refusedSource("an empty entry type", kFile, "")};
  for (Path& path : loadings(source)) paths.push_back(std::move(path));
  for (Path& path : bundlePaths()) paths.push_back(std::move(path));
  return paths;
}

}  // namespace faults
