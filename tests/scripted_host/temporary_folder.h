// A fresh folder for the files of a test or a benchmark, and a way to read them without root's rights.
#pragma once

#include <sys/types.h>

#include <string>

/// Creates files of every kind in a folder that the process that created it removes at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// The folder's path, without symbolic links.
  const std::string& path() const { return path_; }

  /// The path of something in the folder.
  std::string path(const std::string& relative) const { return path_ + '/' + relative; }

  // Each creates one file, and the folders above it, and returns its path. Throws if it cannot.
  std::string folder(const std::string& relative) const;
  std::string file(const std::string& relative) const;
  std::string link(const std::string& relative, const std::string& target) const;
  std::string fifo(const std::string& relative) const;
  std::string socket(const std::string& relative) const;

 private:
  /// Creates the folders above a new file.
  std::string newPath(const std::string& relative) const;

  std::string path_;
  pid_t owner_;
};

/// Gives up root's rights until the end of the scope; changes nothing for other users.
class WithoutRights {
 public:
  WithoutRights();
  ~WithoutRights();
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  uid_t user_;
};
