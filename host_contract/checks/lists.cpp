// Lists: the two entry points that read an `ArrayList` of `String`.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "host_contract/check.h"
#include "runtime_api/runtime.h"

namespace orva::host_contract {

static std::string elementOf(void* list, int64_t index) {
  const char* text = orva_collections_ArrayList_operator_index(list, index);
  return text == nullptr ? "null" : "'" + std::string(text) + "'";
}

static void sizesCountTheElements(Trial& trial) {
  for (const int64_t size : {0, 1, 3, 1000}) {
    void* const list = trial.hooks.newStringList(std::vector<const char*>(static_cast<std::size_t>(size), "element"));
    expect(list != nullptr, "the hook newStringList gave null");
    const int64_t counted = orva_collections_ArrayList_size(list);
    expect(counted == size, "a list of " + std::to_string(size) + " elements has size " + std::to_string(counted));
  }
}

static void elementsComeInOrder(Trial& trial) {
  void* const list = trial.hooks.newStringList({"first", "second", "third"});
  const std::string seen = elementOf(list, 0) + ", " + elementOf(list, 1) + ", " + elementOf(list, 2);
  expect(seen == "'first', 'second', 'third'", "the elements are " + seen);
}

static void nullElementsComeAsNull(Trial& trial) {
  void* const list = trial.hooks.newStringList({"before", nullptr, "behind"});
  expect(orva_collections_ArrayList_operator_index(list, 1) == nullptr, "a null element is " + elementOf(list, 1));
}

static void emptyStringsComeAsEmptyStrings(Trial& trial) {
  void* const list = trial.hooks.newStringList({"before", "", "behind"});
  expect(elementOf(list, 1) == "''", "an empty element is " + elementOf(list, 1));
}

/// Tells whether an index, cut to its lower half, reads the first element. The index lies outside of the list, so that
/// all else that may come of it, a crash or an endless loop included, is right; a process of its own takes it.
static bool readsTheFirst(void* list, int64_t index) {
  constexpr int readFirst = 100;  // no status that a sanitizer ends a process with
  const pid_t process = fork();
  if (process == 0) {
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    close(STDERR_FILENO);
    alarm(2);
    bool isFirst = false;
    try {
      const char* text = orva_collections_ArrayList_operator_index(list, index);
      isFirst = text != nullptr && std::strcmp(text, "first") == 0;
    } catch (...) {
    }
    _exit(isFirst ? readFirst : 0);
  }
  int status = 0;
  return process > 0 && waitpid(process, &status, 0) == process && WIFEXITED(status) &&
         WEXITSTATUS(status) == readFirst;
}

static void theIndexHas64Bits(Trial& trial) {
  void* const list = trial.hooks.newStringList({"first", "second"});
  expect(!readsTheFirst(list, int64_t{1} << 32), "index 4,294,967,296 reads element 0");
}

std::vector<Check> listChecks() {
  const Room room{"lists"};
  return {
      room.required(
          "SizesCountTheElements", sizesCountTheElements,
          "The library reads as many elements as the size says; files would be left out, or memory behind the "
          "list would be read."),
      room.required("ElementsComeInOrder", elementsComeInOrder,
                    "Element i of the identities belongs to object i; objects would be refused, or sources compiled in "
                    "another order than the program gave."),
      room.required(
          "NullElementsComeAsNull", nullElementsComeAsNull,
          "A program's null in a list would be taken for a file, in place of the exception that names the list."),
      room.required("EmptyStringsComeAsEmptyStrings", emptyStringsComeAsEmptyStrings,
                    "A list with an empty string would be refused as one with a null."),
      room.advised("TheIndexHas64Bits", theIndexHas64Bits,
                   "The index is passed in 64 bits; a host that takes 32 of them reads another element of a list that "
                   "is long enough."),
  };
}

}  // namespace orva::host_contract
