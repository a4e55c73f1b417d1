// The private folder: who creates it, who removes it, and whose stays.
#include "reference_host/compiler/private_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <functional>
#include <set>
#include <vector>

#include "tests/scripted_host/temporary_folder.h"
#include "workspace.h"

namespace fs = std::filesystem;
using orva::compiler::privateFolder;
using orva::compiler::removeAbandonedFolders;
using orva::compiler::removePrivateFolder;

/// A fresh folder, the value of TMPDIR.
static fs::path temporaryFolder(const Workspace& workspace) {
  const fs::path temporary = workspace.path() / "temporary";
  fs::create_directory(temporary);
  setenv("TMPDIR", temporary.c_str(), 1);
  return temporary;
}

static std::set<std::string> namesIn(const fs::path& folder) {
  std::set<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

/// A child that does something and then sleeps until it is killed.
static pid_t startChild(const std::function<void()>& work) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  const pid_t child = fork();
  if (child == 0) {
    work();
    close(ends[1]);
    for (;;) pause();
  }
  close(ends[1]);
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), 0);
  close(ends[0]);
  return child;
}

static void killChild(pid_t child) {
  kill(child, SIGKILL);
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

/// Makes the private folder of a process, with files in it.
static void makeFiles(int count) {
  for (int i = 0; i < count; ++i) writeFile(privateFolder() / ("file" + std::to_string(i)), "text");
}

TEST(PrivateFolder, IsOneAndIsRemovedWithItsFiles) {
  const Workspace workspace;
  const fs::path temporary = temporaryFolder(workspace);
  removePrivateFolder();
  EXPECT_TRUE(fs::is_empty(temporary));
  const fs::path folder = privateFolder();
  EXPECT_EQ(privateFolder(), folder);
  EXPECT_EQ(folder.parent_path(), temporary);
  EXPECT_EQ(fs::status(folder).permissions(), fs::perms::owner_all);
  // More than a single read of the folder returns.
  makeFiles(500);
  removePrivateFolder();
  EXPECT_TRUE(fs::is_empty(temporary));
  EXPECT_NE(privateFolder(), folder);
  removePrivateFolder();
}

TEST(PrivateFolder, LiesInTheUsualFolderWhenTmpdirNamesNone) {
  const Workspace workspace;
  for (const char* other : {"TMP", "TEMP", "TEMPDIR"}) setenv(other, workspace.path().c_str(), 1);
  setenv("TMPDIR", "", 1);
  EXPECT_EQ(privateFolder().parent_path(), "/tmp");
  removePrivateFolder();
  unsetenv("TMPDIR");
  EXPECT_EQ(privateFolder().parent_path(), "/tmp");
  removePrivateFolder();
}

TEST(PrivateFolder, FindsARelativeTmpdirAgain) {
  const Workspace workspace;
  temporaryFolder(workspace);
  setenv("TMPDIR", "temporary", 1);
  makeFiles(1);
  fs::current_path("/");
  removePrivateFolder();
  EXPECT_TRUE(fs::is_empty(workspace.path() / "temporary"));
}

TEST(PrivateFolder, SaysWhyTmpdirCannotBeUsed) {
  const Workspace workspace;
  writeFile("file", "");
  fs::create_directories("closed/in");
  fs::permissions("closed", static_cast<fs::perms>(0600));
  fs::permissions(".", fs::perms::owner_all | fs::perms::group_exec | fs::perms::others_exec);
  const std::string longName(300, 'x');
  const std::vector<std::pair<std::string, std::string>> reasons = {{"file", "Not a directory"},
                                                                    {"nowhere", "No such file or directory"},
                                                                    {longName, "File name too long"},
                                                                    {"closed/in", "Permission denied"},
                                                                    {"closed", "Permission denied"}};
  const WithoutRights nobody;
  for (const auto& [folder, reason] : reasons) {
    setenv("TMPDIR", folder.c_str(), 1);
    EXPECT_EQ(failureOf([] { privateFolder(); }),
              "Cannot create a folder in '" + folder + "', the value of TMPDIR: " + reason);
    removeAbandonedFolders();
  }
  setenv("TMPDIR", "", 1);
  EXPECT_EQ(failureOf([] { privateFolder(); }), "nothing");
  removePrivateFolder();
}

TEST(PrivateFolder, OfAKilledProcessIsRemovedByTheNext) {
  const Workspace workspace;
  const fs::path temporary = temporaryFolder(workspace);
  for (const int files : {0, 1, 100}) {
    killChild(startChild([files] {
      privateFolder();
      makeFiles(files);
    }));
    EXPECT_EQ(namesIn(temporary).size(), 1U);
    removeAbandonedFolders();
    EXPECT_TRUE(fs::is_empty(temporary));
  }
}

TEST(PrivateFolder, OfALivingProcessStays) {
  const Workspace workspace;
  const fs::path temporary = temporaryFolder(workspace);
  makeFiles(1);
  const pid_t living = startChild([] { makeFiles(1); });
  const pid_t dead = startChild([] { makeFiles(1); });
  EXPECT_EQ(namesIn(temporary).size(), 3U);
  killChild(dead);
  removeAbandonedFolders();
  EXPECT_EQ(namesIn(temporary).size(), 2U);
  EXPECT_TRUE(fs::exists(privateFolder() / "file0"));
  killChild(living);
  removeAbandonedFolders();
  EXPECT_EQ(namesIn(temporary), std::set<std::string>{privateFolder().filename()});
  removePrivateFolder();
}

TEST(PrivateFolder, IsNotRemovedByAForkedProcess) {
  const Workspace workspace;
  const fs::path temporary = temporaryFolder(workspace);
  makeFiles(1);
  const pid_t child = fork();
  if (child == 0) std::exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_TRUE(fs::exists(privateFolder() / "file0"));
  removePrivateFolder();
  EXPECT_TRUE(fs::is_empty(temporary));
}

TEST(PrivateFolder, NothingElseIsTakenForAnAbandonedOne) {
  const Workspace workspace;
  const fs::path temporary = temporaryFolder(workspace);
  const std::string digits = "0123456789abcdef";
  std::set<std::string> others = {"orva-host",
                                  "orva-host-",
                                  "orva-host-backup",
                                  "orva-host-" + digits + "0",
                                  "orva-host-" + digits.substr(1),
                                  "orva-host-0123456789ABCDEF",
                                  "orva-host-0123456789abcdeg",
                                  "x-orva-host-" + digits,
                                  "other-host-" + digits};
  for (const std::string& name : others) writeFile((temporary / name / "file").string(), "");
  // Their names are right, but they are files, links or another user's.
  const auto named = [&](char last) { return temporary / ("orva-host-" + digits.substr(1) + last); };
  writeFile(named('0').string(), "");
  writeFile("elsewhere/file", "");
  fs::create_directory_symlink(workspace.path() / "elsewhere", named('1'));
  writeFile((named('2') / "below" / "file").string(), "");
  for (const char last : {'0', '1', '2'}) others.insert(named(last).filename());
  if (geteuid() == 0) {
    writeFile((named('3') / "file").string(), "");
    ASSERT_EQ(chown(named('3').c_str(), 65534, 65534), 0);
    others.insert(named('3').filename());
  }
  removeAbandonedFolders();
  EXPECT_EQ(namesIn(temporary), others);
  for (const std::string& name : others) {
    if (fs::is_directory(temporary / name)) {
      EXPECT_FALSE(fs::is_empty(temporary / name)) << name;
    }
  }
}

TEST(PrivateFolder, IsMadeWhileOthersAreRemoved) {
  const Workspace workspace;
  temporaryFolder(workspace);
  const auto end = time(nullptr) + 2;
  const pid_t cleaner = fork();
  if (cleaner == 0) {
    while (time(nullptr) < end) removeAbandonedFolders();
    _exit(0);
  }
  while (time(nullptr) < end) {
    makeFiles(1);
    ASSERT_TRUE(fs::exists(privateFolder() / "file0"));
    removePrivateFolder();
  }
  EXPECT_EQ(waitpid(cleaner, nullptr, 0), cleaner);
}
