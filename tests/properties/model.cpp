// The rules of the natives, in the order of `natives.h`, after what they share.
#include "model.h"

#include <cerrno>
#include <system_error>

#include "file_rules.h"
#include "tests/scripted_host/standard_library.h"
#include "world_text.h"

namespace model {
using Text = std::optional<std::string>;
static const Text noText;

namespace {

/// What a call to the host, or a rule, throws: a `std::exception` with a text, or another object.
struct Thrown {
  bool isException;
  std::string text;
};

}  // namespace

[[noreturn]] static void fail(const std::string& text) { throw Thrown{true, text}; }

/// The most strings that a vector can hold: they fill half of a 64-bit address space.
static constexpr int64_t mostStrings = INT64_MAX / static_cast<int64_t>(sizeof(std::string));

static std::string compacted(const std::string& name) {
  std::string compact;
  for (const char byte : name) {
    const bool blank = byte == ' ' || (byte >= '\t' && byte <= '\r');
    if (!blank) compact += byte;
  }
  return compact;
}

static std::string tailOf(const std::string& fullName) {
  const std::string::size_type dot = fullName.rfind('.');
  return dot == std::string::npos ? fullName : fullName.substr(dot + 1);
}

static bool has(const std::string& text, char byte) { return text.find(byte) != std::string::npos; }

static std::string inQuotes(const Text& text) { return text ? '"' + *text + '"' : "null"; }

static std::string object(int64_t number) { return number == 0 ? "null" : "object " + std::to_string(number); }

namespace {

enum class Context { empty, active, other };

}  // namespace

static std::string nameOf(Context context) {
  if (context == Context::empty) return "empty";
  return context == Context::active ? "active" : "other";
}

static std::string inBraces(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) line += (line.empty() ? "" : ", ") + inQuotes(text);
  return '{' + line + '}';
}

namespace {

class Rules {
 public:
  Rules(World& world, Outcome& outcome, std::optional<std::size_t> callsWithMemory)
      : world_(world), outcome_(outcome), callsWithMemory_(callsWithMemory) {}

  std::string resultOf(const Call& call) {
    switch (call.native) {
      case Native::objectAbiVersion: return objectAbiVersion();
      case Native::getSystem: return getSystem();
      case Native::getTypeByName: return getTypeByName(call.name);
      case Native::addSourceRoot: return addSourceRoot(call.name);
      case Native::precompileSources: return precompileSources(call.files);
      case Native::loadSourceClass: return loadSourceClass(call.sourceFile, call.name);
      case Native::loadObjectBundle: return loadObjectBundle(call);
      case Native::loadClass: return typeByOwnName(call.name);
      case Native::loadPackageTypes: break;
    }
    return loadPackageTypes(call.name);
  }

 private:
  // Asking the host.

  Answer ask(Operation operation, const std::string& arguments = "") {
    outcome_.calls.push_back(nameOf(operation) + ('(' + arguments + ')'));
    const Answer answer = take(world_, operation);
    if (answer.ending != Ending::returns) throw Thrown{answer.ending == Ending::throwsException, answer.text};
    allocate();
    return answer;
  }

  /// Fails if the memory runs out between the last call and the next one.
  void allocate() const {
    if (callsWithMemory_ == outcome_.calls.size()) fail(standard_library::outOfMemory());
  }

  void raise(const std::string& exceptionClass, const std::string& message) {
    ask(Operation::raise, inQuotes(exceptionClass) + ", " + inQuotes(message));
  }

  std::string typeByName(const Text& name) {
    outcome_.ownPointer = false;
    return object(ask(Operation::typeByName, inQuotes(name)).number);
  }

  std::string typeByOwnName(const Text& name) {
    outcome_.ownPointer = true;
    return object(ask(Operation::typeByName, inQuotes(name)).number);
  }

  Context activeContext() {
    return ask(Operation::activeRuntimeContext).number == 0 ? Context::empty : Context::active;
  }

  void load(const std::string& path, Context context) { ask(Operation::load, inQuotes(path) + ", " + nameOf(context)); }

  // The bridge raises exceptions. Any other object is raised if the native has a text for it, and else passes through.

  template <typename Work>
  bool succeeds(const std::string& exceptionClass, const Text& otherText, const Work& work) {
    std::string message;
    try {
      allocate();
      work();
      return true;
    } catch (const Thrown& thrown) {
      if (!thrown.isException && !otherText) throw;
      message = thrown.isException ? thrown.text : *otherText;
    }
    raise(exceptionClass, message);
    return false;
  }

  // Lists.

  std::vector<std::string> stringsOf(const std::optional<List>& list, const std::string& handle,
                                     const std::string& label) {
    if (!list) fail(label + " is required");
    ask(Operation::listSize, handle);
    const int64_t size = sizeOf(*list);
    if (size > mostStrings) fail(standard_library::impossibleReservation());
    std::vector<std::string> strings;
    for (int64_t index = 0; index < size; ++index) {
      ask(Operation::listIndex, handle + ", " + std::to_string(index));
      const Text element = elementAt(*list, index);
      if (!element) fail(label + " cannot contain null");
      strings.push_back(*element);
    }
    return strings;
  }

