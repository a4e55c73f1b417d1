// Signals that end the program.
#pragma once

namespace orva::program {

/// From now on, a signal that ends the program first removes its temporary files; the process then ends by that signal
/// all the same. The first process of a container, which no signal ends, exits with the status that a shell would give
/// it. A signal that is ignored stays so. A file that grows beyond its limit is an error of whoever writes it: that
/// signal ends the program only when another process sends it.
void cleanUpOnSignals();

}  // namespace orva::program
