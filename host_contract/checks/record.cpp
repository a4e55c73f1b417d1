// The type record: the library reads it at the offsets that it was compiled with, and no linker notices a mismatch.
#include <sys/wait.h>

#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "host_contract/checks/apart.h"
#include "host_contract/checks/known_types.h"
#include "host_contract/checks/mutex.h"
#include "host_contract/host.h"

namespace orva::host_contract {

static std::string spell(const RecordLayout& record) {
  std::string text = "size " + std::to_string(record.size) + ", alignment " + std::to_string(record.alignment) +
                     ", in a gTypes of size " + std::to_string(record.table);
  const std::pair<const char*, long> members[] = {{"name1", record.name1}, {"name2", record.name2},
                                                  {"name3", record.name3}, {"name4", record.name4},
                                                  {"type", record.type},   {"members", record.members}};
  for (const auto& [name, offset] : members) {
    if (offset >= 0) text += std::string(", ") + name + " at " + std::to_string(offset);
  }
  return text;
}

/// Reads everything that a generic lookup may read.
static void walk() {
  for (const TypeRecord& record : gTypes) {
    for (int number = 1; number <= 4; ++number) {
      const std::string_view name = recordName(record, number);
      if (std::string(name).find('\0') != std::string::npos) throw Broken{"a name with a zero byte"};
    }
    static_cast<void>(isReady(record));
  }
}

/// What ended a walk through the type table; empty when nothing did.
static std::string endOfAWalk() {
  const std::unique_lock<std::mutex> lock = lockMutexForSomeTime();
  if (!lock.owns_lock()) return {};
  const Calling call("recordName or isReady");
  const int status = doneApart(5, [] {
    walk();
    return 0;
  });
  if (WIFSIGNALED(status)) {
    const int signal = WTERMSIG(status);
    return "was ended by signal " + std::to_string(signal) + " (" + strsignal(signal) + ")";
  }
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? "" : "found texts that are not names";
}

static void theLibraryReadsTheHostsRecord(Trial& trial) {
  const RecordLayout& ofHost = trial.hooks.recordOfHost();
  if (!(ofHost == libraryRecord)) {
    throw Unusable{"the library reads a TypeRecord of " + spell(libraryRecord) + "; the host has one of " +
                   spell(ofHost) +
                   ": build the library with -DORVA_RUNTIME_API_DIR=DIR, where DIR/runtime_api/reflection.h is the "
                   "host's"};
  }
  loadStandardTypes(trial);
  const std::string end = endOfAWalk();
  if (end.empty()) return;
  throw Unusable{"a walk through gTypes, as the library does it, " + end + "; it reads a TypeRecord of " +
                 spell(libraryRecord) +
                 ", as the hooks do: compile what fills gTypes with the same headers, or build the library with "
                 "-DORVA_RUNTIME_API_DIR=DIR, where DIR/runtime_api/reflection.h is the one that it is compiled with"};
}

std::vector<Check> recordChecks() {
  const Room room{"record"};
  return {
      room.required("TheLibraryReadsTheHostsRecord", theLibraryReadsTheHostsRecord,
                    "A generic lookup reads all records at the offsets that the library was compiled with; it would "
                    "crash, or find types by texts that are not names."),
  };
}

}  // namespace orva::host_contract
