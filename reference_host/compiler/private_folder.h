// This process's own folder for temporary files, which is removed when the process ends.
#pragma once

#include <filesystem>
#include <string>

namespace orva::compiler {

/// The folder, created by the first call in the folder that TMPDIR names, or in /tmp if it names none. Nobody else may
/// read it, and it contains no folders. Throws `std::runtime_error` when it cannot be created.
std::filesystem::path privateFolder();

/// Removes the folder and its files, if this process made one. A signal that arrives meanwhile takes effect afterwards.
/// Async-signal-safe.
void removePrivateFolder() noexcept;

/// Does the same when the process exits. Other threads that need a folder from then on wait for the end of the process;
/// this one gets an error.
void removePrivateFolderAtExit() noexcept;

/// Does the same for the handler of a signal that ends the process, which no other such signal may interrupt. Waits for
/// a thread that is creating or removing the folder, and prevents a new one.
void endPrivateFolders() noexcept;

/// Removes the folders that killed processes of this user left where this process would create its own. Those of living
/// processes stay, even of processes in other containers.
void removeAbandonedFolders();

}  // namespace orva::compiler
