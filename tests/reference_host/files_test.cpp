// Writing files: under which names, in place of what, and with which mode.
#include "reference_host/compiler/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "tests/scripted_host/temporary_folder.h"
#include "workspace.h"

namespace fs = std::filesystem;

static mode_t modeOf(const std::string& path) {
  struct stat status{};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

static std::set<std::string> names() {
  std::set<std::string> found;
  for (const fs::directory_entry& entry : fs::directory_iterator(".")) found.insert(entry.path().filename());
  return found;
}

TEST(Files, HaveTheModeOfThoseThatTheyReplaceOrWhatTheUmaskLeaves) {
  const Workspace workspace;
  for (const mode_t mask : {0000U, 0002U, 0022U, 0027U, 0077U, 0177U}) {
    const mode_t before = umask(mask);
    fs::remove("file");
    orva::compiler::writeFile("file", "new");
    EXPECT_EQ(modeOf("file"), 0666 & ~mask);
    for (const mode_t mode : {0400U, 0444U, 0600U, 0640U, 0644U, 0666U, 0755U}) {
      ASSERT_EQ(chmod("file", mode), 0);
      orva::compiler::writeFile("file", "again");
      EXPECT_EQ(modeOf("file"), mode);
    }
    umask(before);
  }
  EXPECT_EQ(readFile("file"), "again");
  EXPECT_EQ(names(), std::set<std::string>{"file"});
}

TEST(Files, OfAnyNameThatAFolderHolds) {
  const Workspace workspace;
  std::set<std::string> all;
  for (const std::size_t length : {1U, 8U, 200U, 250U, 251U, 252U, 253U, 254U, 255U}) {
    const std::string name(length, 'n');
    orva::compiler::writeFile(name, name);
    EXPECT_EQ(readFile(name), name);
    all.insert(name);
  }
  for (const std::string name : {"%%%%", "a b", "-", "new\nline", "XXXXXX"}) {
    orva::compiler::writeFile(name, name);
    EXPECT_EQ(readFile(name), name);
    all.insert(name);
  }
  EXPECT_EQ(names(), all);
  EXPECT_EQ(failureOf([] { orva::compiler::writeFile(std::string(256, 'n'), ""); }),
            "Cannot write '" + std::string(256, 'n') + "': File name too long");
  EXPECT_EQ(names(), all);
}

TEST(Files, ThatGrowTooLargeLeaveWhatWasThere) {
  const Workspace workspace;
  writeFile("file", "before");
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  for (const rlim_t size : {0U, 1U, 4096U}) {
    limit.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit);
    for (const char* path : {"file", "other"}) {
      EXPECT_EQ(failureOf([&] { orva::compiler::writeFile(path, std::string(10000, 'x')); }),
                "Cannot write '" + std::string(path) + "': File too large");
    }
  }
  EXPECT_EQ(readFile("file"), "before");
  EXPECT_EQ(names(), std::set<std::string>{"file"});
}

/// A process that writes a file in the working directory and reaches the file size limit.
static pid_t startWriter(void (*onLimit)(int)) {
  const pid_t child = fork();
  if (child != 0) return child;
  std::signal(SIGXFSZ, onLimit);
  const rlimit limit{4096, 4096};
  setrlimit(RLIMIT_FSIZE, &limit);
  orva::compiler::writeFile("large", std::string(10000, 'x'));
  _exit(0);
}

/// What is left in the working directory once a process has written a file there and ended.
static std::set<std::string> namesAfterAnother() {
  const pid_t child = fork();
  if (child == 0) {
    orva::compiler::writeFile("file", "text");
    _exit(0);
  }
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
  return names();
}

TEST(Files, OfAKilledProcessAreRemovedByTheNextThatWritesThere) {
  const Workspace workspace;
  const pid_t dead = startWriter(SIG_DFL);
  ASSERT_EQ(waitpid(dead, nullptr, 0), dead);
  EXPECT_EQ(names().size(), 1U);
  EXPECT_EQ(namesAfterAnother(), std::set<std::string>{"file"});
}

TEST(Files, OfALivingProcessStay) {
  const Workspace workspace;
  const pid_t living = startWriter([](int) {
    raise(SIGSTOP);
    _exit(0);
  });
  ASSERT_EQ(waitpid(living, nullptr, WUNTRACED), living);
  EXPECT_EQ(namesAfterAnother().size(), 2U);
  kill(living, SIGKILL);
  ASSERT_EQ(waitpid(living, nullptr, 0), living);
  EXPECT_EQ(namesAfterAnother(), std::set<std::string>{"file"});
}

TEST(Files, NothingElseIsTakenForAnAbandonedOne) {
  const Workspace workspace;
  const std::string digits = "0123456789abcdef";
  std::set<std::string> all = {"file"};
  for (const std::string name : {".orva", ".orva-", ".orva-backup", ".orva-0123456789ABCDEF", "orva-0123456789abcdef",
                                 ".orva-0123456789abcdef0", ".orva-123456789abcdef", ".orva-0123456789abcdeg"}) {
    writeFile(name, "");
    all.insert(name);
  }
  // Only their names are right.
  const auto named = [&](char last) { return ".orva-" + digits.substr(1) + last; };
  fs::create_directory(named('0'));
  fs::create_symlink("elsewhere", named('1'));
  ASSERT_EQ(mkfifo(named('2').c_str(), 0600), 0);
  for (const char last : {'0', '1', '2'}) all.insert(named(last));
  if (geteuid() == 0) {
    writeFile(named('3'), "");
    ASSERT_EQ(chown(named('3').c_str(), 65534, 65534), 0);
    all.insert(named('3'));
  }
  EXPECT_EQ(namesAfterAnother(), all);
}

TEST(Files, AreReadIntoMemory) {
  const Workspace workspace;
  // Large enough for LLVM to map it, and not a multiple of the page size, which leaves no room for a final zero.
  const std::string text((1 << 20) + 1, 'x');
  writeFile("file", text);
  const auto bytes = orva::compiler::readFile("file");
  fs::resize_file("file", 0);
  EXPECT_EQ(bytes->getBuffer(), text);
}

TEST(Files, DigitsAreOtherEachTime) {
  std::set<std::string> seen;
  for (int i = 0; i < 1000; ++i) {
    const std::string digits = orva::compiler::unguessableDigits();
    EXPECT_EQ(digits.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_EQ(digits.size(), 16U);
    seen.insert(digits);
  }
  EXPECT_EQ(seen.size(), 1000U);
}

/// The system generates the contents of such a file when it is read, and reports no size before.
TEST(Files, WithoutASizeAreReadToTheirEnd) {
  EXPECT_EQ(orva::compiler::readSource("/proc/version").text.rfind("Linux version", 0), 0U);
}
