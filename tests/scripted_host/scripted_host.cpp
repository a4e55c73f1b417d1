// The operations of the scripted host: each records its line, checks that the mutex is free, and follows its script.
#include "tests/scripted_host/scripted_host.h"

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <thread>

// The linker makes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
}
// NOLINTEND(bugprone-reserved-identifier)

std::mutex gReflectionMutex;
std::vector<TypeRecord> gTypes;

namespace orva::compiler {
class Context {};
class Token {};
struct Compiler::CompilationProgress {};
}  // namespace orva::compiler

namespace scripted {

using orva::compiler::Runtime;

/// The thread that locked gReflectionMutex; none while it is free.
static std::thread::id mutexHolder;

static bool isMutexLocked() {
  if (pthread_mutex_trylock(gReflectionMutex.native_handle()) != 0) return true;
  __real_pthread_mutex_unlock(gReflectionMutex.native_handle());
  return false;
}

/// Tells whether the calling thread holds the mutex, or some thread does whose lock was not intercepted.
static bool isMutexHeldHere() {
  return isMutexLocked() && (mutexHolder == std::thread::id() || mutexHolder == std::this_thread::get_id());
}

std::string inQuotes(const char* text) { return text == nullptr ? "null" : '"' + std::string(text) + '"'; }

static std::string inQuotes(const std::string& text) { return '"' + text + '"'; }

static std::string inQuotes(const std::vector<std::string>& texts) {
  std::string line;
  for (const std::string& text : texts) line += (line.empty() ? "" : ", ") + inQuotes(text);
  return '{' + line + '}';
}

static std::string named(const ContextPointer& context) {
  if (!context) return "empty";
  return context == host().activeContext ? "active" : "other";
}

/// Records a call, and fails the test if the library holds the mutex during it.
static void enter(const std::string& operation, const std::string& arguments) {
  const std::string line = operation + '(' + arguments + ')';
  host().record(line);
  EXPECT_FALSE(isMutexHeldHere()) << line << " was called with gReflectionMutex held";
}

/// Plays an operation that the test must script.
template <typename Result, typename... Arguments, typename... Given>
static Result answer(const char* operation, Script<Result(Arguments...)>& script, Given&&... given) {
  const auto step = script.take();
  if (step) return step(std::forward<Given>(given)...);
  ADD_FAILURE() << operation << " was called, and the test has no answer for it";
  return Result();
}

/// Plays an operation's script if the test has set one, or else `otherwise`.
template <typename Result, typename... Arguments, typename Otherwise, typename... Given>
static Result answerOr(Script<Result(Arguments...)>& script, const Otherwise& otherwise, Given&&... given) {
  const auto step = script.take();
  return step ? step(std::forward<Given>(given)...) : otherwise();
}

Host::Host() : activeContext(otherContext()) {}

ContextPointer Host::otherContext() { return std::make_shared<orva::compiler::Context>(); }

void* Host::list(const std::string& label, std::vector<std::optional<std::string>> elements,
                 std::optional<int64_t> size) {
  lists_.push_back({label, std::move(elements), size});
  return &lists_.back();
}

const List* Host::findList(void* handle) const {
  for (const List& known : lists_) {
    if (&known == handle) return &known;
  }
  ADD_FAILURE() << "an unknown handle was read as a list";
  return nullptr;
}

static const char* keep(std::unique_ptr<std::string>& place, const std::optional<std::string>& name) {
  if (place) place->assign(place->size(), '?');
  place = name ? std::make_unique<std::string>(*name) : nullptr;
  return place ? place->c_str() : nullptr;
}

const char* Host::keepShortName(const std::optional<std::string>& name) {
  thread_local std::unique_ptr<std::string> shortName;
  return keep(shortName, name);
}

const char* Host::keepFullName(const std::optional<std::string>& name) {
  thread_local std::unique_ptr<std::string> fullName;
  return keep(fullName, name);
}

void Host::record(std::string line) {
  if (onCall) onCall(line);
  calls_.push_back(std::move(line));
}

std::vector<std::string> Host::takeCalls() { return std::exchange(calls_, {}); }

template <typename... Scripts>
static std::size_t pendingIn(const Scripts&... scripts) {
  return (scripts.pending() + ...);
}

std::size_t Host::pendingAnswers() const {
  return pendingIn(raise, typeByName, allocObject, listSize, listIndex, typeCount, typeName, typeFullName,
                   objectAbiVersion, activeRuntimeContext, load, loadBundle, precompile, getInstance,
                   standardLibraryPath, getKlassPaths, addKlassPath, sourceFileForClass, materialize, invalidateCaches,
                   isValidPackageName, lockMutex, onLocked, onUnlocking);
}

std::vector<std::string> Host::leftovers() const {
  std::vector<std::string> wrong;
  if (!calls_.empty()) wrong.push_back("calls that no assertion looked at:\n" + joined(calls_));
  if (pendingAnswers() > 0) wrong.push_back("answers that no call used: " + std::to_string(pendingAnswers()));
  if (isMutexLocked()) wrong.push_back("gReflectionMutex is still held");
  if (activeContext.use_count() > 1) wrong.push_back("the active context is still shared");
  return wrong;
}

static std::unique_ptr<Host>& currentHost() {
  static std::unique_ptr<Host> current = std::make_unique<Host>();
  return current;
}

Host& host() { return *currentHost(); }

void reset() {
  currentHost() = std::make_unique<Host>();
  gTypes.clear();
  if (isMutexLocked()) __real_pthread_mutex_unlock(gReflectionMutex.native_handle());
  mutexHolder = {};
}

void* token(std::size_t number) {
  static std::array<char, tokenCount> bytes;
  return &bytes.at(number);
}

TypeRecord typeRecord(const std::string& name1, const std::string& name2, const std::string& name3,
                      const std::string& name4, bool ready) {
  if (!ready) return {name1, name2, name3, name4, nullptr, {}};
  return {name1, name2, name3, name4, token(0), {token(1)}};
}

std::string raised(const std::string& exceptionClass, const std::string& message) {
  return "Orva_raise(" + inQuotes(exceptionClass) + ", " + inQuotes(message) + ')';
}

std::string typeByName(const std::string& name) { return "Orva_typeByName(" + inQuotes(name) + ')'; }

std::string loaded(const std::string& path, const std::string& context) {
  return "Compiler::ensureSourceLoadedInActiveJit(" + inQuotes(path) + ", " + context + ')';
}

std::vector<std::string> scan(int32_t examined) {
  std::vector<std::string> lines{"Reflection_getTypeCount()"};
  for (int32_t index = 0; index < examined; ++index) {
    lines.push_back("Reflection_getTypeName(" + std::to_string(index) + ')');
    lines.push_back("Reflection_getTypeFullName(" + std::to_string(index) + ')');
  }
  return lines;
}

std::vector<std::string> listRead(const std::string& label, int64_t fetched) {
  std::vector<std::string> lines{"orva_collections_ArrayList_size(" + label + ')'};
  for (int64_t index = 0; index < fetched; ++index) {
    lines.push_back("orva_collections_ArrayList_operator_index(" + label + ", " + std::to_string(index) + ')');
  }
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + '\n';
  return text;
}

testing::AssertionResult sameCalls(const std::vector<std::string>& expected, const std::vector<std::string>& actual) {
  if (expected == actual) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "expected these calls:\n" << joined(expected) << "but got:\n" << joined(actual);
}

[[noreturn]] static void runAndExit(const std::function<void()>& body) {
  body();
  for (const std::string& wrong : host().leftovers()) ADD_FAILURE() << wrong;
  std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
}

int statusOfOwnProcess(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) runAndExit(body);
  int status = 0;
  EXPECT_EQ(child, waitpid(child, &status, 0)) << "no process could be started";
  return status;
}

