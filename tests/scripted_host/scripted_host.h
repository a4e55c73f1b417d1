// A host that follows a test's script. It defines everything that `runtime_api/` declares, records each call in order,
// and fails the test for a call that the script does not answer.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "runtime_api/compiler.h"
#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"
#include "tests/scripted_host/hosts_turn.h"

namespace scripted {

using ContextPointer = std::shared_ptr<orva::compiler::Context>;
using TokenPointer = std::shared_ptr<orva::compiler::Token>;

/// The step that throws a copy of an object.
template <typename Thrown>
struct Throwing {
  Thrown object;
};

template <typename Thrown>
Throwing<Thrown> throws(Thrown object) {
  return {std::move(object)};
}

/// The answers of one operation: those queued for its next calls, then the one for all others.
template <typename Signature>
class Script;

template <typename Result, typename... Arguments>
class Script<Result(Arguments...)> {
 public:
  using Step = std::function<Result(Arguments...)>;

  /// Answers the next call that has no answer yet. A step accepts the operation's arguments or none; it may throw.
  template <typename F>
  Script& next(const F& step) {
    next_.push_back(adapted(step));
    return *this;
  }

  /// Answers every call that `next` does not.
  template <typename F>
  void always(const F& step) {
    always_ = adapted(step);
  }

  /// Takes the step for one call; empty when the script has none.
  Step take() {
    if (next_.empty()) return always_;
    Step step = std::move(next_.front());
    next_.pop_front();
    return step;
  }

  /// Counts the queued answers that no call has taken.
  std::size_t pending() const { return next_.size(); }

 private:
  template <typename F>
  static Step adapted(const F& step) {
    if constexpr (std::is_invocable_v<F, Arguments...>) {
      return step;
    } else {
      return [step](Arguments...) mutable { return step(); };
    }
  }

  template <typename Thrown>
  static Step adapted(const Throwing<Thrown>& step) {
    return [step](Arguments...) -> Result { throw step.object; };
  }

  std::deque<Step> next_;
  Step always_;
};

inline auto nothing() {
  return [] {};
}

template <typename Value>
auto returns(const Value& value) {
  return [value] { return value; };
}

/// One entry of the reflection registry; an absent name is returned as null.
struct Entry {
  std::optional<std::string> shortName;
  std::optional<std::string> fullName;
};

/// One language list. `size` overrides the size that the host returns.
struct List {
  std::string label;
  std::vector<std::optional<std::string>> elements;
  std::optional<int64_t> size;
};

/// A `std::exception` of a class that the library cannot know.
class CustomFailure : public std::exception {
 public:
  explicit CustomFailure(std::string text) : text_(std::move(text)) {}
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  std::string text_;
};

/// The script and the record of one test.
class Host {
 public:
  Host();

  // Scripts. Operations marked "answered" have an answer without a script; any other call without one fails the test.
  Script<void(const std::string&, const std::string&)> raise;  // answered: returns
  Script<void*(const char*)> typeByName;
  Script<void*()> allocObject;
  Script<int64_t(void*)> listSize;                // answered: from the list
  Script<const char*(void*, int64_t)> listIndex;  // answered: from the list
  Script<int32_t()> typeCount;                    // answered: from `registry`
  Script<const char*(int32_t)> typeName;          // answered: from `registry`
  Script<const char*(int32_t)> typeFullName;      // answered: from `registry`
  Script<int32_t()> objectAbiVersion;
  Script<ContextPointer()> activeRuntimeContext;  // answered: `activeContext`
  Script<void(const std::string&, const ContextPointer&)> load;
  Script<void(const std::vector<std::string>&, const std::vector<std::string>&)> loadBundle;
  Script<void(const std::vector<std::string>&, const ContextPointer&)> precompile;
  Script<void()> getInstance;  // answered: the runtime
  Script<std::string()> standardLibraryPath;
  Script<void()> getKlassPaths;  // answered: `roots`
  Script<bool(const std::string&)> addKlassPath;
  Script<std::string(const std::string&)> sourceFileForClass;
  Script<bool(std::string&, std::string&, ContextPointer&)> materialize;
  Script<void()> invalidateCaches;  // answered: returns
  Script<bool(const std::string&)> isValidPackageName;
  Script<int()> lockMutex;     // answered: 0; an answer other than 0 is the error that the lock reports
  Script<void()> onLocked;     // answered: nothing; runs while the mutex is held
  Script<void()> onUnlocking;  // answered: nothing; runs while the mutex is still held

