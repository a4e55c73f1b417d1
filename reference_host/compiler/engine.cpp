// LLVM's ORC with JITLink. Every unit is a library of its own, so that units do not see each other's symbols. None sees
// those of the process either, so that names mean what the program says, whatever the process defines.
#include "reference_host/compiler/engine.h"

#include <llvm/ADT/SmallVector.h>
#include <llvm/ADT/StringExtras.h>
#include <llvm/ExecutionEngine/JITLink/EHFrameSupport.h>
#include <llvm/ExecutionEngine/Orc/EPCEHFrameRegistrar.h>
#include <llvm/ExecutionEngine/Orc/LLJIT.h>
#include <llvm/ExecutionEngine/Orc/ObjectLinkingLayer.h>
#include <llvm/IR/LegacyPassManager.h>
#include <llvm/IR/Module.h>
#include <llvm/Support/MemoryBuffer.h>
#include <llvm/Support/TargetSelect.h>
#include <llvm/Support/raw_ostream.h>
#include <llvm/Target/TargetMachine.h>
#include <llvm/TargetParser/Host.h>

#include <algorithm>
#include <stdexcept>
#include <utility>
#include <vector>

#include "reference_host/compiler/linkage.h"
#include "reference_host/language/printable_text.h"

namespace orva::compiler {

namespace orc = llvm::orc;

static orc::JITTargetMachineBuilder baselineMachine() {
  llvm::InitializeNativeTarget();
  llvm::InitializeNativeTargetAsmPrinter();
  orc::JITTargetMachineBuilder machine{llvm::Triple(llvm::sys::getProcessTriple())};
  machine.setRelocationModel(llvm::Reloc::PIC_);
  machine.setCodeModel(llvm::CodeModel::Small);
  // Compiled code spends most of its time in the runtime's operations, and the program waits while a class is compiled.
  machine.setCodeGenOptLevel(llvm::CodeGenOptLevel::None);
  return machine;
}

/// Keeps the unwind table of an object whole. JITLink would split it into records, to leave out those of unused
/// functions. That takes time quadratic in the number of functions, and ours are all used.
class WholeUnwindTable final : public orc::ObjectLinkingLayer::Plugin {
 public:
  void modifyPassConfig(orc::MaterializationResponsibility& /*unit*/, llvm::jitlink::LinkGraph& /*graph*/,
                        llvm::jitlink::PassConfiguration& passes) override {
    // The passes that split the table find it by the name of its section.
    passes.PrePrunePasses.insert(passes.PrePrunePasses.begin(), hide);
    passes.PostPrunePasses.emplace_back(show);
  }

  llvm::Error notifyFailed(orc::MaterializationResponsibility& /*unit*/) override { return llvm::Error::success(); }
  llvm::Error notifyRemovingResources(orc::JITDylib& /*library*/, orc::ResourceKey /*key*/) override {
    return llvm::Error::success();
  }
  void notifyTransferringResources(orc::JITDylib& /*library*/, orc::ResourceKey /*to*/,
                                   orc::ResourceKey /*from*/) override {}

 private:
  static constexpr const char* shown = ".eh_frame";
  static constexpr const char* hidden = ".eh_frame.whole";

  static llvm::Error hide(llvm::jitlink::LinkGraph& graph) {
    llvm::jitlink::Section* table = graph.findSectionByName(shown);
    if (table == nullptr) return llvm::Error::success();
    for (llvm::jitlink::Block* block : table->blocks()) {
      graph.addAnonymousSymbol(*block, 0, block->getSize(), false, true);
    }
    graph.mergeSections(graph.createSection(hidden, table->getMemProt()), *table, true);
    return llvm::Error::success();
  }

  static llvm::Error show(llvm::jitlink::LinkGraph& graph) {
    llvm::jitlink::Section* table = graph.findSectionByName(hidden);
    if (table != nullptr) graph.mergeSections(*graph.findSectionByName(shown), *table);
    return llvm::Error::success();
  }
};

/// JITLink, with unwind tables registered in the process, so that C++ exceptions can cross compiled frames.
static llvm::Expected<std::unique_ptr<orc::ObjectLayer>> makeLinkingLayer(orc::ExecutionSession& session,
                                                                          const llvm::Triple& /*triple*/) {
  auto layer = std::make_unique<orc::ObjectLinkingLayer>(session);
  auto registrar = orc::EPCEHFrameRegistrar::Create(session);
  if (!registrar) return registrar.takeError();
  layer->addPlugin(std::make_shared<WholeUnwindTable>());
  layer->addPlugin(std::make_shared<orc::EHFrameRegistrationPlugin>(session, std::move(*registrar)));
  return std::unique_ptr<orc::ObjectLayer>(std::move(layer));
}

/// The text of a linker error.
static std::string describe(llvm::Error error) {
  std::string text;
  const auto add = [&text](const std::string& message) { text += (text.empty() ? "" : "; ") + message; };
  llvm::handleAllErrors(
      std::move(error),
      [&](const orc::SymbolsNotFound& missing) {
        std::vector<std::string> names;
        for (const orc::SymbolStringPtr& symbol : missing.getSymbols())
          names.push_back(language::inQuotes((*symbol).str()));
        std::sort(names.begin(), names.end());
        add("it refers to " + llvm::join(names, ", ") +
            ": expected only its own symbols, the runtime's operations and the natives that it declares");
      },
      [&](const llvm::ErrorInfoBase& other) { add(other.message()); });
  return text;
}

static orc::ExecutorSymbolDef exported(const void* address) {
  return {orc::ExecutorAddr::fromPtr(address), llvm::JITSymbolFlags::Exported};
}

/// Returns the value, which may be a reference, or throws the error.
template <typename Value>
static Value valueOrThrow(llvm::Expected<Value> expected) {
  if (!expected) throw std::runtime_error(llvm::toString(expected.takeError()));
  return static_cast<Value&&>(*expected);
}

/// The LLVM objects of the engine.
struct Engine::Session {
  Session();

