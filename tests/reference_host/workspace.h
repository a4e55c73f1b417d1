// A fresh folder with sources, and a host that is started with it as its only root.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "reference_host/runtime/type.h"
#include "tests/scripted_host/temporary_folder.h"

/// The working directory is the folder for as long as the workspace lives; then the folder is removed.
class Workspace {
 public:
  /// Starts the host of this process; there can be only one.
  /// @param standardLibrary root of the standard library; empty for none.
  explicit Workspace(const std::string& standardLibrary = "");
  ~Workspace();
  Workspace(const Workspace&) = delete;
  Workspace& operator=(const Workspace&) = delete;

  std::filesystem::path path() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
};

/// Writes a file, and the folders above it, below the working directory.
void writeFile(const std::string& path, const std::string& text);

std::string readFile(const std::string& path);

/// The text of what a function throws, which must be a `std::exception`; "nothing" when it throws nothing.
template <typename Function>
std::string failureOf(const Function& function) {
  try {
    function();
  } catch (const std::exception& failure) {
    return failure.what();
  }
  return "nothing";
}

/// Calls a static method of a loaded type with words, as a program would.
int64_t callMethod(const std::string& fullName, const std::string& method, const std::vector<int64_t>& arguments = {});

/// Calls a method that returns a text.
std::string callText(const std::string& fullName, const std::string& method,
                     const std::vector<int64_t>& arguments = {});

/// How many types are registered according to the registry, and to the type table.
std::vector<std::size_t> typeCounts();
