// Reads the registry through its three functions, and the type table only by a walk and the two accessors of a record:
// a host's own record promises no more.
#include "host_contract/checks/known_types.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string_view>

#include "host_contract/host.h"

namespace orva::host_contract {

void loadStandardTypes(Trial& trial) {
  orva_ClassLoader_getSystem();
  trial.hooks.takePending();
}

std::string nameOfEntry(int index) {
  const char* const fullName = Reflection_getTypeFullName(index);
  if (fullName != nullptr && *fullName != '\0') return fullName;
  const char* const shortName = Reflection_getTypeName(index);
  return shortName == nullptr ? "" : shortName;
}

bool isRegistered(const std::string& fullName) {
  const int32_t count = Reflection_getTypeCount();
  for (int32_t index = 0; index < count; ++index) {
    const char* name = Reflection_getTypeFullName(index);
    if (name != nullptr && name == fullName) return true;
  }
  return false;
}

std::size_t countRecords() {
  std::size_t count = 0;
  for ([[maybe_unused]] const TypeRecord& record : gTypes) ++count;
  return count;
}

static std::string withoutBlanks(std::string_view name) {
  std::string text(name);
  text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
  return text;
}

/// Tells whether one of a record's names is this one, apart from blanks.
static bool spells(const TypeRecord& record, const std::string& name) {
  for (int number = 1; number <= 4; ++number) {
    if (withoutBlanks(recordName(record, number)) == withoutBlanks(name)) return true;
  }
  return false;
}

bool hasReadyRecord(const std::string& name) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  const Calling call("recordName or isReady");
  for (const TypeRecord& record : gTypes) {
    if (isReady(record) && spells(record, name)) return true;
  }
  return false;
}

}  // namespace orva::host_contract
