// The dynamic linker calls this while it binds symbols, in a namespace of its own: natives are redirected to the
// recorder's thunks for all who call them, and what the class-loading library calls is redirected for the library
// alone.
#include <link.h>
#include <sys/mman.h>

#include <cstdint>

#include "tracing/audit/loaded_object.h"
#include "tracing/recorder/symbols.h"

using namespace orva::tracing;

namespace {

Exports* exports = nullptr;  // of the recorder in the program; null while there is none
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

/// Finds the slot of what one object calls of another, or `noSlot` for what is not traced.
int slotBetween(bool isFromLibrary, bool isToLibrary, const char* name) {
  if (!isFromLibrary && !isToLibrary) return noSlot;
  const int slot = slotOf(name);
  return isNativeSlot(slot) == isToLibrary ? slot : noSlot;
}

void* thunkOf(int slot) { return thunks + slot * ORVA_TRACE_THUNK_SIZE; }

void countUnseen() {
  ++exports->unseen;
  FileHeader* const header = exports->header;
  if (header != nullptr) ++header->unseen;
}

/// Writes to memory that may be read-only by now.
bool overwrite(void** place, void* value) {
  constexpr std::uintptr_t pageSize = 4096;
  void* const page = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(place) & ~(pageSize - 1));
  if (mprotect(page, pageSize, PROT_READ | PROT_WRITE) != 0) return false;
  *place = value;
  return true;
}

/// Redirects what an object keeps the addresses of.
void redirectAddresses(const link_map& map) {
  const LoadedObject object(map);
  const bool isLibrary = &map == library;
  object.forEachAddress([isLibrary](const char* name, void** place) {
    const int slot = slotBetween(isLibrary, !isLibrary, name);
    if (slot == noSlot) return;
    auto& original = exports->originals[slot];
    if (isLibrary) original = *place;
    if (*place != original) return;
    if (!overwrite(place, thunkOf(slot))) countUnseen();
  });
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

unsigned int la_version(unsigned int /*version*/) { return LAV_CURRENT; }

unsigned int la_objopen(struct link_map* map, Lmid_t space, std::uintptr_t* cookie) {
  *cookie = reinterpret_cast<std::uintptr_t>(map);
  if (space != LM_ID_BASE) return 0;
  const LoadedObject object(*map);
  if (exports == nullptr && object.isNamed("liborva-trace-recorder.so")) takeRecorder(object);
  if (exports != nullptr && library == nullptr && object.isNamed("liborva-classloader.so")) takeLibrary(*map, object);
  return LA_FLG_BINDTO | LA_FLG_BINDFROM;
}

unsigned int la_objclose(std::uintptr_t* cookie) {
  if (*cookie == reinterpret_cast<std::uintptr_t>(library)) library = nullptr;
  return 0;
}

/// The objects that the program starts with are bound, and none of their code has run.
void la_preinit(std::uintptr_t* cookie) {
  if (library == nullptr) return;
  const auto* map = reinterpret_cast<const link_map*>(*cookie);
  for (; map != nullptr; map = map->l_next) redirectAddresses(*map);
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
