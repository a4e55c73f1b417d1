// Connects a world to the scripted host and calls the library.
#include "play.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "classloader/natives.h"
#include "file_tree.h"
#include "tests/scripted_host/scripted_host.h"
#include "tests/scripted_host/system_calls.h"
#include "world_text.h"

namespace model {
static_assert(objectCount <= scripted::tokenCount);

namespace {

/// What an operation throws that is not a `std::exception`.
struct OtherObject {
  std::string text;
};

/// One play: it scripts the scripted host with the world's answers.
class Play {
 public:
  explicit Play(World& world) : world_(world) {
    scripted::reset();
    scriptEntryPoints();
    scriptRegistry();
    scriptCompiler();
    scriptRuntime();
    fillTable();
    scripted::host().roots = world.roots;
    scripted::host().lockMutex.always([&world] { return world.lockError; });
  }

  /// The scripts refer to this play.
  ~Play() { scripted::reset(); }

  Play(const Play&) = delete;
  Play& operator=(const Play&) = delete;

  void* listOf(const std::string& label, const std::optional<List>& list) {
    if (!list) return nullptr;
    return scripted::host().list(label, list->elements, sizeOf(*list));
  }

 private:
  /// Returns or throws as the world says.
  Answer answer(Operation operation) {
    Answer given = take(world_, operation);
    if (!given.records.empty()) fillTable();
    if (given.ending == Ending::throwsException) throw scripted::CustomFailure(given.text);
    if (given.ending == Ending::throwsOther) throw OtherObject{given.text};
    return given;
  }

  auto answering(Operation operation) {
    return [this, operation] { answer(operation); };
  }

  auto answeringText(Operation operation) {
    return [this, operation] { return answer(operation).text; };
  }

  auto answeringYesOrNo(Operation operation) {
    return [this, operation] { return answer(operation).number != 0; };
  }

  auto answeringObject(Operation operation) {
    return [this, operation] {
      const int64_t number = answer(operation).number;
      return number == 0 ? nullptr : scripted::token(static_cast<std::size_t>(number));
    };
  }

  void scriptEntryPoints() {
    scripted::Host& host = scripted::host();
    host.raise.always([this] {
      if (scripted::host().activeContext.use_count() > 1)
        scripted::host().record("complaint: the context is still held");
      answer(Operation::raise);
    });
    host.typeByName.always(answeringObject(Operation::typeByName));
    host.allocObject.always(answeringObject(Operation::allocObject));
    host.listSize.always([this](void* handle) {
      answer(Operation::listSize);
      return scripted::host().findList(handle)->size.value_or(0);
    });
    host.listIndex.always([this](void* handle, int64_t index) -> const char* {
      answer(Operation::listIndex);
      const auto& elements = scripted::host().findList(handle)->elements;
      const auto position = static_cast<std::size_t>(index);
      return position < elements.size() && elements[position] ? elements[position]->c_str() : nullptr;
    });
  }

  void scriptRegistry() {
    scripted::Host& host = scripted::host();
    host.typeCount.always([this] {
      answer(Operation::typeCount);
      return countOf(world_);
    });
    host.typeName.always([this](int32_t index) {
      answer(Operation::typeName);
      return scripted::host().keepShortName(entryAt(world_, index).shortName);
    });
    host.typeFullName.always([this](int32_t index) {
      answer(Operation::typeFullName);
      return scripted::host().keepFullName(entryAt(world_, index).fullName);
    });
  }

  void scriptCompiler() {
    scripted::Host& host = scripted::host();
    host.objectAbiVersion.always([this] { return static_cast<int32_t>(answer(Operation::objectAbiVersion).number); });
    host.activeRuntimeContext.always([this] {
      const bool active = answer(Operation::activeRuntimeContext).number != 0;
      return active ? scripted::host().activeContext : nullptr;
    });
    host.load.always(answering(Operation::load));
    host.loadBundle.always(answering(Operation::loadBundle));
    host.precompile.always(answering(Operation::precompile));
    host.sourceFileForClass.always(answeringText(Operation::sourceFileForClass));
    host.materialize.always([this](std::string& instance, std::string& source, scripted::ContextPointer& context) {
      const Answer given = answer(Operation::materialize);
      instance = "an instance";
      source = given.text;
      if (given.number == 2) context = scripted::Host::otherContext();
      return given.number != 0;
    });
    host.invalidateCaches.always(answering(Operation::invalidateCaches));
  }

  void scriptRuntime() {
    scripted::Host& host = scripted::host();
    host.getInstance.always(answering(Operation::getInstance));
    host.standardLibraryPath.always(answeringText(Operation::standardLibraryPath));
    host.getKlassPaths.always(answering(Operation::getKlassPaths));
    host.isValidPackageName.always(answeringYesOrNo(Operation::isValidPackageName));
    host.addKlassPath.always([this](const std::string& root) {
      const bool added = answer(Operation::addKlassPath).number != 0;
      if (added) world_.roots.push_back(root);
      return added;
    });
  }

