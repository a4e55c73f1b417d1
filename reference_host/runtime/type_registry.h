// The registry of loaded types: fills `gTypes` and finds types by name. Types are never removed, and pointers to them
// and to their names stay valid for the life of the process.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "reference_host/runtime/type.h"

namespace orva::runtime {

// What the initialiser of a compiled class passes to the registry. Compiled code contains constants of these layouts.
struct MethodDescriptor {
  const char* name;
  const char* parameters;  ///< spelled types, joined by commas
  const char* result;
  int64_t isStatic;
  void* code;
  Invoker invoke;
};
struct TypeDescriptor {
  const char* name;
  const char* fullName;
  int64_t methodCount;
  const MethodDescriptor* methods;
};

/// Collects what the initialisers of one load register on this thread, so that a load registers all of its types or
/// none.
class Registration {
 public:
  /// A type and what it is loaded from.
  struct Noted {
    const TypeDescriptor* descriptor;
    Origin origin;
    std::string source;
  };

  Registration();  ///< one at a time on a thread
  ~Registration();
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  /// Sets what the following types are loaded from.
  void setSource(Origin origin, std::string source) {
    origin_ = origin;
    source_ = std::move(source);
  }

  /// Notes a type; its descriptor must stay valid until the commit.
  void add(const TypeDescriptor& descriptor) { noted_.push_back({&descriptor, origin_, source_}); }

  /// Registers the noted types. Throws `std::runtime_error` if one is registered already; then none is added.
  void commit();

  /// The registration that is open on this thread; null when there is none.
  static Registration* current();

 private:
  std::vector<Noted> noted_;
  Origin origin_ = Origin::named;
  std::string source_;
};

/// Finds a type by full name, unambiguous short name, or generic spelling with any blanks; null when there is none.
const Type* findType(std::string_view name);

/// Notes which generic instance a spelling was resolved to: the next `findType` of the spelling on this thread finds
/// that instance. Going by the loaded types alone, the spelling might mean another instance or be ambiguous.
void noteSpelling(std::string_view spelling, const std::string& fullName);

/// Finds a type by its full name alone.
const Type* findTypeByFullName(std::string_view fullName);

/// Finds a type by its short name only; null when there is none. Throws `std::runtime_error` when it is ambiguous.
const Type* findTypeByShortName(const std::string& name);

/// How a message names the file that a type was loaded from, when the file at `path` declares the type again.
std::string otherSource(const std::string& loaded, const std::string& path);

/// The type of an entry; `index` is below the count.
const Type& typeAt(int32_t index);
int32_t typeCount();

}  // namespace orva::runtime

extern "C" {
/// Called by the initialiser of each compiled class.
void orvart_registerType(const orva::runtime::TypeDescriptor* descriptor);
}
