// This team's own runtime.h.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

extern "C" {
void Orva_raise(const char* exceptionClass, const char* message);
void* Orva_typeByName(const char* typeName);
void* Orva_allocObject(const char* className);
int64_t orva_collections_ArrayList_size(void* list);
const char* orva_collections_ArrayList_operator_index(void* list, int64_t index);
}

#pragma GCC visibility pop
