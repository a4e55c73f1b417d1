// The redirected system calls, the failing allocations and the temporary folder do what tests tell them to.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include "tests/scripted_host/allocations.h"
#include "tests/scripted_host/hosts_turn.h"
#include "tests/scripted_host/system_calls.h"
#include "tests/scripted_host/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

class SystemCalls : public testing::Test {
 protected:
  /// Counts the entries of the folder until an error ends the listing.
  int listed() {
    int count = 0;
    error.clear();
    fs::directory_iterator entry(files.path(), error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) ++count;
    return count;
  }

  const TemporaryFolder files;
  const system_calls::Scope scope;
  std::error_code error;
};

}  // namespace

TEST_F(SystemCalls, WithoutACommandNothingFails) {
  files.file("a");
  files.file("b");
  EXPECT_EQ(2, listed());
  EXPECT_FALSE(error);
  EXPECT_EQ(1, system_calls::directoriesOpened());
}

TEST_F(SystemCalls, AReadFailsOnceOnCommand) {
  files.file("a");
  system_calls::failReadingDirectory(1, EIO);
  EXPECT_EQ(0, listed());
  EXPECT_EQ(std::errc::io_error, error);
  EXPECT_EQ(1, listed());
  system_calls::failReadingDirectory(4, EIO);
  EXPECT_EQ(1, listed());
  EXPECT_EQ(std::errc::io_error, error);
}

TEST_F(SystemCalls, AnOpeningFailsUntilReset) {
  system_calls::failOpeningDirectory(EMFILE);
  listed();
  EXPECT_EQ(std::errc::too_many_files_open, error);
  listed();
  EXPECT_EQ(std::errc::too_many_files_open, error);
  system_calls::reset();
  listed();
  EXPECT_FALSE(error);
}

TEST_F(SystemCalls, HiddenTypesAreAskedFor) {
  files.file("a");
  system_calls::takeStatusQueries();
  EXPECT_TRUE(fs::directory_iterator(files.path())->is_regular_file());
  EXPECT_EQ(std::vector<std::string>{}, system_calls::takeStatusQueries());
  system_calls::hideEntryTypes();
  EXPECT_TRUE(fs::directory_iterator(files.path())->is_regular_file());
  EXPECT_EQ(std::vector<std::string>{files.path("a")}, system_calls::takeStatusQueries());
}

TEST_F(SystemCalls, AStatusQueryFailsByItsPathOrItsNumber) {
  system_calls::failStatus("/a", EIO);
  EXPECT_EQ(fs::file_type::none, fs::status(files.file("b") + "/../a", error).type());
  EXPECT_EQ(std::errc::io_error, error);
  EXPECT_TRUE(fs::is_regular_file(files.path("b"), error));
  system_calls::reset();
  system_calls::failStatusQuery(2, EACCES);
  EXPECT_TRUE(fs::exists(files.path(), error));
  EXPECT_FALSE(fs::exists(files.path(), error));
  EXPECT_TRUE(fs::exists(files.path(), error));
}

TEST_F(SystemCalls, EntriesComeInOrderOnCommand) {
  for (const char* name : {"b", "c", "a", "B"}) files.file(name);
  system_calls::sortEntries();
  std::string names;
  for (const fs::directory_entry& entry : fs::directory_iterator(files.path())) {
    names += entry.path().filename().string();
  }
  EXPECT_EQ("Babc", names);
}

TEST_F(SystemCalls, EachCallIsShownBeforeItIsMade) {
  files.file("a");
  std::vector<std::string> calls;
  system_calls::onEachCall([&calls](const std::string& call) {
    calls.push_back(call);
    return 0;
  });
  EXPECT_TRUE(fs::exists(files.path("a")));
  EXPECT_EQ(std::vector<std::string>{"stat(\"" + files.path("a") + "\")"}, calls);
  listed();
  EXPECT_EQ("closedir()", calls.back());
}

TEST_F(SystemCalls, AnyCallFailsWithTheErrorThatTheTestReturns) {
  for (const char* failing : {"opendir", "openat", "fdopendir", "readdir", "closedir"}) {
    bool called = false;
    system_calls::onEachCall([&called, failing](const std::string& call) {
      if (call.rfind(failing, 0) != 0) return 0;
      called = true;
      return EMFILE;
    });
    listed();
    const bool reported = called && failing != std::string("closedir");
    EXPECT_EQ(reported ? EMFILE : 0, error.value()) << failing;
  }
}

