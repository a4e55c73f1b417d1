// What the dynamic linker has mapped of one object: its name, its symbols, and where it refers to others.
#pragma once

#include <link.h>

#include <cstddef>

namespace orva::tracing {

class LoadedObject {
 public:
  explicit LoadedObject(const link_map& map);

  /// Tells whether the object's own name begins with `prefix`.
  bool isNamed(const char* prefix) const;

  /// Calls `visit` with each symbol's entry and name.
  template <typename Visit>
  void forEachSymbol(const Visit& visit) const {
    for (std::size_t i = 0; i < symbolCount_; ++i) visit(symbols_[i], names_ + symbols_[i].st_name);
  }

  /// Calls `visit` with each relocation that fills in the address of another object's symbol, and the symbol's name.
  /// Those of the procedure linkage table are not among them.
  template <typename Visit>
  void forEachAddress(const Visit& visit) const {
    for (const ElfW(Rela)* entry = relocations_; entry < relocationsEnd_; ++entry) {
      const auto type = ELF64_R_TYPE(entry->r_info);
      if (type != R_X86_64_GLOB_DAT && type != R_X86_64_64) continue;
      const ElfW(Sym)& symbol = symbols_[ELF64_R_SYM(entry->r_info)];
      // An undefined symbol with a value refers to an entry in the program's own linkage table.
      if (symbol.st_shndx == SHN_UNDEF && symbol.st_value == 0) visit(*entry, names_ + symbol.st_name);
    }
  }

  /// Returns the relocation, changed so that it fills in the address `value`.
  ElfW(Rela) filledIn(ElfW(Rela) relocation, const char* value) const;

  /// The address of a symbol that the object defines; null if it does not define that name.
  char* find(const char* name) const;
  char* addressOf(const ElfW(Sym) & symbol) const { return reinterpret_cast<char*>(base_ + symbol.st_value); }

 private:
  template <typename Pointed>
  const Pointed* located(ElfW(Addr) address) const;
  std::size_t countSymbols(const ElfW(Word) * table) const;

  ElfW(Addr) base_;
  const char* names_ = "";
  const ElfW(Sym) * symbols_ = nullptr;
  std::size_t symbolCount_ = 0;
  std::size_t soname_ = 0;
  const ElfW(Rela) * relocations_ = nullptr;
  const ElfW(Rela) * relocationsEnd_ = nullptr;
};

}  // namespace orva::tracing