  // The registry.

  /// Tells whether an entry matches a name: a name with a dot is compared with the full name only, any other with the
  /// short name and with the tail of the full name.
  static bool matches(const std::string& shortName, const std::string& fullName, const std::string& name) {
    if (has(name, '.')) return name == fullName;
    return name == shortName || name == tailOf(fullName);
  }

  /// The type that a name resolves to.
  Text registered(const std::string& name) {
    if (name.empty()) return noText;
    ask(Operation::typeCount);
    const int32_t count = countOf(world_);
    Text found;
    for (int32_t index = 0; index < count; ++index) {
      ask(Operation::typeName, std::to_string(index));
      const std::string shortName = entryAt(world_, index).shortName.value_or("");
      ask(Operation::typeFullName, std::to_string(index));
      const std::string fullName = entryAt(world_, index).fullName.value_or("");
      if (!matches(shortName, fullName, name)) continue;
      const std::string resolved = fullName.empty() ? shortName : fullName;
      if (found && *found != resolved) {
        fail("Ambiguous plugin entry type '" + name + "'; use its fully qualified name");
      }
      found = resolved;
    }
    return found;
  }

  // objectAbiVersion

  std::string objectAbiVersion() { return std::to_string(ask(Operation::objectAbiVersion).number); }

  // getSystem

  std::string getSystem() {
    if (world_.systemClassLoader == 0) {
      succeeds("Exception", "Unknown native failure while initializing the system class loader", [&] {
        if (!world_.metadataLoaded) loadMetadata();
        world_.systemClassLoader = ask(Operation::allocObject, inQuotes("SystemClassLoader")).number;
      });
    }
    return object(world_.systemClassLoader);
  }

  void loadMetadata() {
    ask(Operation::getInstance);
    const std::string library = ask(Operation::standardLibraryPath).text;
    if (library.empty()) return;
    const std::string folder = joinedPaths(library, "orva");
    load(joinedPaths(folder, "ClassLoader.ov"), Context::empty);
    load(joinedPaths(folder, "SystemClassLoader.ov"), Context::empty);
    world_.metadataLoaded = true;
  }

  // getTypeByName

  std::string getTypeByName(const Text& name) {
    if (!name || name->empty()) return typeByOwnName(name);
    const bool prepared = succeeds("ClassNotFoundException", noText, [&] {
      if (has(*name, '<') && has(*name, '>')) prepareInstance(*name);
      if (!has(*name, '<')) prepareClass(*name);
    });
    return prepared ? typeByOwnName(name) : "null";
  }

  void prepareInstance(const std::string& name) {
    outcome_.calls.push_back("lock(gReflectionMutex)");
    if (world_.lockError != 0) fail(standard_library::lockFailure(world_.lockError));
    const bool found = isInTable(name);
    outcome_.calls.push_back("unlock(gReflectionMutex)");
    allocate();
    if (found) return;
    Context context = activeContext();
    const Answer answer = ask(Operation::materialize, inQuotes(name) + ", \"\", \"\", " + nameOf(context));
    if (answer.number == 0) return;
    if (answer.number == 2) context = Context::other;
    load(answer.text, context);
  }

  bool isInTable(const std::string& name) const {
    for (const Record& record : world_.table) {
      if (!record.hasPointer || !record.hasMembers) continue;
      for (const std::string& spelling : record.names) {
        if (compacted(spelling) == compacted(name)) return true;
      }
    }
    return false;
  }

  void prepareClass(const std::string& name) {
    if (registered(name)) return;
    const Context context = activeContext();
    const std::string source =
        ask(Operation::sourceFileForClass, inQuotes(name) + ", " + nameOf(context) + ", no token").text;
    if (!source.empty()) load(source, context);
  }

  // addSourceRoot

  std::string addSourceRoot(const Text& root) {
    if (!root || root->empty()) {
      raise("ValueException", "Class path root is required");
      return "0";
    }
    ask(Operation::getInstance);
    if (ask(Operation::addKlassPath, inQuotes(root)).number != 0) {
      world_.roots.push_back(*root);
      ask(Operation::invalidateCaches);
      return "1";
    }
    if (!isFolder(world_, *root)) raise("IOException", "Class path root does not exist: " + *root);
    return "0";
  }

  // precompileSources

  std::string precompileSources(const std::optional<List>& files) {
    succeeds("Exception", noText, [&] {
      const std::vector<std::string> sources = stringsOf(files, "files", "Source filename list");
      const Context context = activeContext();
      ask(Operation::precompile, inBraces(sources) + ", " + nameOf(context) + ", no listener");
    });
    return "nothing";
  }

