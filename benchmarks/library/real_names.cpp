#include "real_names.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <stdexcept>

/// What a command prints, line by line. Throws when it fails.
static std::vector<std::string> linesOf(const std::string& command) {
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("Cannot run: " + command);
  std::string text;
  std::array<char, 1 << 16> part{};
  while (const std::size_t size = std::fread(part.data(), 1, part.size(), pipe)) text.append(part.data(), size);
  if (pclose(pipe) != 0) throw std::runtime_error("Failed: " + command);
  std::vector<std::string> lines;
  for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1) {
    lines.push_back(text.substr(begin, end - begin));
  }
  return lines;
}

/// Each class with virtual functions has a symbol "vtable for NAME@@VERSION". Local and anonymous classes are left out.
static std::vector<std::string> classNames() {
  const std::string command = "nm -DC '" LLVM_LIBRARY "'";
  const std::string mark = " vtable for ";
  std::vector<std::string> names;
  for (const std::string& line : linesOf(command)) {
    const std::size_t found = line.find(mark);
    if (found == std::string::npos || line.find_first_of("({") != std::string::npos) continue;
    const std::size_t begin = found + mark.size();
    names.push_back(line.substr(begin, line.find("@@") - begin));
  }
  if (names.empty()) throw std::runtime_error("No class is listed by: " + command);
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

/// Splits a name after its last dot outside angle brackets.
static measured::TypeNames typeNamesOf(std::string fullName) {
  for (std::size_t colons = 0; (colons = fullName.find("::", colons)) != std::string::npos;) {
    fullName.replace(colons, 2, ".");
  }
  std::size_t begin = 0;
  int depth = 0;
  for (std::size_t i = 0; i < fullName.size(); ++i) {
    if (fullName[i] == '<') ++depth;
    if (fullName[i] == '>') --depth;
    if (fullName[i] == '.' && depth == 0) begin = i + 1;
  }
  return {fullName.substr(begin), fullName};
}

const std::vector<measured::TypeNames>& realTypes() {
  static const std::vector<measured::TypeNames> types = [] {
    std::vector<std::string> names = classNames();
    std::shuffle(names.begin(), names.end(), std::mt19937(1));
    std::vector<measured::TypeNames> all;
    for (const std::string& name : names) all.push_back(typeNamesOf(name));
    return all;
  }();
  return types;
}

bool isGeneric(const measured::TypeNames& type) { return type.fullName.find('<') != std::string::npos; }

std::vector<std::string> sampleOf(const std::vector<std::string>& names) {
  const std::size_t size = std::min<std::size_t>(32, names.size());
  std::vector<std::string> sample;
  for (std::size_t i = 0; i < size; ++i) sample.push_back(names[i * names.size() / size]);
  return sample;
}
