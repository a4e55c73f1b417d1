// The native of `Console`.
#include <cstdio>

#include "reference_host/runtime/operations.h"

/// `static Console.print(text)`: writes a line to standard output.
extern "C" void orva_Console_print(const char* text) {
  std::fputs(orvart_printableText(text), stdout);
  std::fputc('\n', stdout);
}
