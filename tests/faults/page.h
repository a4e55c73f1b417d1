// The page that shows a host's engineers what comes of each fault.
#pragma once

#include <cstddef>
#include <string>

namespace faults {

struct Page {
  std::string text;
  std::size_t cases = 0;
};

/// Describes what comes of every fault, as the tests of the paths find it, and prints how many cases each native has.
Page page();

}  // namespace faults
