// The table of docs/failure-matrix.md.
#pragma once

#include <string>

namespace faults {

/// Returns the table of the outcomes of all cases, and the line below it.
std::string failureTable();

}  // namespace faults
