// What the command line asked for, and how to ask for one schedule again.
#pragma once

#include <string>

/// The schedule to run alone; empty for all.
const std::string& scheduleOnCommandLine();

/// The command that runs one schedule of the running test again.
std::string commandFor(const std::string& schedule);