void inOwnProcess(const std::function<void()>& body) {
  EXPECT_EQ(0, statusOfOwnProcess(body)) << "the child process failed";
}

void HostTest::SetUp() { reset(); }

void HostTest::TearDown() {
  for (const std::string& wrong : host().leftovers()) ADD_FAILURE() << wrong;
  reset();
}

}  // namespace scripted

using scripted::enter;
using scripted::host;
using scripted::HostsTurn;
using scripted::inQuotes;

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (mutex != gReflectionMutex.native_handle()) return __real_pthread_mutex_lock(mutex);
  const HostsTurn turn;
  host().record("lock(gReflectionMutex)");
  int error = scripted::answerOr(host().lockMutex, [] { return 0; });
  if (error == 0) error = __real_pthread_mutex_lock(mutex);
  if (error != 0) return error;
  scripted::mutexHolder = std::this_thread::get_id();
  scripted::answerOr(host().onLocked, [] {});
  return 0;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  if (mutex != gReflectionMutex.native_handle()) return __real_pthread_mutex_unlock(mutex);
  const HostsTurn turn;
  scripted::answerOr(host().onUnlocking, [] {});
  EXPECT_TRUE(scripted::isMutexHeldHere()) << "gReflectionMutex was unlocked without being held";
  host().record("unlock(gReflectionMutex)");
  scripted::mutexHolder = {};
  return __real_pthread_mutex_unlock(mutex);
}

