// Searches PATH as shells do, and reads just enough of a file: the first line of a script, the headers of an
// executable.
#include "tracing/program/program_file.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "reference_host/language/printable_text.h"
#include "tracing/program/failure.h"

namespace orva::tracing {

using language::inQuotes;

namespace {

/// Why a file cannot be executed: an error number, or 0.
int problemOf(const std::string& path) {
  struct stat status{};
  if (stat(path.c_str(), &status) != 0) return errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return access(path.c_str(), X_OK) == 0 ? 0 : errno;
}

/// @param needed the missing part that the program needs, with its path
[[noreturn]] void failProblem(const std::string& program, int error, const std::string& needed = {}) {
  throw Failure(error == ENOENT ? notFound : cannotRun, "cannot run " + inQuotes(program) +
                                                            (needed.empty() ? "" : ", which needs the " + needed) +
                                                            ": " + std::generic_category().message(error));
}

/// An empty folder in PATH is the working folder.
std::string found(const std::string& name) {
  if (name.find('/') != name.npos) return name;
  const char* const variable = std::getenv("PATH");
  std::string_view folders = variable != nullptr ? variable : "/bin:/usr/bin";
  std::string refused;
  for (bool isLast = false; !isLast;) {
    const std::size_t colon = folders.find(':');
    isLast = colon == folders.npos;
    const std::string folder(folders.substr(0, colon));
    std::string path = (folder.empty() ? "." : folder) + "/" + name;
    const int problem = problemOf(path);
    if (problem == 0) return path;
    if (problem == EACCES && refused.empty()) refused = path;
    if (!isLast) folders.remove_prefix(colon + 1);
  }
  if (!refused.empty()) failProblem(refused, EACCES);
  throw Failure(notFound, "cannot find the program " + inQuotes(name) + " in PATH");
}

/// An open file, of which parts are read.
class File {
 public:
  explicit File(const std::string& path) : descriptor_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~File() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  /// Up to `size` bytes; fewer if the file ends before.
  std::string bytes(std::uint64_t at, std::size_t size) const {
    std::string text(size, '\0');
    const ssize_t count = pread(descriptor_, text.data(), size, static_cast<off_t>(at));
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }

  template <typename Head>
  bool read(std::uint64_t at, Head& head) const {
    const std::string text = bytes(at, sizeof head);
    if (text.size() == sizeof head) std::memcpy(&head, text.data(), sizeof head);
    return text.size() == sizeof head;
  }

 private:
  int descriptor_;
};

/// The segments of one type in an executable of this processor.
std::vector<std::string> segmentsOf(const File& file, std::uint32_t type) {
  constexpr std::size_t mostBytes = std::size_t{1} << 20U;
  Elf64_Ehdr head{};
  std::vector<std::string> segments;
  if (!file.read(0, head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) return segments;
  for (std::uint64_t i = 0; i < head.e_phnum; ++i) {
    Elf64_Phdr segment{};
    if (!file.read(head.e_phoff + i * sizeof segment, segment)) break;
    if (segment.p_type != type || segment.p_filesz > mostBytes) continue;
    segments.push_back(file.bytes(segment.p_offset, segment.p_filesz));
  }
  return segments;
}

/// Programs for other processors cannot load our libraries, and neither can 32-bit programs.
void checkArchitecture(const std::string& path, const File& file) {
  Elf64_Ehdr head{};
  if (!file.read(0, head) || std::memcmp(head.e_ident, ELFMAG, SELFMAG) != 0) return;
  if (head.e_ident[EI_CLASS] == ELFCLASS64 && head.e_machine == EM_X86_64) return;
  throw Failure(cannotRun, "cannot trace " + inQuotes(path) + ": it is built for another processor, and orva-trace " +
                               "traces only 64-bit programs for x86-64");
}

/// Other dynamic linkers have no audit interface, and would refuse to start the program.
void checkLinker(const std::string& path, const File& file) {
  for (const std::string& segment : segmentsOf(file, PT_INTERP)) {
    const std::string linker = segment.substr(0, segment.find('\0'));
    if (linker.substr(linker.rfind('/') + 1) == "ld-linux-x86-64.so.2") continue;
    if (access(linker.c_str(), X_OK) != 0) failProblem(path, errno, "dynamic linker " + inQuotes(linker));
    throw Failure(cannotRun, "cannot trace " + inQuotes(path) + ": it starts with the dynamic linker " +
                                 inQuotes(linker) + ", and orva-trace needs that of the GNU C library");
  }
}

/// The dynamic linker ignores LD_AUDIT and LD_PRELOAD for a program that gains rights from its file.
void checkRights(const std::string& path) {
  struct stat status{};
  struct statvfs system{};
  if (stat(path.c_str(), &status) != 0 || statvfs(path.c_str(), &system) != 0) return;
  if ((system.f_flag & ST_NOSUID) != 0 || prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0) == 1) return;
  const bool isOther =
      ((status.st_mode & S_ISUID) != 0 && status.st_uid != getuid()) ||
      ((status.st_mode & S_ISGID) != 0 && (status.st_mode & S_IXGRP) != 0 && status.st_gid != getgid());
  const bool hasCapabilities = getuid() != 0 && getxattr(path.c_str(), "security.capability", nullptr, 0) > 0;
  if (!isOther && !hasCapabilities) return;
  throw Failure(cannotRun,
                "cannot trace " + inQuotes(path) + ": it " +
                    (isOther ? "is setuid or setgid" : "has file capabilities") +
                    ", so the dynamic linker ignores LD_AUDIT and LD_PRELOAD: trace a copy without these rights");
}

/// The interpreter that a script names in its first line; empty if the file is not a script.
std::string interpreterOf(const File& file) {
  constexpr std::size_t longestLine = 256;  // that the system reads
  const std::string text = file.bytes(0, longestLine);
  if (text.substr(0, 2) != "#!") return {};
  const std::size_t begin = text.find_first_not_of(" \t", 2);
  if (begin == text.npos) return {};
  return text.substr(begin, text.find_first_of(" \t\n", begin) - begin);
}

}  // namespace

std::string checkedProgram(const std::string& name) {
  constexpr int mostInterpreters = 5;  // that the system follows
  const std::string program = found(name);
  std::string path = program;
  for (int i = 0; i < mostInterpreters && !path.empty(); ++i) {
    const int problem = problemOf(path);
    if (problem != 0) failProblem(program, problem, i == 0 ? "" : "interpreter " + inQuotes(path));
    const File file(path);
    checkArchitecture(path, file);
    checkLinker(path, file);
    std::string interpreter = interpreterOf(file);
    if (interpreter.empty()) checkRights(path);
    path = std::move(interpreter);
  }
  return program;
}

bool hasLibraryInside(const std::string& file) {
  constexpr std::string_view owner("orva", sizeof "orva");
  for (const std::string& segment : segmentsOf(File(file), PT_NOTE)) {
    std::string_view rest = segment;
    Elf64_Nhdr note{};
    while (rest.size() >= sizeof note) {
      std::memcpy(&note, rest.data(), sizeof note);
      rest.remove_prefix(sizeof note);
      if (rest.substr(0, note.n_namesz) == owner) return true;
      const auto padded = [](std::uint64_t size) { return (size + 3) / 4 * 4; };
      rest.remove_prefix(std::min<std::uint64_t>(rest.size(), padded(note.n_namesz) + padded(note.n_descsz)));
    }
  }
  return false;
}

}  // namespace orva::tracing