/// Asks anew each time. Inlined, the compiler might assume that the locale's table never changes.
[[gnu::noinline]] static bool isWhitespace(int byte) { return std::isspace(byte) != 0; }

TEST_F(SystemCalls, TheLocalesWhitespaceIsWhatATestSays) {
  system_calls::setWhitespace("x\xa0");
  EXPECT_TRUE(isWhitespace('x'));
  EXPECT_TRUE(isWhitespace(0xa0));
  EXPECT_FALSE(isWhitespace(' '));
  EXPECT_FALSE(isWhitespace(0xa0 - 256));
  EXPECT_TRUE(isWhitespace(0xa1 - 256));
  system_calls::reset();
  EXPECT_FALSE(isWhitespace('x'));
  EXPECT_TRUE(isWhitespace(' '));
}

TEST_F(SystemCalls, QuestionsToTheLocaleAreCounted) {
  system_calls::reset();
  EXPECT_FALSE(isWhitespace('x'));
  EXPECT_TRUE(isWhitespace(' '));
  EXPECT_EQ(2, system_calls::classifications());
  system_calls::reset();
  EXPECT_EQ(0, system_calls::classifications());
}

/// Allocates in a way that the compiler cannot optimise away.
static void allocate() {
  static void* volatile memory;
  memory = ::operator new(1);
  ::operator delete(memory);
}

TEST(Allocations, OnlyTheNumberedOneFails) {
  allocations::failAllocation(2);
  allocate();
  EXPECT_TRUE(allocations::isFailurePending());
  EXPECT_THROW(allocate(), std::bad_alloc);
  EXPECT_FALSE(allocations::isFailurePending());
  EXPECT_NO_THROW(allocate());
}

TEST(Allocations, TheCommandCanBeCancelled) {
  allocations::failAllocation(1);
  allocations::failAllocation(0);
  EXPECT_FALSE(allocations::isFailurePending());
  EXPECT_NO_THROW(allocate());
}

TEST(Watches, CountWhatIsAllocatedAndNotFreed) {
  const allocations::Watch watch([] { return false; });
  allocate();
  EXPECT_EQ(0U, watch.held());
  void* const first = ::operator new(1);
  void* const second = ::operator new(1);
  EXPECT_EQ(2U, watch.held());
  ::operator delete(second);
  EXPECT_EQ(1U, watch.held());
  ::operator delete(first);
}

TEST(Watches, MakeAllocationsFailOnCommand) {
  int number = 0;
  const allocations::Watch watch([&number] { return ++number == 2; });
  EXPECT_NO_THROW(allocate());
  EXPECT_THROW(allocate(), std::bad_alloc);
  EXPECT_NO_THROW(allocate());
  EXPECT_EQ(0U, watch.held());
}

TEST(Watches, IgnoreTheHostsTurn) {
  const allocations::Watch watch([] { return true; });
  const scripted::HostsTurn turn;
  std::string kept;
  EXPECT_NO_THROW(kept.assign(100, 'x'));
  EXPECT_EQ(0U, watch.held());
}

TEST(TemporaryFolders, MakeEveryKindOfFileAndVanish) {
  std::string path;
  {
    const TemporaryFolder files;
    path = files.path();
    EXPECT_TRUE(fs::is_directory(files.folder("d/e")));
    EXPECT_TRUE(fs::is_regular_file(files.file("f/g")));
    EXPECT_TRUE(fs::is_symlink(files.link("l", "nowhere")));
    EXPECT_TRUE(fs::is_fifo(files.fifo("p")));
    EXPECT_TRUE(fs::is_socket(files.socket("s")));
  }
  EXPECT_FALSE(fs::exists(path));
}

TEST(WithoutRights, AFolderClosedToAllIsClosed) {
  const TemporaryFolder files;
  files.file("closed/a");
  fs::permissions(files.path("closed"), fs::perms::none);
  const uid_t before = geteuid();
  {
    const WithoutRights nobody;
    std::error_code error;
    EXPECT_FALSE(fs::exists(files.path("closed/a"), error));
    EXPECT_EQ(std::errc::permission_denied, error);
  }
  EXPECT_EQ(before, geteuid());
  fs::permissions(files.path("closed"), fs::perms::owner_all);
  EXPECT_TRUE(fs::exists(files.path("closed/a")));
}
