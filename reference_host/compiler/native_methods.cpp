// The process's symbols are looked up one by one, and only for declared natives: compiled code sees no others.
#include "reference_host/compiler/native_methods.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "reference_host/language/parser.h"
#include "reference_host/language/printable_text.h"
#include "reference_host/runtime/type.h"

namespace orva::compiler {

using language::inQuotes;

std::string nativeSymbol(const std::string& className, const std::string& method) {
  return "orva_" + className + "_" + method;
}

/// The standard library's classes as they were when the host was built: a program may run with different ones, but the
/// functions are the same.
static constexpr std::array standardClasses = {
#include "reference_host/standard_classes.inc"
};

/// Tells whether a symbol that looks like a native's is an entry point of the runtime.
static bool isEntryPoint(std::string_view symbol) {
  static constexpr std::array<std::string_view, 2> entryPoints = {"orva_collections_ArrayList_size",
                                                                  "orva_collections_ArrayList_operator_index"};
  return std::find(entryPoints.begin(), entryPoints.end(), symbol) != entryPoints.end();
}

static std::string spelled(const language::TypeName& type, const language::SourceFile& file) {
  return runtime::isBuiltInType(type.text()) ? type.text() : file.qualify(type.text());
}

static std::string declarationOf(const language::MethodDeclaration& method, const language::SourceFile& file) {
  runtime::MethodSignature signature{method.name, method.isStatic, {}, spelled(method.result, file)};
  for (const language::Parameter& parameter : method.parameters) {
    signature.parameters.push_back(spelled(parameter.type, file));
  }
  return describe(signature);
}

/// The declarations of the natives of the standard library, by their symbols.
static std::map<std::string, std::string> readStandardNatives() {
  std::map<std::string, std::string> natives;
  for (const char* text : standardClasses) {
    const language::SourceFile file = language::parseSource({"the standard library", text});
    for (const language::ClassDeclaration& declared : file.classes) {
      for (const language::MethodDeclaration& method : declared.methods) {
        if (method.isNative) natives[nativeSymbol(declared.name, method.name)] = declarationOf(method, file);
      }
    }
  }
  return natives;
}

/// Tells whether an address is in code that the dynamic linker loaded.
static bool isExecutable(const void* address) {
  const auto holds = [](dl_phdr_info* object, std::size_t, void* wanted) {
    const auto place = reinterpret_cast<std::uintptr_t>(wanted);
    for (int i = 0; i < object->dlpi_phnum; ++i) {
      const auto& segment = object->dlpi_phdr[i];
      const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
      const bool isCode = segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0;
      if (isCode && place >= begin && place - begin < segment.p_memsz) return 1;
    }
    return 0;
  };
  return dl_iterate_phdr(holds, const_cast<void*>(address)) != 0;
}

/// Tells whether a symbol's address is a function's. Some linkers put constants next to code.
static bool isFunction(const void* address) {
  Dl_info found{};
  void* entry = nullptr;
  if (dladdr1(address, &found, &entry, RTLD_DL_SYMENT) == 0 || !isExecutable(address)) return false;
  const auto* symbol = static_cast<const ElfW(Sym)*>(entry);
  // The type is in the same bits for all sizes of words.
  return symbol == nullptr || found.dli_saddr != address || ELF64_ST_TYPE(symbol->st_info) != STT_OBJECT;
}

std::optional<std::string> nativeProblem(const std::string& symbol, const std::string& signature) {
  static const auto& standardNatives = *new std::map<std::string, std::string>(readStandardNatives());
  const std::string needs = "needs the symbol " + inQuotes(symbol) + ", which ";
  const void* const address = findNative(symbol);
  if (address == nullptr) return needs + "the process does not define";
  if (isEntryPoint(symbol)) return needs + "is an entry point of the runtime, not a native";
  const auto known = standardNatives.find(symbol);
  if (known == standardNatives.end()) {
    if (isFunction(address)) return std::nullopt;
    return needs + "is data: expected a function";
  }
  if (known->second == signature) return std::nullopt;
  return "is declared as " + inQuotes(signature) + ": expected " + inQuotes(known->second) + " for the symbol " +
         inQuotes(symbol);
}

void* findNative(const std::string& symbol) { return dlsym(RTLD_DEFAULT, symbol.c_str()); }

}  // namespace orva::compiler
