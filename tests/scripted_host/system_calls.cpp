// The redirected calls. The standard library binds to these definitions because the test program exports them. Each
// forwards to the C library unless a test says otherwise.
#include "tests/scripted_host/system_calls.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "tests/scripted_host/hosts_turn.h"

namespace system_calls {

static constexpr std::size_t mostBytes = 256;

struct Commands {
  int readingsUntilFailure = 0;
  int readingError = 0;
  bool typesHidden = false;
  bool sorted = false;
  int openingError = 0;
  std::string statusEnding;
  int statusError = 0;
  int queriesUntilFailure = 0;
  int queryError = 0;
  std::vector<std::string> queries;
  int opened = 0;
  bool whitespaceSet = false;
  int classifications = 0;
  std::function<int(const std::string&)> onCall;
};

/// The remaining entries of a directory that is read in order.
struct Listing {
  DIR* directory = nullptr;
  std::vector<dirent> entries;  // the last one is the next
};

static Commands commands;
static Listing listing;

// A table like the locale's: 128 entries for negative values, then one for each byte.
static std::array<unsigned short, mostBytes / 2 + mostBytes> classes;
static const unsigned short* classesFromZero = nullptr;

void reset() { commands = Commands(); }

void failReadingDirectory(int number, int error) {
  commands.readingsUntilFailure = number;
  commands.readingError = error;
}

void hideEntryTypes() { commands.typesHidden = true; }

void sortEntries() { commands.sorted = true; }

void onEachCall(std::function<int(const std::string&)> step) { commands.onCall = std::move(step); }

void failOpeningDirectory(int error) { commands.openingError = error; }

void failStatus(const std::string& ending, int error) {
  commands.statusEnding = ending;
  commands.statusError = error;
}

void failStatusQuery(int number, int error) {
  commands.queriesUntilFailure = number;
  commands.queryError = error;
}

std::vector<std::string> takeStatusQueries() { return std::exchange(commands.queries, {}); }

int directoriesOpened() { return commands.opened; }

static bool isAmong(const std::string& bytes, std::size_t byte) {
  return bytes.find(static_cast<char>(byte)) != std::string::npos;
}

int classifications() { return commands.classifications; }

void setWhitespace(const std::string& bytes) {
  const auto space = static_cast<unsigned short>(_ISspace);
  for (std::size_t byte = 0; byte < mostBytes; ++byte) {
    classes[mostBytes / 2 + byte] = isAmong(bytes, byte) ? space : 0;
    if (byte >= mostBytes / 2) classes[byte - mostBytes / 2] = isAmong(bytes, byte) ? 0 : space;
  }
  classesFromZero = classes.data() + mostBytes / 2;
  commands.whitespaceSet = true;
}

template <typename Function>
static Function* nextDefinition(Function* /*like*/, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

static bool endsIn(const std::string& path, const std::string& ending) {
  return path.size() >= ending.size() && path.compare(path.size() - ending.size(), ending.size(), ending) == 0;
}

/// Counts down, and tells whether this call reached zero.
static bool endsCount(int& left) {
  if (left == 0) return false;
  --left;
  return left == 0;
}

/// Shows a call to the test, and tells whether it must fail.
static bool failsOnSight(const char* function, const char* path = nullptr) {
  if (!commands.onCall) return false;
  const std::string argument = path == nullptr ? "" : '"' + std::string(path) + '"';
  const int error = commands.onCall(function + ('(' + argument + ')'));
  if (error != 0) errno = error;
  return error != 0;
}

template <typename Read>
static void list(DIR* directory, const Read& read) {
  listing = Listing();
  listing.directory = directory;
  while (const dirent* entry = read(directory)) {
    listing.entries.emplace_back();
    std::memcpy(&listing.entries.back(), entry, std::min<std::size_t>(sizeof(dirent), entry->d_reclen));
  }
  std::sort(listing.entries.begin(), listing.entries.end(),
            [](const dirent& left, const dirent& right) { return std::strcmp(left.d_name, right.d_name) > 0; });
}

/// Returns the next entry in order, or null after the last one.
template <typename Read>
static dirent* nextInOrder(DIR* directory, const Read& read) {
  static dirent entry;
  if (listing.directory != directory) list(directory, read);
  if (listing.entries.empty()) return nullptr;
  entry = listing.entries.back();
  listing.entries.pop_back();
  return &entry;
}

/// Counts the opening of a directory, for which standard libraries use different calls, and tells whether it must fail.
static bool failsOpening() {
  ++commands.opened;
  if (commands.openingError == 0) return false;
  errno = commands.openingError;
  return true;
}

/// Returns the error that a status query must report, or 0.
static int statusErrorFor(const std::string& path) {
  commands.queries.push_back(path);
  if (endsCount(commands.queriesUntilFailure)) return commands.queryError;
  return commands.statusError != 0 && endsIn(path, commands.statusEnding) ? commands.statusError : 0;
}

}  // namespace system_calls

using scripted::HostsTurn;
using system_calls::commands;

extern "C" {

// The linker defines these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
const unsigned short** __real___ctype_b_loc();
const unsigned short** __wrap___ctype_b_loc();
int __real_isspace(int value);
int __wrap_isspace(int value);
// NOLINTEND(bugprone-reserved-identifier)

// Some standard libraries look up bytes in the table themselves.
const unsigned short** __wrap___ctype_b_loc() {
  ++commands.classifications;
  return commands.whitespaceSet ? &system_calls::classesFromZero : __real___ctype_b_loc();
}

int __wrap_isspace(int value) {
  ++commands.classifications;
  return commands.whitespaceSet ? system_calls::classesFromZero[value] : __real_isspace(value);
}

dirent* readdir(DIR* directory) {
  const HostsTurn turn;
  static auto* const next = system_calls::nextDefinition(readdir, "readdir");
  if (system_calls::failsOnSight("readdir")) return nullptr;
  if (system_calls::endsCount(commands.readingsUntilFailure)) {
    errno = commands.readingError;
    return nullptr;
  }
  dirent* const entry = commands.sorted ? system_calls::nextInOrder(directory, next) : next(directory);
  if (entry != nullptr && commands.typesHidden) entry->d_type = DT_UNKNOWN;
  return entry;
}

int openat(int folder, const char* path, int flags, ...) {
  const HostsTurn turn;
  static auto* const next = system_calls::nextDefinition(openat, "openat");
  va_list more;
  va_start(more, flags);
  const unsigned mode = (flags & O_CREAT) != 0 ? va_arg(more, unsigned) : 0;
  va_end(more);
  if ((flags & O_DIRECTORY) != 0 && (system_calls::failsOnSight("openat", path) || system_calls::failsOpening())) {
    return -1;
  }
  return next(folder, path, flags, mode);
}

DIR* fdopendir(int descriptor) {
  const HostsTurn turn;
  static auto* const next = system_calls::nextDefinition(fdopendir, "fdopendir");
  return system_calls::failsOnSight("fdopendir") ? nullptr : next(descriptor);
}

DIR* opendir(const char* path) {
  const HostsTurn turn;
  static auto* const next = system_calls::nextDefinition(opendir, "opendir");
  return system_calls::failsOnSight("opendir", path) || system_calls::failsOpening() ? nullptr : next(path);
}

int closedir(DIR* directory) {
  const HostsTurn turn;
  static auto* const next = system_calls::nextDefinition(closedir, "closedir");
  if (system_calls::listing.directory == directory) system_calls::listing = system_calls::Listing();
  const bool fails = system_calls::failsOnSight("closedir");
  const int error = errno;
  const int result = next(directory);
  if (!fails) return result;
  errno = error;
  return -1;
}

int stat(const char* path, struct stat* result) {
  const HostsTurn turn;
  using Stat = int(const char*, struct stat*);
  static auto* const next = system_calls::nextDefinition(static_cast<Stat*>(nullptr), "stat");
  if (system_calls::failsOnSight("stat", path)) return -1;
  if (const int error = system_calls::statusErrorFor(path)) {
    errno = error;
    return -1;
  }
  return next(path, result);
}

}  // extern "C"
