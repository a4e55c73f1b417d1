// The just-in-time engine: turns modules into object files, and links modules and object files into the process.
// LLVM's classes are only declared here: its engine's headers take seconds to compile, and most of the host needs none
// of them.
#pragma once

#include <memory>
#include <string>

#include "reference_host/compiler/native_methods.h"

namespace llvm {
class MemoryBuffer;
class Module;
}  // namespace llvm
namespace llvm::orc {
class JITDylib;
class ThreadSafeContext;
}  // namespace llvm::orc

namespace orva::compiler {

class Engine;

/// Code that is linked together and removed together, unless it is kept.
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

/// One engine serves the whole process. Only one thread may link at a time; any thread may call `emitObject`.
class Engine {
 public:
  /// Throws `std::runtime_error` when LLVM cannot generate code for this machine.
  Engine();
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  /// A new, empty unit, which sees the runtime's operations and only these functions of the process.
  std::unique_ptr<CodeUnit> newUnit(const NativeAddresses& natives);

  /// The target triple of all generated code, which uses only the baseline instructions of its processor family.
  std::string target() const;

  /// Compiles a module to the bytes of an ELF object file.
  std::string emitObject(llvm::Module& module);

 private:
  friend class CodeUnit;
  struct Session;

  std::unique_ptr<Session> session_;
};

}  // namespace orva::compiler
