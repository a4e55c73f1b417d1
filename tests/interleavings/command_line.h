// Options of the suite's command line.
#pragma once

#include <string>

/// The only schedule to run; empty for all.
const std::string& scheduleOnCommandLine();

/// The command that runs one schedule of the running test again.
std::string commandFor(const std::string& schedule);
