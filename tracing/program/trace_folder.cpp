// Folders, and what /proc tells of who maps a trace.
#include "tracing/program/trace_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

#include "reference_host/language/printable_text.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

namespace fs = std::filesystem;
using language::inQuotes;

static constexpr std::string_view extension = ".events";

static std::string temporaryFolder() {
  const char* const variable = std::getenv("TMPDIR");
  const std::string parent = variable != nullptr && *variable != '\0' ? variable : "/tmp";
  std::string path = fs::absolute(parent).string() + "/orva-trace-XXXXXX";
  if (mkdtemp(path.data()) == nullptr) {
    throw Failure(ownFailure, "cannot make a folder for the trace in " + inQuotes(parent) + ": " +
                                  std::generic_category().message(errno));
  }
  return fs::canonical(path).string();
}

static std::string keptFolder(const std::string& path) {
  if (mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
    throw Failure(ownFailure,
                  "cannot make the folder " + inQuotes(path) + ": " + std::generic_category().message(errno));
  }
  tracesIn(path);  // throws where it cannot be read
  if (access(path.c_str(), W_OK) != 0) {
    throw Failure(ownFailure,
                  "cannot write to the folder " + inQuotes(path) + ": " + std::generic_category().message(errno));
  }
  return fs::canonical(path).string();
}

TraceFolder::TraceFolder(const std::string& kept)
    : path_(kept.empty() ? temporaryFolder() : keptFolder(kept)), isKept_(!kept.empty()) {}

TraceFolder::~TraceFolder() {
  std::error_code ignored;
  // An empty folder goes also where there is no descriptor to list it with.
  if (!isKept_ && rmdir(path_.c_str()) != 0) fs::remove_all(path_, ignored);
}

std::vector<std::string> tracesIn(const std::string& folder) {
  std::error_code error;
  std::vector<std::string> traces;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (at->path().extension() == extension) traces.push_back(at->path().string());
  }
  if (error) throw Failure(ownFailure, "cannot read the folder " + inQuotes(folder) + ": " + error.message());
  return traces;
}

static bool endsWith(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// The trace that a running process writes to; empty when it writes to none, or cannot be looked at.
static std::string traceOf(pid_t process) {
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  for (std::string line; std::getline(maps, line);) {
    const std::size_t path = line.find('/');
    // A path is written as it is, but for line ends, which our folders have none of.
    if (path != line.npos && endsWith(line, extension)) return line.substr(path);
  }
  return {};
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

std::string traceToDump(pid_t process) {
  const std::string number = std::to_string(process);
  if (kill(process, 0) != 0 && errno == ESRCH) throw Failure(ownFailure, "there is no process " + number);
  std::string trace = traceOf(process);
  if (trace.empty() && programOf(process) == programOf(getpid())) {
    std::ifstream children("/proc/" + number + "/task/" + number + "/children");
    for (pid_t child = 0; trace.empty() && children >> child;) trace = traceOf(child);
  }
  if (!trace.empty()) return trace;
  std::ifstream maps("/proc/" + number + "/maps");
  if (maps.get() == std::ifstream::traits_type::eof()) {
    throw Failure(ownFailure, "cannot look at process " + number + ": it is another user's, or has ended");
  }
  throw Failure(ownFailure, "process " + number + " is not traced: start it with orva-trace");
}

}  // namespace orva::tracing
