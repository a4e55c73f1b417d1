// The table of docs/failure-matrix.md.
#pragma once

#include <string>

namespace faults {

/// The table and the line below it, made of what comes of every case.
std::string failureTable();

}  // namespace faults
