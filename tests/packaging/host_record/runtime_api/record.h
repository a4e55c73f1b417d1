// The record lies in a header of its own, which is installed too.
#pragma once

#include <vector>

struct TypeRecord {
  char names[4][24];
  void* type;
  std::vector<void*> members;
};
