// LLVM's ORC as a peer, with its default configuration: object files.
#include <llvm/Config/llvm-config.h>
#include <llvm/ExecutionEngine/Orc/LLJIT.h>
#include <llvm/Support/Error.h>
#include <llvm/Support/MemoryBuffer.h>
#include <llvm/Support/TargetSelect.h>

#include "measure.h"

static void loadCompiled(const std::string& folder) {
  llvm::InitializeNativeTarget();
  llvm::InitializeNativeTargetAsmPrinter();
  const llvm::ExitOnError good("orc_jobs: ");
  const auto jit = good(llvm::orc::LLJITBuilder().create());
  const peers::Report report("ORC", "LLVM " LLVM_VERSION_STRING);
  const std::vector<std::string> objects = peers::copies(PEER_OBJECT, folder);
  report.add("load_compiled", "LLJIT::addObjectFile into a new JITDylib, lookup, and a call",
             peers::timeLoads([&](int i) {
               const std::string& object = objects[static_cast<std::size_t>(i)];
               llvm::orc::JITDylib& library = good(jit->createJITDylib(object));
               good(jit->addObjectFile(library, good(llvm::errorOrToExpected(llvm::MemoryBuffer::getFile(object)))));
               const auto number = good(jit->lookup(library, "number")).toPtr<int (*)()>();
               peers::require(number() == 17, "the module does not work");
             }));
}

int main(int /*argc*/, char** argv) {
  return peers::runJobs([argv] { loadCompiled(argv[1]); });
}
