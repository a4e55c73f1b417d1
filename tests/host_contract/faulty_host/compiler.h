// What the faulty host's hooks know of its compiler. Its language has one statement a line: `class NAME` with the
// full name, or `generic NAME`. The object of a source is a copy of it behind its identity.
#pragma once

#include <string>

namespace faulty_host {

/// Prepares the folders of the host: its standard library and its generated sources.
void startCompiler(const std::string& folder);

std::string identityOf(const std::string& sourceFile);

}  // namespace faulty_host
