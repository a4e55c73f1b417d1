// Puts all code into one library, which sees the process and the operations that compiled code calls.
#include "bare_engine.h"

#include <llvm/ExecutionEngine/JITLink/EHFrameSupport.h>
#include <llvm/ExecutionEngine/Orc/EPCEHFrameRegistrar.h>
#include <llvm/ExecutionEngine/Orc/ObjectLinkingLayer.h>
#include <llvm/TargetParser/Host.h>

#include <stdexcept>
#include <utility>

#include "reference_host/compiler/linkage.h"

namespace orc = llvm::orc;

/// Ends the benchmark on an error; `cantFail` checks nothing in release builds.
static void require(llvm::Error error) {
  if (error) throw std::runtime_error(llvm::toString(std::move(error)));
}
template <typename Value>
static Value valueOrEnd(llvm::Expected<Value> value) {
  require(value.takeError());
  return std::move(*value);
}

static llvm::Expected<std::unique_ptr<orc::ObjectLayer>> makeLinkingLayer(orc::ExecutionSession& session,
                                                                          const llvm::Triple& /*triple*/) {
  auto layer = std::make_unique<orc::ObjectLinkingLayer>(session);
  layer->addPlugin(
      std::make_shared<orc::EHFrameRegistrationPlugin>(session, valueOrEnd(orc::EPCEHFrameRegistrar::Create(session))));
  return std::unique_ptr<orc::ObjectLayer>(std::move(layer));
}

static orc::JITTargetMachineBuilder sameMachine() {
  orc::JITTargetMachineBuilder machine{llvm::Triple(llvm::sys::getProcessTriple())};
  machine.setRelocationModel(llvm::Reloc::PIC_);
  machine.setCodeModel(llvm::CodeModel::Small);
  machine.setCodeGenOptLevel(llvm::CodeGenOptLevel::None);
  return machine;
}

BareEngine::BareEngine()
    : jit_(valueOrEnd(orc::LLJITBuilder()
                          .setJITTargetMachineBuilder(sameMachine())
                          .setObjectLinkingLayerCreator(makeLinkingLayer)
                          .create())) {
  orc::SymbolMap symbols;
  for (const auto& operation : orva::compiler::compiledCodeOperations()) {
    symbols[jit_->mangleAndIntern(operation.name)] = {orc::ExecutorAddr::fromPtr(operation.address),
                                                      llvm::JITSymbolFlags::Exported};
  }
  require(jit_->getMainJITDylib().define(orc::absoluteSymbols(std::move(symbols))));
}

void BareEngine::prepare(llvm::Module& module) const {
  module.setTargetTriple(jit_->getTargetTriple().str());
  module.setDataLayout(jit_->getDataLayout());
}

void BareEngine::link(orc::ThreadSafeModule module, const std::string& symbol) {
  require(jit_->addIRModule(std::move(module)));
  lookUp(symbol);
}

void BareEngine::link(std::unique_ptr<llvm::MemoryBuffer> object, const std::string& symbol) {
  require(jit_->addObjectFile(std::move(object)));
  lookUp(symbol);
}

void BareEngine::lookUp(const std::string& symbol) { valueOrEnd(jit_->lookupLinkerMangled(symbol)); }
