// LLVM's ORC as it comes, with the linker that the host uses: the floor of loading.
#pragma once

#include <llvm/ExecutionEngine/Orc/LLJIT.h>

#include <memory>
#include <string>

class BareEngine {
 public:
  BareEngine();

  /// Gives a module the target that the engine makes code for.
  void prepare(llvm::Module& module) const;

  /// Adds code and looks a symbol of it up.
  void link(llvm::orc::ThreadSafeModule module, const std::string& symbol);
  void link(std::unique_ptr<llvm::MemoryBuffer> object, const std::string& symbol);

 private:
  void lookUp(const std::string& symbol);

  std::unique_ptr<llvm::orc::LLJIT> jit_;
};
