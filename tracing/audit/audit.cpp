// The dynamic linker calls this module, in a namespace of its own, while it binds symbols. The module redirects the
// natives to the recorder's thunks for every caller, and the functions that the class-loading library calls only for
// that library.
#include <fcntl.h>
#include <link.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "tracing/audit/loaded_object.h"
#include "tracing/recorder/symbols.h"

using namespace orva::tracing;

namespace {

Exports* exports = nullptr;  // of the recorder in the program; null until it is loaded
char* thunks = nullptr;
const link_map* library = nullptr;  // the class-loading library; the first, should there be several

void takeRecorder(const LoadedObject& object) {
  exports = reinterpret_cast<Exports*>(object.find("orva_trace_exports"));
  thunks = object.find("orva_trace_thunks");
}

void takeLibrary(const link_map& map, const LoadedObject& object) {
  library = &map;
  object.forEachSymbol([&object](const ElfW(Sym) & symbol, const char* name) {
    if (symbol.st_shndx == SHN_UNDEF) return noteLayout(name, *exports);
    const int slot = slotOf(name);
    if (isNativeSlot(slot)) exports->originals[slot] = object.addressOf(symbol);
  });
  exports->attached = Attached::audit;
  FileHeader* const header = exports->header;
  if (header != nullptr) header->attached = static_cast<std::uint32_t>(Attached::audit);
}

/// Finds the slot of a function that one object calls in another, or `noSlot` if it is not traced.
int slotBetween(bool isFromLibrary, bool isToLibrary, const char* name) {
  if (!isFromLibrary && !isToLibrary) return noSlot;
  const int slot = slotOf(name);
  return isNativeSlot(slot) == isToLibrary ? slot : noSlot;
}

char* thunkOf(int slot) { return thunks + std::ptrdiff_t{slot} * ORVA_TRACE_THUNK_SIZE; }

void countUnseen() {
  ++exports->unseen;
  FileHeader* const header = exports->header;
  if (header != nullptr) ++header->unseen;
}

/// Writes to read-only memory, without changing its protection.
bool overwrite(const ElfW(Rela) & place, const ElfW(Rela) & value) {
  const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, "/proc/self/mem", O_RDWR | O_CLOEXEC));
  if (file < 0) return false;
  const long written = syscall(SYS_pwrite64, file, &value, sizeof value, &place);
  syscall(SYS_close, file);
  return written == sizeof value;
}

/// Redirects the functions whose addresses an object will store. The object is mapped but not yet relocated, and its
/// relocation will not call this module, so this rewrites the relocations to lead to the thunks. The originals of the
/// functions that the library calls this way cannot be found here.
void redirectAddresses(const link_map& map, const LoadedObject& object) {
  const bool isLibrary = &map == library;
  object.forEachAddress([&](const ElfW(Rela) & relocation, const char* name) {
    const int slot = slotBetween(isLibrary, !isLibrary, name);
    if (slot == noSlot || (!isLibrary && exports->originals[slot] == nullptr)) return;
    if (isLibrary || !overwrite(relocation, object.filledIn(relocation, thunkOf(slot) + relocation.r_addend))) {
      countUnseen();
    }
  });
}

/// Objects that were mapped before the library, and refer to it, are not relocated yet either.
void openLibrary(const link_map& map, const LoadedObject& object) {
  takeLibrary(map, object);
  for (const link_map* other = map.l_prev; other != nullptr; other = other->l_prev) {
    redirectAddresses(*other, LoadedObject(*other));
  }
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

/// The parts of the interface used here have not changed since its first version.
unsigned int la_version(unsigned int version) { return std::min(version, static_cast<unsigned int>(LAV_CURRENT)); }

unsigned int la_objopen(struct link_map* map, Lmid_t space, std::uintptr_t* cookie) {
  *cookie = reinterpret_cast<std::uintptr_t>(map);
  const LoadedObject object(*map);
  if (exports == nullptr && object.isNamed("liborva-trace-recorder.so")) takeRecorder(object);
  if (exports == nullptr) return LA_FLG_BINDTO | LA_FLG_BINDFROM;
  const bool isLibrary = object.isNamed("liborva-classloader.so");
  if (isLibrary && (library != nullptr || space != LM_ID_BASE)) countUnseen();
  if (space != LM_ID_BASE) return 0;
  if (isLibrary && library == nullptr) openLibrary(*map, object);
  if (library != nullptr) redirectAddresses(*map, object);
  return LA_FLG_BINDTO | LA_FLG_BINDFROM;
}

unsigned int la_objclose(std::uintptr_t* cookie) {
  if (*cookie == reinterpret_cast<std::uintptr_t>(library)) library = nullptr;
  return 0;
}

std::uintptr_t la_symbind64(Elf64_Sym* symbol, unsigned int /*index*/, std::uintptr_t* from, std::uintptr_t* to,
                            unsigned int* /*flags*/, const char* name) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(library);
  if (wanted == 0) return symbol->st_value;
  const int slot = slotBetween(*from == wanted, *to == wanted, name);
  if (slot == noSlot) return symbol->st_value;
  exports->originals[slot] = reinterpret_cast<void*>(symbol->st_value);
  return reinterpret_cast<std::uintptr_t>(thunkOf(slot));
}

}  // extern "C"
#pragma GCC visibility pop