  /// Throws an LLVM error with what the session reported for it.
  void require(llvm::Error error);

  orc::JITTargetMachineBuilder machine = baselineMachine();
  std::string reported;
  std::unique_ptr<orc::LLJIT> jit;
  orc::JITDylib* operations = nullptr;
  int units = 0;
};

Engine::Session::Session() {
  // Compiled classes have no static constructors, which a platform would run.
  jit = valueOrThrow(orc::LLJITBuilder()
                         .setJITTargetMachineBuilder(machine)
                         .setObjectLinkingLayerCreator(makeLinkingLayer)
                         .setPlatformSetUp(orc::setUpInactivePlatform)
                         .setLinkProcessSymbolsByDefault(false)
                         .create());
  // The session reports the cause separately from the failed lookup; `require` combines them.
  jit->getExecutionSession().setErrorReporter([this](llvm::Error error) {
    if (!reported.empty()) reported += "; ";
    reported += describe(std::move(error));
  });
  operations = &jit->getExecutionSession().createBareJITDylib("orva.operations");
  orc::SymbolMap symbols;
  for (const runtime::NamedOperation& operation : compiledCodeOperations()) {
    symbols[jit->mangleAndIntern(operation.name)] = exported(operation.address);
  }
  require(operations->define(orc::absoluteSymbols(std::move(symbols))));
}

void Engine::Session::require(llvm::Error error) {
  const std::string cause = std::exchange(reported, {});
  if (error) {
    const std::string failed = describe(std::move(error));
    throw std::runtime_error(cause.empty() ? failed : cause);
  }
}

Engine::Engine() : session_(std::make_unique<Session>()) {}

Engine::~Engine() = default;

std::unique_ptr<CodeUnit> Engine::newUnit(const NativeAddresses& natives) {
  orc::JITDylib& library =
      valueOrThrow(session_->jit->createJITDylib("orva.unit." + std::to_string(session_->units++)));
  auto unit = std::make_unique<CodeUnit>(*this, library);
  library.setLinkOrder({{session_->operations, orc::JITDylibLookupFlags::MatchExportedSymbolsOnly}});
  orc::SymbolMap symbols;
  for (const auto& [symbol, address] : natives) symbols[session_->jit->mangleAndIntern(symbol)] = exported(address);
  if (!symbols.empty()) session_->require(library.define(orc::absoluteSymbols(std::move(symbols))));
  return unit;
}

std::string Engine::target() const { return session_->machine.getTargetTriple().str(); }

std::string Engine::emitObject(llvm::Module& module) {
  orc::JITTargetMachineBuilder builder = session_->machine;
  const auto machine = valueOrThrow(builder.createTargetMachine());
  module.setTargetTriple(target());
  module.setDataLayout(machine->createDataLayout());
  llvm::SmallVector<char, 0> bytes;
  llvm::raw_svector_ostream out(bytes);
  llvm::legacy::PassManager passes;
  if (machine->addPassesToEmitFile(passes, out, nullptr, llvm::CodeGenFileType::ObjectFile)) {
    throw std::runtime_error("LLVM cannot write object files for " + target());
  }
  passes.run(module);
  return {bytes.begin(), bytes.end()};
}

CodeUnit::~CodeUnit() {
  // Removing a library from a live session does not fail, and nobody could handle the error.
  if (!isKept_) llvm::consumeError(engine_.session_->jit->getExecutionSession().removeJITDylib(library_));
}

void CodeUnit::add(std::unique_ptr<llvm::Module> module, orc::ThreadSafeContext context) {
  module->setTargetTriple(engine_.target());
  module->setDataLayout(engine_.session_->jit->getDataLayout());
  engine_.session_->require(
      engine_.session_->jit->addIRModule(library_, orc::ThreadSafeModule(std::move(module), std::move(context))));
}

void CodeUnit::add(std::unique_ptr<llvm::MemoryBuffer> object) {
  engine_.session_->require(engine_.session_->jit->addObjectFile(library_, std::move(object)));
}

void CodeUnit::run(const std::string& function) {
  auto address = engine_.session_->jit->lookupLinkerMangled(library_, function);
  if (!address) engine_.session_->require(address.takeError());
  engine_.session_->reported.clear();
  address->toPtr<void (*)()>()();
}

}  // namespace orva::compiler
