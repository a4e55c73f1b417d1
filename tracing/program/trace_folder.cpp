// Creates folders, and finds in /proc which processes map a trace.
#include "tracing/program/trace_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string_view>
#include <system_error>

#include "reference_host/language/printable_text.h"
#include "tracing/events/event_file.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

namespace fs = std::filesystem;
using language::inQuotes;

static constexpr std::string_view extension = ".events";
/// What the folder of a run begins with.
static constexpr const char* runPrefix = "orva-trace-";

static std::string temporaryFolder() {
  const char* const variable = std::getenv("TMPDIR");
  return variable != nullptr && *variable != '\0' ? variable : "/tmp";
}

static std::string madeFolder(const std::string& path) {
  if (mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST) return path;
  throw Failure(ownFailure, "cannot make the folder " + inQuotes(path) + ": " + std::generic_category().message(errno));
}

static std::string newRunFolder(const std::string& parent) {
  std::string path = (fs::absolute(parent) / runPrefix).string() + "XXXXXX";
  if (mkdtemp(path.data()) == nullptr) {
    throw Failure(ownFailure, "cannot make a folder for the trace in " + inQuotes(parent) + ": " +
                                  std::generic_category().message(errno));
  }
  return fs::canonical(path).string();
}

TraceFolder::TraceFolder(const std::string& kept)
    : path_(newRunFolder(kept.empty() ? temporaryFolder() : madeFolder(kept))), isKept_(!kept.empty()) {
  // A process that switches to another user records here too, if that user may write to the folder that is kept.
  struct stat status{};
  if (isKept_ && stat(kept.c_str(), &status) == 0) chmod(path_.c_str(), status.st_mode & (S_ISVTX | 0777));
}

TraceFolder::~TraceFolder() {
  std::error_code ignored;
  // An empty folder can be removed even if no descriptor is left to list it.
  if (!isKept_ && rmdir(path_.c_str()) != 0) fs::remove_all(path_, ignored);
}

static bool isRunFolder(const fs::path& path) {
  std::error_code ignored;
  return path.filename().string().rfind(runPrefix, 0) == 0 && fs::is_directory(path, ignored);
}

std::vector<std::string> tracesIn(const std::string& folder) {
  std::error_code error;
  std::vector<std::string> traces;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    std::error_code ignored;
    // Opening a pipe would wait for its writer.
    const bool isTrace = at->path().extension() == extension && at->is_regular_file(ignored);
    if (isTrace) traces.push_back(at->path().string());
    if (!isRunFolder(at->path())) continue;
    const std::vector<std::string> ofRun = tracesIn(at->path().string());
    traces.insert(traces.end(), ofRun.begin(), ofRun.end());
  }
  if (error) throw Failure(ownFailure, "cannot read the folder " + inQuotes(folder) + ": " + error.message());
  return traces;
}

void checkWritable(const std::string& folder) {
  std::string path = folder + "/XXXXXX";
  const int descriptor = mkstemp(path.data());
  if (descriptor < 0) {
    throw Failure(ownFailure,
                  "cannot make a file in " + inQuotes(folder) + ": " + std::generic_category().message(errno));
  }
  close(descriptor);
  unlink(path.c_str());
}

/// Tells whether a file is named as a recorder names its own: PID-N.events. A forked child writes to its parent's.
static bool isNamedAsTrace(const std::string& path) {
  static const std::regex form("[0-9]+-[0-9]+\\.events");
  return std::regex_match(fs::path(path).filename().string(), form);
}

/// Tells whether a file begins like a trace of a process whose calls are redirected.
static bool isAttached(const std::string& path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return false;
  std::array<char, sizeof(FileHeader)> header{};
  std::ifstream(path, std::ios::binary).read(header.data(), header.size());
  std::uint64_t magic = 0;
  std::uint32_t attached = 0;
  std::memcpy(&magic, header.data() + offsetof(FileHeader, magic), sizeof magic);
  std::memcpy(&attached, header.data() + offsetof(FileHeader, attached), sizeof attached);
  return magic == fileMagic && attached != static_cast<std::uint32_t>(Attached::notYet);
}

/// The trace that a running process writes to; empty when it writes to none, or cannot be looked at. A program with a
/// recorder inside maps the file of the preloaded one too, in which there is nothing.
static std::string traceOf(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  std::string trace;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t path = line.find('/');
    // Only line ends are escaped in a path, and our folders have none.
    if (path == line.npos || !isNamedAsTrace(line.substr(path))) continue;
    if (isAttached(line.substr(path))) return line.substr(path);
    if (trace.empty()) trace = line.substr(path);
  }
  return trace;
}

std::map<std::string, std::set<std::uint32_t>> currentWriters() {
  std::map<std::string, std::set<std::uint32_t>> writers;
  std::error_code error;
  for (fs::directory_iterator at("/proc", error), end; !error && at != end; at.increment(error)) {
    const pid_t process = std::atoi(at->path().filename().c_str());
    const std::string trace = process == 0 ? "" : traceOf(process);
    if (!trace.empty()) writers[trace].insert(static_cast<std::uint32_t>(process));
  }
  return writers;
}

static std::string programOf(pid_t process) {
  std::error_code error;
  return fs::read_symlink("/proc/" + std::to_string(process) + "/exe", error).string();
}

/// The folder in which the child of an `orva-trace` records; empty if it records in none.
static std::string folderOfRun(pid_t process) {
  const std::string number = std::to_string(process);
  std::ifstream children("/proc/" + number + "/task/" + number + "/children");
  std::string trace;
  for (pid_t child = 0; trace.empty() && children >> child;) trace = traceOf(child);
  return fs::path(trace).parent_path().string();
}

std::vector<std::string> tracesToDump(pid_t process) {
  const std::string number = std::to_string(process);
  if (kill(process, 0) != 0 && errno == ESRCH) throw Failure(ownFailure, "process " + number + " does not exist");
  const std::string trace = traceOf(process);
  if (!trace.empty()) return {trace};
  const std::string folder = programOf(process) == programOf(getpid()) ? folderOfRun(process) : "";
  if (!folder.empty()) return tracesIn(folder);
  errno = 0;
  std::ifstream maps("/proc/" + number + "/maps");
  if (maps.get() == std::ifstream::traits_type::eof()) {
    const std::string reason = errno == 0 ? "it has ended, or is the kernel's" : std::generic_category().message(errno);
    throw Failure(ownFailure, "cannot look at process " + number + ": " + reason);
  }
  throw Failure(ownFailure, "process " + number + " is not traced: start it with orva-trace");
}

}  // namespace orva::tracing
