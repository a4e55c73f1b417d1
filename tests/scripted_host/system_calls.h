// System calls of the standard library, and its view of the locale, that fail or answer otherwise on command.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace system_calls {

/// Undoes every command below.
void reset();

/// Makes the `number`-th reading of a directory entry from now on (1 is the next) fail with `error`.
void failReadingDirectory(int number, int error);

/// Reports every entry of a directory without its type.
void hideEntryTypes();

/// Hands out the entries of each directory by name, whatever order the file system has.
void sortEntries();

/// Shows every call to `step`, such as `stat("/a")`, before it is made; an answer other than 0 is the error that the
/// call fails with. A directory is closed even so.
void onEachCall(std::function<int(const std::string& call)> step);

/// Makes the opening of a directory fail with `error` until `reset`.
void failOpeningDirectory(int error);

/// Makes each status query of a path that ends in `ending` fail with `error` until `reset`.
void failStatus(const std::string& ending, int error);

/// Makes the `number`-th status query from now on (1 is the next) fail with `error`.
void failStatusQuery(int number, int error);

/// Hands out the paths of the status queries, following links, since the last time, and forgets them.
std::vector<std::string> takeStatusQueries();

/// How often a directory was opened since `reset`.
int directoriesOpened();

/// Lets the process's locale see exactly these bytes as whitespace until `reset`. A byte that is asked for as a
/// negative value counts as whitespace when it is not one of them, so that the mistake shows.
void setWhitespace(const std::string& bytes);

/// How often the locale was asked about a byte since `reset`.
int classifications();

/// Undoes every command at the end of a scope, a failing one too.
class Scope {
 public:
  Scope() { reset(); }
  ~Scope() { reset(); }
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
};

}  // namespace system_calls
