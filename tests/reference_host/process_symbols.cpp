// Reads a dynamic symbol table with LLVM.
#include "process_symbols.h"

#include <llvm/Object/ELFObjectFile.h>

std::vector<std::string> dynamicSymbols(const std::string& path) {
  const auto file = llvm::cantFail(llvm::object::ObjectFile::createObjectFile(path));
  std::vector<std::string> names;
  for (const auto& symbol :
       llvm::cast<llvm::object::ELFObjectFileBase>(*file.getBinary()).getDynamicSymbolIterators()) {
    const bool isDefined = (llvm::cantFail(symbol.getFlags()) & llvm::object::SymbolRef::SF_Undefined) == 0;
    if (isDefined) names.push_back(llvm::cantFail(symbol.getName()).str());
  }
  return names;
}
