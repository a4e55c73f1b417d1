// Signals that end the program.
#pragma once

namespace orva::program {

/// Makes signals that end the program remove its temporary files first; the process still ends by the signal. The first
/// process of a container, which no signal ends, exits with the status that a shell would report. An ignored signal
/// stays ignored. Exceeding the file size limit is an error for whoever writes the file: SIGXFSZ ends the program only
/// if another process sends it.
void cleanUpOnSignals();

}  // namespace orva::program
