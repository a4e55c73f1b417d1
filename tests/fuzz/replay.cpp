// Plays each input that is named, or that is below a folder that is named, once. Replaces libFuzzer in builds that do
// not search.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

#include "target.h"

namespace fs = std::filesystem;

static std::vector<fs::path> inputsBelow(const fs::path& place) {
  if (!fs::is_directory(place)) return {place};
  std::vector<fs::path> inputs;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(place)) {
    if (entry.is_regular_file()) inputs.push_back(entry.path());
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

static bool play(const fs::path& input) {
  std::ifstream file(input, std::ios::binary);
  const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
  if (!file) return false;
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return true;
}

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv, argv + argc);
  int played = 0;
  for (std::size_t i = 1; i < words.size(); ++i) {
    for (const fs::path& input : inputsBelow(words[i])) {
      // The last line that is printed is a command that runs the failing input alone.
      std::cout << words.front() << ' ' << input.string() << '\n' << std::flush;
      if (!play(input)) {
        std::cerr << "cannot read " << input.string() << '\n';
        return 2;
      }
      ++played;
    }
  }
  if (played == 0) {
    std::cerr << "no inputs: name files, or folders that contain some\n";
    return 2;
  }
  std::cout << played << " inputs\n";
  return 0;
}
