// The minimal host's functions under the names that rename_functions.sh gives them. The faulty host defines functions
// with the original names, and calls these.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime_api/compiler.h"

extern "C" {

void hosts_Orva_raise(const char* exceptionClass, const char* message);
void* hosts_Orva_typeByName(const char* typeName);
void* hosts_Orva_allocObject(const char* className);
int64_t hosts_orva_collections_ArrayList_size(void* list);
const char* hosts_orva_collections_ArrayList_operator_index(void* list, int64_t index);
int32_t hosts_Reflection_getTypeCount();
const char* hosts_Reflection_getTypeName(int32_t index);
const char* hosts_Reflection_getTypeFullName(int32_t index);

void hosts_registerType(const std::string& fullName);

int32_t hosts_objectAbiVersion();
void hosts_ensureSourceLoadedInActiveJit(const std::string& sourcePath,
                                         std::shared_ptr<orva::compiler::Context> context);
void hosts_ensureObjectBundleLoadedInActiveJit(const std::vector<std::string>& objectPaths,
                                               const std::vector<std::string>& sourceIdentities);
void hosts_precompileSources(const std::vector<std::string>& sourceFiles,
                             std::shared_ptr<orva::compiler::Context> context,
                             const std::function<void(const orva::compiler::Compiler::CompilationProgress&)>& progress);
bool hosts_addKlassPath(orva::compiler::Runtime* runtime, const std::string& root);
bool hosts_materializeRuntimeGenericType(const std::string& typeName, std::string& instanceName,
                                         std::string& sourceFile, std::shared_ptr<orva::compiler::Context>& context);
bool hosts_isValidPackageName(std::string_view packageName);

}  // extern "C"

// Named by an assembler label, because a C function cannot return a class.
std::string hosts_sourceFileForClass(
    const std::string& className, const std::shared_ptr<orva::compiler::Context>& context,
    const std::shared_ptr<orva::compiler::Token>& token) __asm__("hosts_sourceFileForClass");
