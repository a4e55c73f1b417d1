// Whole files, read by LLVM and written by the standard library.
#include "reference_host/compiler/files.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace orva::compiler {

namespace fs = std::filesystem;

std::unique_ptr<llvm::MemoryBuffer> readFile(const std::string& path) {
  std::error_code error;
  const fs::file_type type = fs::status(path, error).type();
  // Opening a FIFO would wait for a writer.
  if (!error && type != fs::file_type::regular) {
    throw std::runtime_error("Cannot read '" + path + "': expected a regular file");
  }
  auto buffer = llvm::MemoryBuffer::getFile(path, false, false);
  if (!buffer) throw std::runtime_error("Cannot read '" + path + "': " + buffer.getError().message());
  return std::move(*buffer);
}

language::SourceText readSource(const std::string& path) { return {path, readFile(path)->getBuffer().str()}; }

/// Writes a new file; the result says what failed, if anything.
static std::error_code writeNew(const std::string& path, const std::string& bytes) {
  errno = 0;
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  return out ? std::error_code() : std::error_code(errno, std::generic_category());
}

void writeFile(const std::string& path, const std::string& bytes) {
  static std::atomic<int> count{0};
  const std::string unfinished = path + "." + std::to_string(getpid()) + "." + std::to_string(count++) + ".tmp";
  std::error_code error = writeNew(unfinished, bytes);
  if (!error) fs::rename(unfinished, path, error);
  if (!error) return;
  std::error_code ignored;
  fs::remove(unfinished, ignored);
  throw std::runtime_error("Cannot write '" + path + "': " + error.message());
}

}  // namespace orva::compiler
