// The just-in-time engine: turns modules into object files, and links modules and object files into the process.
#pragma once

#include <llvm/ExecutionEngine/Orc/LLJIT.h>
#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>
#include <llvm/Support/MemoryBuffer.h>

#include <memory>
#include <string>

namespace orva::compiler {

class Engine;

/// Code that is linked together and taken away together, unless it is kept.
class CodeUnit {
 public:
  CodeUnit(Engine& engine, llvm::orc::JITDylib& library) : engine_(engine), library_(library) {}
  ~CodeUnit();
  CodeUnit(const CodeUnit&) = delete;
  CodeUnit& operator=(const CodeUnit&) = delete;

  void add(std::unique_ptr<llvm::Module> module, llvm::orc::ThreadSafeContext context);
  void add(std::unique_ptr<llvm::MemoryBuffer> object);

  /// Links what is needed and calls a function without arguments. Throws `std::runtime_error` when it cannot be linked.
  void run(const std::string& function);

  /// Leaves the code in the process for good.
  void keep() { isKept_ = true; }

 private:
  Engine& engine_;
  llvm::orc::JITDylib& library_;
  bool isKept_ = false;
};

/// One engine serves the whole process. Linking is for one thread at a time; `emitObject` is for any.
class Engine {
 public:
  /// Throws `std::runtime_error` when LLVM cannot make code for this machine.
  Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  /// A new, empty unit, which sees the process's symbols and the runtime's operations.
  std::unique_ptr<CodeUnit> newUnit();

  /// Tells whether the process defines a C symbol.
  bool defines(const std::string& symbol);

  /// The target triple that all code is made for. The code uses no more than the baseline of its processor family.
  std::string target() const;

  /// Compiles a module to the bytes of an ELF object file.
  std::string emitObject(llvm::Module& module);

 private:
  friend class CodeUnit;

  /// Throws an LLVM error with what the session reported for it.
  void require(llvm::Error error);

  llvm::orc::JITTargetMachineBuilder machine_;
  std::string reported_;
  std::unique_ptr<llvm::orc::LLJIT> jit_;
  llvm::orc::JITDylib* operations_ = nullptr;
  int units_ = 0;
};

}  // namespace orva::compiler
