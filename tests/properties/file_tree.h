// Creates the files of worlds on disk, each distinct set of files once.
#pragma once

#include <optional>

#include "tests/scripted_host/temporary_folder.h"
#include "world.h"

namespace model {

/// Makes the folder with a world's files the working directory, and gives up rights that they do not grant. Undoes both
/// at the end.
class InFilesOf {
 public:
  explicit InFilesOf(const World& world);
  ~InFilesOf();
  InFilesOf(const InFilesOf&) = delete;
  InFilesOf& operator=(const InFilesOf&) = delete;

 private:
  int before_;
  std::optional<WithoutRights> rights_;
};

}  // namespace model
