// What is told of a program by its file: whether it can be run and traced, and whether the library is in it.
#pragma once

#include <string>

namespace orva::tracing {

/// The file that a program's name stands for, as shells find it. Throws `Failure` where there is none, where it cannot
/// be run, and where the dynamic linker would not load the recorder into it, or into the interpreter of a script.
std::string checkedProgram(const std::string& name);

/// Tells whether the class-loading library is linked into an executable, by the note that each of its objects brings.
bool hasLibraryInside(const std::string& file);

}  // namespace orva::tracing
