// Stores the layout of the record that the library is built with in an object file, as a text that cmake/record.cmake
// reads there: no program runs, so this works in cross-compiled builds too.
#include "classloader/record_layout.h"

namespace {

struct Text {
  char bytes[400];
  int size;

  constexpr void append(const char* text) {
    while (*text != '\0') bytes[size++] = *text++;
  }

  constexpr void append(const char* key, long number) {
    append(" ");
    append(key);
    append(number < 0 ? "=-" : "=");
    const long rest = number < 0 ? -number : number;
    long power = 1;
    while (rest / power >= 10) power *= 10;
    for (; power > 0; power /= 10) bytes[size++] = static_cast<char>('0' + rest / power % 10);
  }
};

constexpr Text spell(const orva::RecordLayout& layout) {
  Text text{};
  text.append("orva type record:");
  text.append("size", layout.size);
  text.append("alignment", layout.alignment);
  text.append("table", layout.table);
  text.append("name1", layout.name1);
  text.append("name2", layout.name2);
  text.append("name3", layout.name3);
  text.append("name4", layout.name4);
  text.append("type", layout.type);
  text.append("members", layout.members);
  return text;
}

}  // namespace

[[gnu::used]] static constexpr Text layout = spell(orva::recordLayout<TypeRecord, decltype(gTypes)>());
