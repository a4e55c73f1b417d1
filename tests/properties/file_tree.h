// The files of worlds, made for real: each distinct set of files once.
#pragma once

#include <optional>

#include "tests/scripted_host/temporary_folder.h"
#include "world.h"

namespace model {

/// Stands in the folder that holds a world's files, with no more rights than they give; steps back at the end.
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
