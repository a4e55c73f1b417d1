// A host that costs next to nothing, so that what is measured is the library. It raises nothing: a measured call that
// fails ends the program.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "runtime_api/reflection.h"

namespace measured {

/// The names of a registered type.
struct TypeNames {
  std::string shortName;
  std::string fullName;
};

/// The name of a generic instance that is in no table. It shares its first 12 bytes with all names of a table.
constexpr const char* unknownInstance = "com.example.Box<Circle>";

/// An element for lists.
constexpr const char* sourceFile = "com/example/service/web/Handler.ov";

/// The full name of the `number`-th type, such as "com.example.service.web.HttpRequestHandler7".
std::string fullNameOf(std::size_t number);

/// The same without its package.
std::string shortNameOf(std::size_t number);

/// Fills the registry with these types, which must outlive their use.
void registerTypes(const std::vector<TypeNames>& types);

/// Fills the registry with this many types with made-up names. Registries are kept, so that going back to a size costs
/// nothing.
void registerTypes(std::size_t count);

/// Fills the type table with these records, which must outlive their use. They are back in `records` when the table is
/// filled with others.
void useTable(std::vector<TypeRecord>& records);

/// Fills the type table with this many ready records, each with four names that begin with "com.example.". Tables are
/// kept too.
void fillTable(std::size_t count);

/// Makes a folder the only root of the class path.
void setRoot(const std::string& folder);

/// The handle of a language list of strings. The list must outlive its use.
void* listOf(std::vector<const char*>& strings);

/// Counts the sources that the library has asked to load.
std::size_t loads();

}  // namespace measured
