// Reading and writing whole files, with errors that name the file and the reason.
#pragma once

#include <llvm/Support/MemoryBuffer.h>
#include <sys/types.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "reference_host/language/source_text.h"

namespace orva::compiler {

/// Reads a regular file into memory. Throws `std::runtime_error` when there is none or it cannot be read.
std::unique_ptr<llvm::MemoryBuffer> readFile(const std::string& path);

/// Reads a source file. Throws as `readFile` does.
language::SourceText readSource(const std::string& path);

/// Writes a file under a temporary name and renames it, so that nobody ever sees a partial file. The file gets the mode
/// of the one that it replaces. A link is replaced too; its target stays unchanged. Throws `std::runtime_error` on
/// failure; then the old file is still there. The first call for a folder removes the files that killed processes of
/// this user were writing there.
/// @param mode the mode of the file, whatever it replaces and whatever the umask is.
void writeFile(const std::string& path, const std::string& bytes, std::optional<mode_t> mode = std::nullopt);

/// Removes the files that `writeFile` is writing, and keeps those calls from returning. For code that ends the process,
/// such as a signal handler; async-signal-safe.
void removeUnfinishedFiles() noexcept;

/// Sixteen hexadecimal digits that nobody can guess, for the names of files.
std::string unguessableDigits();

/// Tells whether a name consists of a prefix and such digits.
bool isUnguessableName(std::string_view name, std::string_view prefix);

}  // namespace orva::compiler
