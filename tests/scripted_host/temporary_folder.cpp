// Creates the files of a test.
#include "tests/scripted_host/temporary_folder.h"

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

/// Throws if a system call has failed to create a file.
static void require(bool isMade, const std::string& path) {
  if (!isMade) throw std::system_error(errno, std::generic_category(), "Cannot create " + path);
}

TemporaryFolder::TemporaryFolder() : owner_(getpid()) {
  std::string pattern = fs::canonical(fs::temp_directory_path()) / "orva-XXXXXX";
  require(mkdtemp(pattern.data()) != nullptr, pattern);
  path_ = pattern;
  fs::permissions(path_, fs::perms(0755));
}

TemporaryFolder::~TemporaryFolder() {
  if (getpid() != owner_) return;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::folder(const std::string& relative) const {
  fs::create_directories(path(relative));
  return path(relative);
}

std::string TemporaryFolder::newPath(const std::string& relative) const {
  fs::create_directories(fs::path(path(relative)).parent_path());
  return path(relative);
}

std::string TemporaryFolder::file(const std::string& relative) const {
  std::string name = newPath(relative);
  require((std::ofstream(name) << "class Any {}\n").flush().good(), name);
  return name;
}

std::string TemporaryFolder::link(const std::string& relative, const std::string& target) const {
  std::string name = newPath(relative);
  fs::create_symlink(target, name);
  return name;
}

std::string TemporaryFolder::fifo(const std::string& relative) const {
  std::string name = newPath(relative);
  require(mkfifo(name.c_str(), S_IRUSR | S_IWUSR) == 0, name);
  return name;
}

std::string TemporaryFolder::socket(const std::string& relative) const {
  std::string name = newPath(relative);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(name.begin(), name.end(), address.sun_path);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  require(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0, name);
  close(descriptor);
  return name;
}

static constexpr uid_t nobodyUser = 65534;

WithoutRights::WithoutRights() : user_(geteuid()) {
  if (user_ == 0 && seteuid(nobodyUser) != 0) throw std::system_error(errno, std::generic_category(), "seteuid");
}

WithoutRights::~WithoutRights() {
  if (user_ != 0) return;
  if (seteuid(user_) != 0) std::abort();
  // Changing the user clears this flag, which the leak checker needs.
  prctl(PR_SET_DUMPABLE, 1);
}
