// This team's own reflection.h: the names of its record are not `std::string`s, and the accessors read them.
#pragma once

#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "runtime_api/record.h"

#pragma GCC visibility push(default)

extern "C" {
int32_t Reflection_getTypeCount(void);
const char* Reflection_getTypeName(int32_t index);
const char* Reflection_getTypeFullName(int32_t index);
}

extern std::mutex gReflectionMutex;
extern std::vector<TypeRecord> gTypes;

#pragma GCC visibility pop

inline std::string_view recordName(const TypeRecord& record, int number) { return record.names[number - 1]; }
inline bool isReady(const TypeRecord& record) { return record.type != nullptr && record.memberCount > 0; }
