// Reads from a program's file whether the program can be run and traced, and whether it links the library statically.
#pragma once

#include <string>

namespace orva::tracing {

/// Finds the file of a program by its name, as shells do. Throws `Failure` if the file does not exist or cannot be run,
/// or if the dynamic linker would not load the recorder into it or into the interpreter of a script.
std::string checkedProgram(const std::string& name);

/// Tells whether an executable links the class-loading library statically, by the note in the library's objects.
bool hasLibraryInside(const std::string& file);

}  // namespace orva::tracing
