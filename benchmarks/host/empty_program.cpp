// Asks LLVM for its version, so that the process needs it as the host does.
#include <llvm-c/Core.h>

int main() { LLVMGetVersion(nullptr, nullptr, nullptr); }
