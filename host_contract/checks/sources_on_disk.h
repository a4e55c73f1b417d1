// What the checks that need sources share: writing them, and testing what the host knows of them afterwards.
#pragma once

#include <filesystem>
#include <string>

#include "host_contract/check.h"

namespace orva::host_contract {

/// The package of every class that the checks write.
constexpr const char* samplePackage = "contract.sample";

/// Writes a source where its class belongs below a root: ROOT/contract/sample/CLASS.ov.
/// @return the path of the file.
std::string writeSource(const std::filesystem::path& root, const std::string& className, const std::string& text);

/// Writes the source of a class below a root.
std::string writeClass(Trial& trial, const std::filesystem::path& root, const std::string& className);

/// Writes a source that the compiler refuses below a root.
std::string writeBroken(Trial& trial, const std::filesystem::path& root, const std::string& className);

/// Makes a folder in the check's folder and adds it to the class path, as a program does.
std::filesystem::path addRoot(Trial& trial, const std::string& name);

/// The full name of a class of the sample package.
std::string fullNameOf(const std::string& className);

/// The path of the source of a class below a root, whether it is there or not.
std::filesystem::path sourcePath(const std::filesystem::path& root, const std::string& className);

/// Loads a source in the active context, as a lookup does.
void load(const std::string& sourceFile);

/// Throws `Broken` unless a class of the sample package is registered and found by its full name.
void expectLoaded(const std::string& className);

/// Throws `Broken` when a class of the sample package is registered.
void expectNotLoaded(const std::string& className);

}  // namespace orva::host_contract