  // Plugins: the entry type is unknown before the load, and known after it.

  template <typename Load>
  std::string loadPlugin(const std::string& entryType, const Load& load) {
    std::string type = "null";
    succeeds("Exception", noText, [&] {
      const Text before = registered(entryType);
      if (before) return raise("IllegalStateException", "Plugin entry type is already registered: " + *before);
      load();
      const Text after = registered(entryType);
      if (!after) return raise("ClassNotFoundException", "Plugin entry type is not registered: " + entryType);
      type = typeByName(after);
    });
    return type;
  }

  std::string loadSourceClass(const Text& sourceFile, const Text& entryType) {
    if (sourceFile.value_or("").empty() || entryType.value_or("").empty()) {
      raise("ValueException", "Plugin source filename and entry type are required");
      return "null";
    }
    return loadPlugin(*entryType, [&] { load(*sourceFile, Context::empty); });
  }

  std::string loadObjectBundle(const Call& call) {
    if (!call.files || !call.identities || call.name.value_or("").empty()) {
      raise("ValueException", "Plugin object bundle, source identities and entry type are required");
      return "null";
    }
    return loadPlugin(*call.name, [&] {
      const std::vector<std::string> objects = stringsOf(call.files, "files", "Plugin object path list");
      const std::vector<std::string> identities =
          stringsOf(call.identities, "identities", "Plugin source identity list");
      if (objects.size() != identities.size()) {
        fail("Plugin object and source identity lists must have the same size");
      }
      ask(Operation::loadBundle, inBraces(objects) + ", " + inBraces(identities));
    });
  }

  // loadPackageTypes

  std::string loadPackageTypes(const Text& package) {
    succeeds("Exception", "Unknown native failure while loading package", [&] { loadPackage(package.value_or("")); });
    return "nothing";
  }

  void loadPackage(const std::string& package) {
    if (ask(Operation::isValidPackageName, inQuotes(package)).number == 0) {
      return raise("ValueException", "A valid package name is required");
    }
    ask(Operation::getInstance);
    ask(Operation::getKlassPaths);
    const Text home = homeOf(relativeFolderOf(package));
    if (!home) return raise("ClassNotFoundException", "Package not found: " + package);
    if (const int error = listingError(*home)) {
      return raise("IOException",
                   "Cannot enumerate package '" + package + "': " + std::generic_category().message(error));
    }
    const std::vector<std::string> sources = sourcesIn(*home);
    const Context context = activeContext();
    for (const std::string& source : sources) load(source, context);
  }

  /// One folder for each segment between dots, empty segments included.
  static std::string relativeFolderOf(const std::string& package) {
    std::string folder;
    std::string segment;
    for (const char byte : package + '.') {
      if (byte != '.') {
        segment += byte;
        continue;
      }
      folder = joinedPaths(folder, segment);
      segment.clear();
    }
    return folder;
  }

  Text homeOf(const std::string& relativeFolder) const {
    for (const std::string& root : world_.roots) {
      std::string folder = joinedPaths(root, relativeFolder);
      if (isFolder(world_, folder)) return folder;
    }
    return noText;
  }

  /// A folder that may not be read counts as empty; any other failure to list it is an error.
  int listingError(const std::string& folder) const {
    if (world_.openingError == EACCES) return 0;
    if (world_.openingError != 0) return world_.openingError;
    if (!isListable(world_, folder)) return 0;
    // The reads return each name, "." and "..", and then the end.
    const std::size_t readings = namesIn(world_, folder).size() + 3;
    const auto until = static_cast<std::size_t>(world_.readingsUntilError);
    return until != 0 && until <= readings ? world_.readingError : 0;
  }

  std::vector<std::string> sourcesIn(const std::string& folder) const {
    std::vector<std::string> sources;
    if (world_.openingError != 0 || !isListable(world_, folder)) return sources;
    for (const std::string& name : namesIn(world_, folder)) {
      const std::string path = joinedPaths(folder, name);
      const bool isSource = name.size() > 3 && name.substr(name.size() - 3) == ".ov";
      if (isSource && isRegularFile(world_, path)) sources.push_back(path);
    }
    return sources;
  }

  World& world_;
  Outcome& outcome_;
  std::optional<std::size_t> callsWithMemory_;
};

}  // namespace

static std::string resultOf(const Thrown& thrown) {
  if (thrown.isException) return "throws the exception " + inQuotes(thrown.text);
  return "throws the other object" + (thrown.text.empty() ? "" : ' ' + inQuotes(thrown.text));
}

Outcome expected(World& world, const Call& call, std::optional<std::size_t> callsWithMemory) {
  Outcome outcome;
  try {
    outcome.result = Rules(world, outcome, callsWithMemory).resultOf(call);
  } catch (const Thrown& thrown) {
    outcome.result = resultOf(thrown);
  }
  return outcome;
}

}  // namespace model
