// Reads the dynamic section of a mapped object.
#include "tracing/audit/loaded_object.h"

#include <cstring>

namespace orva::tracing {

/// The dynamic linker replaces the offsets in most dynamic sections by addresses, but not in those that are read-only.
template <typename Pointed>
const Pointed* LoadedObject::located(ElfW(Addr) address) const {
  return reinterpret_cast<const Pointed*>(address < base_ ? base_ + address : address);
}

/// Counts the symbols: the last one is at the end of the longest chain of the hash table.
std::size_t LoadedObject::countSymbols(const ElfW(Word) * table) const {
  const ElfW(Word) bucketCount = table[0];
  const ElfW(Word) firstHashed = table[1];
  const ElfW(Word)* const buckets = table + 4 + std::size_t{table[2]} * sizeof(ElfW(Addr)) / sizeof(ElfW(Word));
  const ElfW(Word)* const chains = buckets + bucketCount;
  ElfW(Word) last = 0;
  for (ElfW(Word) i = 0; i < bucketCount; ++i) {
    if (buckets[i] > last) last = buckets[i];
  }
  if (last < firstHashed) return firstHashed;
  while ((chains[last - firstHashed] & 1) == 0) ++last;
  return std::size_t{last} + 1;
}

LoadedObject::LoadedObject(const link_map& map) : base_(map.l_addr) {
  std::size_t relocationsSize = 0;
  for (const ElfW(Dyn)* entry = map.l_ld; entry != nullptr && entry->d_tag != DT_NULL; ++entry) {
    const ElfW(Addr) address = entry->d_un.d_ptr;
    switch (entry->d_tag) {
      case DT_STRTAB: names_ = located<char>(address); break;
      case DT_SYMTAB: symbols_ = located<ElfW(Sym)>(address); break;
      case DT_GNU_HASH: symbolCount_ = countSymbols(located<ElfW(Word)>(address)); break;
      case DT_HASH: symbolCount_ = located<ElfW(Word)>(address)[1]; break;
      case DT_SONAME: soname_ = entry->d_un.d_val; break;
      case DT_RELA: relocations_ = located<ElfW(Rela)>(address); break;
      case DT_RELASZ: relocationsSize = entry->d_un.d_val; break;
      default: break;
    }
  }
  if (relocations_ != nullptr) relocationsEnd_ = relocations_ + relocationsSize / sizeof(ElfW(Rela));
}

bool LoadedObject::isNamed(const char* prefix) const {
  return soname_ != 0 && std::strncmp(names_ + soname_, prefix, std::strlen(prefix)) == 0;
}

ElfW(Rela) LoadedObject::filledIn(ElfW(Rela) relocation, const char* value) const {
  relocation.r_info = ELF64_R_INFO(0, R_X86_64_RELATIVE);
  relocation.r_addend = static_cast<ElfW(Sxword)>(reinterpret_cast<ElfW(Addr)>(value) - base_);
  return relocation;
}

char* LoadedObject::find(const char* name) const {
  char* found = nullptr;
  forEachSymbol([&](const ElfW(Sym) & symbol, const char* symbolName) {
    if (symbol.st_shndx != SHN_UNDEF && std::strcmp(symbolName, name) == 0) found = addressOf(symbol);
  });
  return found;
}

}  // namespace orva::tracing
