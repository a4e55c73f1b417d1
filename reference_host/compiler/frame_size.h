// Estimates how much of the stack a method takes.
#pragma once

#include <cstddef>

namespace llvm {
class Function;
}

namespace orva::compiler {

/// Estimates how many bytes of the stack a call of a function takes when it is compiled without optimisation: those of
/// its variables, and eight for each value that is still needed after another call or in another block.
std::size_t frameSize(const llvm::Function& function);

}  // namespace orva::compiler
