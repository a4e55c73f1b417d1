// The folder in which each traced process has its file.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace orva::tracing {

/// A new folder for the traces of one run, so that runs that keep theirs in one place do not mix them up. Removes it at
/// the end, unless it is to be kept.
class TraceFolder {
 public:
  /// @param kept where it stays, a folder that is created if it is not there; empty for one in TMPDIR that is removed
  explicit TraceFolder(const std::string& kept);
  ~TraceFolder();
  TraceFolder(const TraceFolder&) = delete;
  TraceFolder& operator=(const TraceFolder&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool isKept_;
};

/// The traces in a folder and in those of the runs that were kept there, in no order. Throws `Failure` when it cannot
/// be read.
std::vector<std::string> tracesIn(const std::string& folder);

/// Throws `Failure` if no file can be made in a folder.
void checkWritable(const std::string& folder);

/// The processes that write to each trace now, forked children too, as far as they can be looked at. The paths are
/// canonical.
std::map<std::string, std::set<std::uint32_t>> currentWriters();

/// The trace of a process, or those of the run of an `orva-trace` with this process ID, in no order. Throws `Failure`
/// if there is none.
std::vector<std::string> tracesToDump(pid_t process);

}  // namespace orva::tracing
