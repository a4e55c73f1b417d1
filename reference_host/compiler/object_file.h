// Object files of this compiler: ELF objects with a section `.orva.object`, which contains JSON that says what the
// object was built from and for.
#pragma once

#include <llvm/Support/MemoryBuffer.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace llvm {
class Module;
}

namespace orva::compiler {

/// The version of the layout of objects: of the descriptors, the operations and the header.
constexpr int32_t currentObjectAbi = 3;

/// The version of the language that sources are written in.
constexpr const char* currentDialect = "1";

/// An object file and what its header says.
struct ObjectFile {
  std::string path;
  std::string identity;  ///< SHA-256 of the source text, in lower-case hexadecimal digits
  int64_t abi = currentObjectAbi;
  std::string target;  ///< LLVM target triple
  std::string dialect = currentDialect;
  std::vector<std::string> initialisers;  ///< symbols, one for each class
  /// The signatures of native methods, by the symbols that the process must define.
  std::map<std::string, std::string> natives;
  std::unique_ptr<llvm::MemoryBuffer> bytes;
};

/// The SHA-256 of a text, as 64 lower-case hexadecimal digits.
std::string sourceIdentity(const std::string& text);

/// The BLAKE3 digest of an object's bytes, spelled as an identity is.
std::string objectDigest(llvm::StringRef bytes);

/// The path of a source file's object: beside it, with `.o` in place of `.ov`. Throws `std::runtime_error` for a name
/// that does not end in `.ov`.
std::string objectPathOf(const std::string& sourcePath);

/// Adds the section to an otherwise complete module.
void addHeader(llvm::Module& module, const ObjectFile& object);

/// Writes an object under a temporary name and renames it. Throws `std::runtime_error`, and leaves what is there, when
/// the file cannot be written or a file of that name is not an object of this compiler, or is too damaged to tell.
void writeObject(const ObjectFile& object, const std::string& bytes);

/// Reads an object file with its header. Throws `std::runtime_error` when there is none, when it is not an object of
/// this compiler, and when its bytes have changed since it was written. Of an object with a different ABI version, only
/// that version is read.
ObjectFile readObject(const std::string& path);

/// Throws `std::runtime_error`, with the path and both values, when an object was built for a different ABI version,
/// dialect or target, or from a different source.
void checkObject(const ObjectFile& object, const std::string& identity, const std::string& target);

}  // namespace orva::compiler
