// Making the files of a test.
#include "temporary_folder.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() : owner_(getpid()) {
  std::string pattern = testing::TempDir() + "orva-XXXXXX";
  path_ = mkdtemp(pattern.data());
  fs::permissions(path_, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec | fs::perms::others_read |
                             fs::perms::others_exec);
}

TemporaryFolder::~TemporaryFolder() {
  if (getpid() != owner_) return;
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::folder(const std::string& relative) const {
  fs::create_directories(path_ / relative);
  return path(relative);
}

static void makeParent(const std::string& path) { fs::create_directories(fs::path(path).parent_path()); }

std::string TemporaryFolder::file(const std::string& relative) const {
  makeParent(path(relative));
  std::ofstream(path(relative)) << "class Any {}\n";
  EXPECT_TRUE(fs::is_regular_file(path(relative)));
  return path(relative);
}

std::string TemporaryFolder::link(const std::string& relative, const std::string& target) const {
  makeParent(path(relative));
  fs::create_symlink(target, path(relative));
  return path(relative);
}

std::string TemporaryFolder::fifo(const std::string& relative) const {
  makeParent(path(relative));
  EXPECT_EQ(0, mkfifo(path(relative).c_str(), S_IRUSR | S_IWUSR));
  return path(relative);
}

std::string TemporaryFolder::socket(const std::string& relative) const {
  makeParent(path(relative));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string name = path(relative);
  std::copy(name.begin(), name.end(), address.sun_path);
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (descriptor < 0) {
    ADD_FAILURE() << "no socket";
    return name;
  }
  EXPECT_EQ(0, bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)));
  close(descriptor);
  return name;
}

static constexpr uid_t kNobody = 65534;

WithoutRights::WithoutRights() : user_(geteuid()) {
  if (user_ != 0) return;
  EXPECT_EQ(0, seteuid(kNobody));
}

WithoutRights::~WithoutRights() {
  if (user_ != 0) return;
  EXPECT_EQ(0, seteuid(user_));
  // A change of user takes this from a process, and the search for leaks needs it.
  prctl(PR_SET_DUMPABLE, 1);
}