  /// Runs at the start of every call, including lock and unlock, with its line. A suite that steps threads waits here
  /// for their turns; one that makes calls fail throws from it.
  std::function<void(const std::string&)> onCall;

  // State that the answers above read.
  std::vector<Entry> registry;
  std::vector<std::string> roots;
  ContextPointer activeContext;

  // What the calls received and their lines do not show.
  const char* lastTypeNamePointer = nullptr;
  std::vector<long> contextHolders;  // how many owned the context at each load and each precompilation

  /// Makes a language list; the handle is valid until the end of the test.
  void* list(const std::string& label, std::vector<std::optional<std::string>> elements,
             std::optional<int64_t> size = std::nullopt);

  /// Makes a context that is neither the active one nor empty.
  static ContextPointer otherContext();

  /// Finds a list by its handle. Returns null and fails the test if there is none.
  const List* findList(void* handle) const;

  // Return copies of names, which are valid until the next call on the same thread.
  static const char* keepShortName(const std::optional<std::string>& name);
  static const char* keepFullName(const std::optional<std::string>& name);

  /// Returns the calls recorded since the last time, and forgets them.
  std::vector<std::string> takeCalls();

  /// Adds a line to the record.
  void record(std::string line);

  /// What is wrong at the end of the test: calls that were not asserted, answers that were not used, a mutex that is
  /// still held, a context that is still shared.
  std::vector<std::string> leftovers() const;

 private:
  std::size_t pendingAnswers() const;

  std::deque<List> lists_;
  std::vector<std::string> calls_;
};

/// The host of the running test.
Host& host();

/// Sets up a fresh host, an empty type table and a free mutex.
void reset();

/// Makes a record of the type table with the four names in order.
TypeRecord typeRecord(const std::string& name1, const std::string& name2, const std::string& name3,
                      const std::string& name4, bool ready = true);

/// The address of a global, distinct for each number, for use as a type object or an object handle.
void* token(std::size_t number);
constexpr std::size_t tokenCount = 64;

// Lines of the record.
std::string inQuotes(const char* text);
std::string raised(const std::string& exceptionClass, const std::string& message);
std::string typeByName(const std::string& name);
std::string loaded(const std::string& path, const std::string& context);
/// The calls of one scan of the registry that looks at `examined` entries.
std::vector<std::string> scan(int32_t examined);
/// The calls that read a list: its size, then `fetched` elements.
std::vector<std::string> listRead(const std::string& label, int64_t fetched);

/// Flattens lines and lists of lines into one list.
inline void append(std::vector<std::string>& lines, const std::string& line) { lines.push_back(line); }
inline void append(std::vector<std::string>& lines, const std::vector<std::string>& more) {
  lines.insert(lines.end(), more.begin(), more.end());
}
template <typename... Parts>
std::vector<std::string> sequence(const Parts&... parts) {
  std::vector<std::string> lines;
  (append(lines, parts), ...);
  return lines;
}

/// Joins lines, so that a failing comparison shows a difference line by line.
std::string joined(const std::vector<std::string>& lines);

/// Compares the whole record with what was expected.
testing::AssertionResult sameCalls(const std::vector<std::string>& expected, const std::vector<std::string>& actual);

/// Runs `body` in a child process, which starts with the library's current state and ends as programs do.
/// @return its wait status: 0 if every assertion in it held and it left nothing behind.
int statusOfOwnProcess(const std::function<void()>& body);

/// Does the same, and fails the test unless the status is 0.
void inOwnProcess(const std::function<void()>& body);

/// Starts every test with a fresh host, and fails it for its leftovers.
class HostTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
};

}  // namespace scripted

/// Asserts that the calls since the last assertion are exactly these, lines or lists of lines, in this order.
#define EXPECT_CALLS(...) \
  EXPECT_TRUE(::scripted::sameCalls(::scripted::sequence(__VA_ARGS__), ::scripted::host().takeCalls()))

/// Asserts that `statement` throws a `type` equal to `value`.
#define EXPECT_THROWS_VALUE(statement, type, value) \
  do {                                              \
    try {                                           \
      statement;                                    \
      ADD_FAILURE() << "nothing was thrown";        \
    } catch (const type& thrown) {                  \
      EXPECT_EQ(value, thrown);                     \
    }                                               \
  } while (false)

/// Asserts that `statement` throws a `type` with exactly this text.
#define EXPECT_THROWS_TEXT(statement, type, text) \
  do {                                            \
    try {                                         \
      statement;                                  \
      ADD_FAILURE() << "nothing was thrown";      \
    } catch (const type& thrown) {                \
      EXPECT_STREQ(text, thrown.what());          \
    }                                             \
  } while (false)
