// Turns a class into an LLVM module whose initialiser registers the class's type.
#pragma once

#include <llvm/IR/LLVMContext.h>
#include <llvm/IR/Module.h>

#include <memory>
#include <string>
#include <vector>

#include "reference_host/compiler/class_catalog.h"
#include "reference_host/language/syntax_tree.h"

namespace orva::compiler {

/// A native method, the C symbol that it is bound to, and how it is declared.
struct NativeBinding {
  std::string method;
  std::string symbol;
  std::string signature;
  language::Position position;
};

struct GeneratedClass {
  std::string fullName;
  std::unique_ptr<llvm::Module> module;
  std::string initialiser;  ///< symbol of a function without arguments
  std::vector<NativeBinding> natives;
};

/// The full name of the class that an initialiser registers.
std::string classOfInitialiser(const std::string& symbol);

/// A class to generate: one of a file, or an instance of a generic class of a file.
struct ClassInput {
  const language::SourceText& source;
  const language::SourceFile& file;
  const language::ClassDeclaration& declared;
  std::vector<language::TypeName> arguments;  ///< of an instance, with full names
};

/// Generates a class. Adds its errors to `diagnostics`; if there are any, the result must not be used.
/// A generic class gets a type without methods: only its instances can be called.
GeneratedClass generateClass(const ClassInput& input, const ClassCatalog& catalog, llvm::LLVMContext& context,
                             std::vector<language::Diagnostic>& diagnostics);

}  // namespace orva::compiler
