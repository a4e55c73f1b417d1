// What a program or a library exports.
#pragma once

#include <string>
#include <vector>

/// The names in the dynamic symbol table of an ELF file that it defines.
std::vector<std::string> dynamicSymbols(const std::string& path);
