// Makes system calls of the standard library fail, and changes its view of the locale, on command.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace system_calls {

/// Undoes every command below.
void reset();

/// Makes the `number`-th read of a directory entry from now on (1 is the next) fail with `error`.
void failReadingDirectory(int number, int error);

/// Reports every entry of a directory without its type.
void hideEntryTypes();

/// Sorts the entries of each directory by name, whatever order the file system has.
void sortEntries();

/// Shows every call to `step`, as in `stat("/a")`, before it is made. If `step` returns an error other than 0, the call
/// fails with it. Directories are closed nevertheless.
void onEachCall(std::function<int(const std::string& call)> step);

/// Makes opening a directory fail with `error` until `reset`.
void failOpeningDirectory(int error);

/// Makes each status query of a path that ends in `ending` fail with `error` until `reset`.
void failStatus(const std::string& ending, int error);

/// Makes the `number`-th status query from now on (1 is the next) fail with `error`.
void failStatusQuery(int number, int error);

/// Returns the paths of the status queries that follow links since the last time, and forgets them.
std::vector<std::string> takeStatusQueries();

/// How often a directory was opened since `reset`.
int directoriesOpened();

/// Makes exactly these bytes whitespace in the process's locale until `reset`. For a byte that is passed as a negative
/// value, the answer is wrong, so that the mistake shows.
void setWhitespace(const std::string& bytes);

/// How often the locale was asked about a byte since `reset`.
int classifications();

/// Undoes every command at the end of a scope.
class Scope {
 public:
  Scope() { reset(); }
  ~Scope() { reset(); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
};

}  // namespace system_calls
