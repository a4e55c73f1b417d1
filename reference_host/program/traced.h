// `orva-host run --trace`: runs the same program under `orva-trace`.
#pragma once

#include "reference_host/program/options.h"

namespace orva::program {

/// Replaces this process with an `orva-trace` that runs this program again, with the same options except `--trace`. If
/// that fails, prints why and ends the process with 2.
/// @param program the name by which this program was started
[[noreturn]] void runTraced(const RunOptions& options, const char* program);

}  // namespace orva::program
