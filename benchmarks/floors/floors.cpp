#include "benchmarks/floors/floors.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <mutex>

#include "runtime_api/reflection.h"
#include "runtime_api/runtime.h"

namespace floors {

std::size_t scanRegistry() {
  std::size_t length = 0;
  const int32_t count = Reflection_getTypeCount();
  for (int32_t index = 0; index < count; ++index) {
    const char* const shortName = Reflection_getTypeName(index);
    const char* const fullName = Reflection_getTypeFullName(index);
    length += std::strlen(shortName) + std::strlen(fullName);
  }
  return length;
}

bool walkTable(const std::string& key) {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  return std::any_of(gTypes.begin(), gTypes.end(), [&key](const TypeRecord& record) {
    return isReady(record) &&
           (record.name3 == key || record.name4 == key || record.name1 == key || record.name2 == key);
  });
}

std::size_t touchNames() {
  const std::lock_guard<std::mutex> lock(gReflectionMutex);
  std::size_t instances = 0;
  for (const TypeRecord& record : gTypes) {
    if (!isReady(record)) continue;
    for (const int number : {1, 2, 3, 4}) {
      const std::string& name = recordName(record, number);
      if (!name.empty() && name.back() == '>') ++instances;
    }
  }
  return instances;
}

static bool endsAsSource(const std::string& path) {
  return path.size() > 3 && path.compare(path.size() - 3, 3, ".ov") == 0;
}

std::vector<std::string> listSources(const std::string& folder) {
  std::vector<std::string> files;
  for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder)) {
    if (entry.is_regular_file() && endsAsSource(entry.path().native())) files.push_back(entry.path().native());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> copyList(void* list) {
  std::vector<std::string> strings;
  const int64_t count = orva_collections_ArrayList_size(list);
  strings.reserve(static_cast<std::size_t>(count));
  for (int64_t index = 0; index < count; ++index) {
    strings.emplace_back(orva_collections_ArrayList_operator_index(list, index));
  }
  return strings;
}

}  // namespace floors
