// The natives of the language class `Compiler`.
#include <exception>
#include <new>
#include <string>

#include "reference_host/compiler/exhaustion.h"
#include "reference_host/compiler/files.h"
#include "reference_host/compiler/object_file.h"
#include "reference_host/runtime/values.h"
#include "runtime_api/runtime.h"

/// Returns the text that a function computes for a file name; raises "ValueException" for a null file, "Exception" when
/// memory runs out, and "IOException" when it throws.
template <typename Function>
static const char* textOfFile(const char* file, Function function) {
  if (file == nullptr) {
    Orva_raise("ValueException", "Source filename is required");
    return nullptr;
  }
  try {
    return orva::runtime::newText(function(std::string(file)));
  } catch (const std::bad_alloc&) {
    Orva_raise("Exception", orva::compiler::lackOfMemory());
    return nullptr;
  } catch (const std::exception& failure) {
    Orva_raise("IOException", failure.what());
    return nullptr;
  }
}

/// `static Compiler.sourceIdentity(file)`: the identity of a source file, as objects record it.
extern "C" const char* orva_Compiler_sourceIdentity(const char* file) {
  return textOfFile(file, [](const std::string& path) {
    return orva::compiler::sourceIdentity(orva::compiler::readSource(path).text);
  });
}

/// `static Compiler.objectPath(file)`: where `precompileSources` writes the object of a source file.
extern "C" const char* orva_Compiler_objectPath(const char* file) {
  return textOfFile(file, [](const std::string& path) { return orva::compiler::objectPathOf(path); });
}