void Orva_raise(const char* exceptionClass, const char* message) {
  const HostsTurn turn;
  const auto copied = [](const char* text) { return std::string(text == nullptr ? "null" : text); };
  EXPECT_TRUE(exceptionClass != nullptr && message != nullptr) << "a raise without a class or a message";
  enter("Orva_raise", inQuotes(exceptionClass) + ", " + inQuotes(message));
  scripted::answerOr(host().raise, [] {}, copied(exceptionClass), copied(message));
}

void* Orva_typeByName(const char* typeName) {
  const HostsTurn turn;
  host().lastTypeNamePointer = typeName;
  enter("Orva_typeByName", inQuotes(typeName));
  return scripted::answer("Orva_typeByName", host().typeByName, typeName);
}

void* Orva_allocObject(const char* className) {
  const HostsTurn turn;
  enter("Orva_allocObject", inQuotes(className));
  return scripted::answer("Orva_allocObject", host().allocObject);
}

static std::string labelOf(void* list) {
  const scripted::List* known = host().findList(list);
  return known == nullptr ? "unknown" : known->label;
}

int64_t orva_collections_ArrayList_size(void* list) {
  const HostsTurn turn;
  enter("orva_collections_ArrayList_size", labelOf(list));
  const auto otherwise = [list]() -> int64_t {
    const scripted::List* known = host().findList(list);
    if (known == nullptr) return 0;
    return known->size.value_or(static_cast<int64_t>(known->elements.size()));
  };
  return scripted::answerOr(host().listSize, otherwise, list);
}

const char* orva_collections_ArrayList_operator_index(void* list, int64_t index) {
  const HostsTurn turn;
  enter("orva_collections_ArrayList_operator_index", labelOf(list) + ", " + std::to_string(index));
  const auto otherwise = [list, index]() -> const char* {
    const scripted::List* known = host().findList(list);
    if (known == nullptr) return nullptr;
    if (index < 0 || index >= static_cast<int64_t>(known->elements.size())) {
      ADD_FAILURE() << known->label << " has no element " << index;
      return nullptr;
    }
    const auto& element = known->elements[static_cast<std::size_t>(index)];
    return element ? element->c_str() : nullptr;
  };
  return scripted::answerOr(host().listIndex, otherwise, list, index);
}

int32_t Reflection_getTypeCount() {
  const HostsTurn turn;
  enter("Reflection_getTypeCount", "");
  return scripted::answerOr(host().typeCount, [] { return static_cast<int32_t>(host().registry.size()); });
}

static scripted::Entry entryAt(int32_t index) {
  if (index >= 0 && index < static_cast<int32_t>(host().registry.size())) {
    return host().registry[static_cast<std::size_t>(index)];
  }
  ADD_FAILURE() << "the registry has no entry " << index;
  return {};
}

const char* Reflection_getTypeName(int32_t index) {
  const HostsTurn turn;
  enter("Reflection_getTypeName", std::to_string(index));
  scripted::Host::keepFullName(std::nullopt);
  const auto otherwise = [index] { return scripted::Host::keepShortName(entryAt(index).shortName); };
  return scripted::answerOr(host().typeName, otherwise, index);
}

const char* Reflection_getTypeFullName(int32_t index) {
  const HostsTurn turn;
  enter("Reflection_getTypeFullName", std::to_string(index));
  const auto otherwise = [index] { return scripted::Host::keepFullName(entryAt(index).fullName); };
  return scripted::answerOr(host().typeFullName, otherwise, index);
}

