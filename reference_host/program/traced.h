// `orva-host run --trace`: the same run, shown by `orva-trace`.
#pragma once

#include "reference_host/program/options.h"

namespace orva::program {

/// Becomes an `orva-trace` that runs this program again, with the same options but for `--trace`, which was given.
/// Where that cannot be, prints why and ends the process with 2.
/// @param program the name that this program was started by
[[noreturn]] void runTraced(const RunOptions& options, const char* program);

}  // namespace orva::program
