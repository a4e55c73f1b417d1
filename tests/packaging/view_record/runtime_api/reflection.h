// A host's own reflection.h: names that the host keeps elsewhere.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

extern "C" {
int32_t Reflection_getTypeCount(void);
const char* Reflection_getTypeName(int32_t index);
const char* Reflection_getTypeFullName(int32_t index);
}

struct TypeRecord {
  std::string_view name1, name2, name3, name4;
  void* type;
  std::vector<void*> members;
};

extern std::mutex gReflectionMutex;
extern std::vector<TypeRecord> gTypes;

inline std::string_view recordName(const TypeRecord& record, int number) {
  switch (number) {
    case 1: return record.name1;
    case 2: return record.name2;
    case 3: return record.name3;
    default: return record.name4;
  }
}
inline bool isReady(const TypeRecord& record) { return record.type != nullptr && !record.members.empty(); }
