// Runs a program in the started host.
#pragma once

#include <string>
#include <vector>

namespace orva::program {

/// The folder that a program's packages are looked for in: the file's own, without the folders of its package.
std::string rootOf(const std::string& programFile);

/// Loads a program file and calls `main` of the class that the file is named after. Throws what stops it:
/// `std::runtime_error` when it cannot be loaded or has no `main`, and what `main` throws.
void runProgram(const std::string& programFile, const std::vector<std::string>& arguments);

}  // namespace orva::program
