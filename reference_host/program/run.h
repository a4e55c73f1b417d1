// Runs a program in the started host.
#pragma once

#include <string>
#include <vector>

namespace orva::program {

/// A program file and the package that it declares.
struct Program {
  std::string file;
  std::string package;
};

/// Reads the package of a program file; it is empty for a file that cannot be read or parsed, which running it reports.
Program readProgram(const std::string& file);

/// The folder that a program's packages are looked for in: the file's own, without the folders of its package.
std::string rootOf(const Program& program);

/// Loads a program and calls `main` of the class that its file is named after. Throws what stops it:
/// `std::runtime_error` when it cannot be loaded or has no `main`, and what `main` throws.
void runProgram(const Program& program, const std::vector<std::string>& arguments);

}  // namespace orva::program
