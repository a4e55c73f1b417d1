// A fresh folder for the files of a test or a benchmark, and the rights under which they are read.
#pragma once

#include <sys/types.h>

#include <string>

/// Makes files of every kind below a folder that is removed at the end, by the process that made it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// Without symbolic links.
  const std::string& path() const { return path_; }

  /// Names something below the folder, with a plain "/" between the two.
  std::string path(const std::string& relative) const { return path_ + '/' + relative; }

  // Each makes one thing, and the folders above it, and returns its path. Throws when it cannot.
  std::string folder(const std::string& relative) const;
  std::string file(const std::string& relative) const;
  std::string link(const std::string& relative, const std::string& target) const;
  std::string fifo(const std::string& relative) const;
  std::string socket(const std::string& relative) const;

 private:
  /// Makes the folders above what is to be made.
  std::string newPath(const std::string& relative) const;

  std::string path_;
  pid_t owner_;
};

/// Gives up the rights of the superuser until the end of the scope; changes nothing for any other user.
class WithoutRights {
 public:
  WithoutRights();
  ~WithoutRights();
  WithoutRights(const WithoutRights&) = delete;
  WithoutRights& operator=(const WithoutRights&) = delete;

 private:
  uid_t user_;
};