  void fillTable() const {
    gTypes.clear();
    for (const Record& record : world_.table) {
      const auto& [name1, name2, name3, name4] = record.names;
      gTypes.push_back(scripted::typeRecord(name1, name2, name3, name4));
      if (!record.hasPointer) gTypes.back().type = nullptr;
      if (!record.hasMembers) gTypes.back().members.clear();
    }
  }

  World& world_;
};

}  // namespace

static std::string objectText(const void* handle) {
  if (handle == nullptr) return "null";
  const auto* const first = static_cast<const char*>(scripted::token(0));
  return "object " + std::to_string(static_cast<const char*>(handle) - first);
}

static const char* pointerTo(const std::optional<std::string>& text) { return text ? text->c_str() : nullptr; }

template <typename Work>
static auto inLibrarysTurn(const Work& work) {
  const scripted::LibrarysTurn turn;
  return work();
}

static std::string resultOf(const Call& call, Play& play) {
  const char* const name = pointerTo(call.name);
  const char* const sourceFile = pointerTo(call.sourceFile);
  void* const files = play.listOf("files", call.files);
  void* const identities = play.listOf("identities", call.identities);
  const auto object = [](const auto& native) { return objectText(inLibrarysTurn(native)); };
  const auto number = [](const auto& native) { return std::to_string(inLibrarysTurn(native)); };
  const auto nothing = [](const auto& native) {
    inLibrarysTurn(native);
    return std::string("nothing");
  };
  switch (call.native) {
    case Native::objectAbiVersion: return number([] { return orva_ClassLoader_objectAbiVersion(); });
    case Native::getSystem: return object([] { return orva_ClassLoader_getSystem(); });
    case Native::getTypeByName: return object([=] { return orva_ClassLoader_getTypeByName(name); });
    case Native::addSourceRoot: return number([=] { return orva_ClassLoader_addSourceRoot(name); });
    case Native::precompileSources: return nothing([=] { orva_ClassLoader_precompileSources(files); });
    case Native::loadSourceClass: return object([=] { return orva_ClassLoader_loadSourceClass(sourceFile, name); });
    case Native::loadObjectBundle:
      return object([=] { return orva_ClassLoader_loadObjectBundle(files, identities, name); });
    case Native::loadClass: return object([=] { return orva_SystemClassLoader_loadClass(scripted::token(0), name); });
    case Native::loadPackageTypes: break;
  }
  return nothing([=] { orva_SystemClassLoader_loadPackageTypes(scripted::token(0), name); });
}

static std::string resultOrThrown(const Call& call, Play& play) {
  try {
    return resultOf(call, play);
  } catch (const scripted::CustomFailure& failure) {
    return "throws the exception \"" + std::string(failure.what()) + '"';
  } catch (const std::bad_alloc& failure) {
    return "throws the exception \"" + std::string(failure.what()) + '"';
  } catch (const OtherObject& other) {
    return "throws the other object" + (other.text.empty() ? "" : " \"" + other.text + '"');
  } catch (const std::exception& failure) {
    return std::string("throws another exception: ") + failure.what();
  }
}

static bool looksUp(const std::vector<std::string>& calls) {
  for (const std::string& call : calls) {
    if (call.compare(0, sizeof("Orva_typeByName") - 1, "Orva_typeByName") == 0) return true;
  }
  return false;
}

static bool readsFiles(Native native) { return native == Native::addSourceRoot || native == Native::loadPackageTypes; }

/// Makes the system report errors as the world says.
static void scriptSystem(const World& world, const std::function<int(const std::string&)>& onCall) {
  if (world.openingError != 0) system_calls::failOpeningDirectory(world.openingError);
  if (world.readingsUntilError != 0) system_calls::failReadingDirectory(world.readingsUntilError, world.readingError);
  if (world.typesHidden) system_calls::hideEntryTypes();
  if (!onCall) return;
  system_calls::sortEntries();
  system_calls::onEachCall(onCall);
  scripted::host().onCall = [&onCall](const std::string& line) { onCall(line); };
}

Outcome observed(World& world, const Call& call, const std::function<int(const std::string&)>& onCall) {
  const scripted::HostsTurn turn;
  testing::TestPartResultArray complaints;
  Outcome outcome;
  {
    const testing::ScopedFakeTestPartResultReporter reporter(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &complaints);
    Play play(world);
    std::optional<InFilesOf> files;
    if (readsFiles(call.native)) files.emplace(world);
    const system_calls::Scope system;
    scriptSystem(world, onCall);
    outcome.result = resultOrThrown(call, play);
    outcome.calls = scripted::host().takeCalls();
    for (const std::string& wrong : scripted::host().leftovers()) outcome.calls.push_back("complaint: " + wrong);
    outcome.ownPointer = looksUp(outcome.calls) && scripted::host().lastTypeNamePointer == pointerTo(call.name);
  }
  for (int index = 0; index < complaints.size(); ++index) {
    outcome.calls.push_back(std::string("complaint: ") + complaints.GetTestPartResult(index).message());
  }
  return outcome;
}

}  // namespace model
