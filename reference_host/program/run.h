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

/// Reads the package of a program file. It is empty if the file cannot be read or parsed; running the program reports
/// why.
Program readProgram(const std::string& file);

/// The folder that is searched for a program's packages: the file's own, without the folders of its package.
std::string rootOf(const Program& program);

/// Loads a program and calls `main` of the class that its file is named after. Throws `std::runtime_error` if it cannot
/// be loaded or has no `main`, and whatever `main` throws.
void runProgram(const Program& program, const std::vector<std::string>& arguments);

}  // namespace orva::program
