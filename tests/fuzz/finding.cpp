// Reports findings on standard error.
#include "finding.h"

#include <cstdio>
#include <cstdlib>

void finding(const std::string& what) {
  std::fprintf(stderr, "finding: %s\n", what.c_str());
  std::abort();
}
