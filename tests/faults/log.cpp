// Keeps the log in memory that a process shares with its children.
#include "log.h"

#include <sys/mman.h>

#include <array>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace faults::log {

using Text = std::array<char, 1 << 16>;

static Text& text() {
  static void* const memory = mmap(nullptr, sizeof(Text), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::runtime_error("no memory for the log");
  return *static_cast<Text*>(memory);
}

void clear() { text().fill('\0'); }

void write(const std::string& line) {
  const std::size_t used = std::strlen(text().data());
  if (used + line.size() + 2 > text().size()) throw std::length_error("the log is full");
  line.copy(text().data() + used, line.size());
  text()[used + line.size()] = '\n';
}

std::vector<std::string> lines() {
  std::istringstream stream(text().data());
  std::vector<std::string> all;
  for (std::string line; std::getline(stream, line);) all.push_back(line);
  return all;
}

}  // namespace faults::log