namespace orva::compiler {

int32_t Compiler::objectAbiVersion() {
  const HostsTurn turn;
  enter("Compiler::objectAbiVersion", "");
  return scripted::answer("Compiler::objectAbiVersion", host().objectAbiVersion);
}

std::shared_ptr<Context> Compiler::activeRuntimeContext() {
  const HostsTurn turn;
  enter("Compiler::activeRuntimeContext", "");
  return scripted::answerOr(host().activeRuntimeContext, [] { return host().activeContext; });
}

void Compiler::ensureSourceLoadedInActiveJit(const std::string& sourcePath, std::shared_ptr<Context> context) {
  const HostsTurn turn;
  enter("Compiler::ensureSourceLoadedInActiveJit", inQuotes(sourcePath) + ", " + scripted::named(context));
  host().contextHolders.push_back(context.use_count());
  scripted::answer("Compiler::ensureSourceLoadedInActiveJit", host().load, sourcePath, context);
}

void Compiler::ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                                   const std::vector<std::string>& sourceIdentities) {
  const HostsTurn turn;
  enter("Compiler::ensureObjectBundleLoadedInActiveJit", inQuotes(objectPaths) + ", " + inQuotes(sourceIdentities));
  scripted::answer("Compiler::ensureObjectBundleLoadedInActiveJit", host().loadBundle, objectPaths, sourceIdentities);
}

void Compiler::precompileSources(const std::vector<std::string>& sourceFiles, std::shared_ptr<Context> context,
                                 const std::function<void(const CompilationProgress&)>& progress) {
  const HostsTurn turn;
  const std::string listener = progress ? "a listener" : "no listener";
  enter("Compiler::precompileSources", inQuotes(sourceFiles) + ", " + scripted::named(context) + ", " + listener);
  host().contextHolders.push_back(context.use_count());
  scripted::answer("Compiler::precompileSources", host().precompile, sourceFiles, context);
}

Runtime& Runtime::getInstance() {
  const HostsTurn turn;
  static Runtime theRuntime;
  enter("Runtime::getInstance", "");
  scripted::answerOr(host().getInstance, [] {});
  return theRuntime;
}

std::string Runtime::getStandardLibraryPath() const {
  const HostsTurn turn;
  enter("Runtime::getStandardLibraryPath", "");
  return scripted::answer("Runtime::getStandardLibraryPath", host().standardLibraryPath);
}

const std::vector<std::string>& Runtime::getKlassPaths() const {
  const HostsTurn turn;
  enter("Runtime::getKlassPaths", "");
  scripted::answerOr(host().getKlassPaths, [] {});
  return host().roots;
}

bool Runtime::addKlassPath(const std::string& root) {
  const HostsTurn turn;
  enter("Runtime::addKlassPath", inQuotes(root));
  return scripted::answer("Runtime::addKlassPath", host().addKlassPath, root);
}

std::string ClassLoader::sourceFileForClass(const std::string& className, const std::shared_ptr<Context>& context,
                                            const std::shared_ptr<Token>& token) {
  const HostsTurn turn;
  const std::string place = token ? "a token" : "no token";
  enter("ClassLoader::sourceFileForClass", inQuotes(className) + ", " + scripted::named(context) + ", " + place);
  return scripted::answer("ClassLoader::sourceFileForClass", host().sourceFileForClass, className);
}

bool ClassLoader::materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                                std::string& sourceFile, std::shared_ptr<Context>& context) {
  const HostsTurn turn;
  EXPECT_NE(&instanceName, &sourceFile) << "both outputs are one string";
  enter("ClassLoader::materializeRuntimeGenericType", inQuotes(typeName) + ", " + inQuotes(instanceName) + ", " +
                                                          inQuotes(sourceFile) + ", " + scripted::named(context));
  return scripted::answer("ClassLoader::materializeRuntimeGenericType", host().materialize, instanceName, sourceFile,
                          context);
}

void ClassLoader::invalidateKlassPathCaches() {
  const HostsTurn turn;
  enter("ClassLoader::invalidateKlassPathCaches", "");
  scripted::answerOr(host().invalidateCaches, [] {});
}

bool PackageLayout::isValidPackageName(std::string_view packageName) {
  const HostsTurn turn;
  const std::string name(packageName);
  enter("PackageLayout::isValidPackageName", inQuotes(name));
  return scripted::answer("PackageLayout::isValidPackageName", host().isValidPackageName, name);
}

}  // namespace orva::compiler
