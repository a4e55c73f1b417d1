// The baseline code generator gives each value that outlives a call a stack slot of its own, and never reuses it.
#include "reference_host/compiler/frame_size.h"

#include <llvm/IR/DataLayout.h>
#include <llvm/IR/InstIterator.h>
#include <llvm/IR/InstrTypes.h>
#include <llvm/IR/Instructions.h>
#include <llvm/IR/Module.h>

#include <unordered_map>

namespace orva::compiler {

namespace {

constexpr std::size_t wordSize = 8;

/// The number of calls before each instruction of a function.
using Calls = std::unordered_map<const llvm::Instruction*, std::size_t>;

bool isKept(const llvm::Instruction& value, const Calls& callsBefore) {
  for (const llvm::User* user : value.users()) {
    const auto* use = llvm::cast<llvm::Instruction>(user);
    const std::size_t own = llvm::isa<llvm::CallBase>(value) ? 1 : 0;
    if (use->getParent() != value.getParent()) return true;
    if (callsBefore.at(use) > callsBefore.at(&value) + own) return true;
  }
  return false;
}

}  // namespace

std::size_t frameSize(const llvm::Function& function) {
  const llvm::DataLayout& layout = function.getParent()->getDataLayout();
  Calls callsBefore;
  std::size_t calls = 0;
  for (const llvm::Instruction& each : llvm::instructions(function)) {
    callsBefore[&each] = calls;
    if (llvm::isa<llvm::CallBase>(each)) ++calls;
  }
  std::size_t size = 0;
  for (const auto& [each, before] : callsBefore) {
    if (const auto* variable = llvm::dyn_cast<llvm::AllocaInst>(each)) {
      size += layout.getTypeAllocSize(variable->getAllocatedType());
    } else if (isKept(*each, callsBefore)) {
      size += wordSize;
    }
  }
  return size;
}

}  // namespace orva::compiler
