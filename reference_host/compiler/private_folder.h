// This process's own folder for files, which is removed when the process ends.
#pragma once

#include <filesystem>
#include <string>

namespace orva::compiler {

/// The folder, made when it is asked for first: below the folder that TMPDIR names, or /tmp when it names none. Nobody
/// else may read it, and no folder is made in it. Throws `std::runtime_error` when it cannot be made.
std::filesystem::path privateFolder();

/// Removes the folder and its files, if this process made one. A signal that comes meanwhile takes effect afterwards.
/// Async-signal-safe.
void removePrivateFolder() noexcept;

/// Does the same when the process exits. Other threads that need a folder from then on wait for the end of the process;
/// this one gets an error.
void removePrivateFolderAtExit() noexcept;

/// Does the same for the handler of a signal that ends the process, which no other such signal may interrupt. Waits for
/// a thread that is creating or removing the folder, and prevents a new one.
void endPrivateFolders() noexcept;

/// Removes the folders that processes of this user left when they were killed, below where this process would make its
/// own. Those of processes that live stay, wherever those run.
void removeAbandonedFolders();

}  // namespace orva::compiler
