// The floor of loading: LLVM's ORC with its defaults, except that it uses the host's linker.
#pragma once

#include <llvm/ExecutionEngine/Orc/LLJIT.h>

#include <memory>
#include <string>

class BareEngine {
 public:
  BareEngine();

  /// Sets the target of a module to the engine's.
  void prepare(llvm::Module& module) const;

  /// Adds code and looks up one of its symbols.
  void link(llvm::orc::ThreadSafeModule module, const std::string& symbol);
  void link(std::unique_ptr<llvm::MemoryBuffer> object, const std::string& symbol);

 private:
  void lookUp(const std::string& symbol);

  std::unique_ptr<llvm::orc::LLJIT> jit_;
};
