// Which calls into the host have not returned: the process that waits for a check reads it when the check hangs or
// crashes.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace orva::host_contract {

/// The calls of one process, one for each thread that is in the host; at most as many as there is room for.
struct Calls {
  std::atomic<const char*> names[64];
};

/// Notes the calls of this process from now on here; before, they are noted in the process's own memory.
void noteCallsIn(Calls& calls);

/// Names the calls that have not returned, as "A", "A and B" or "A, B and C"; empty when there are none.
std::string unfinishedCalls(const Calls& calls);

/// Notes a call into the host for as long as it lives. Nested in another one of its thread, it stands for both.
class Calling {
 public:
  /// @param name of what is called, which lives as long as the program.
  explicit Calling(const char* name);
  ~Calling();
  Calling(const Calling&) = delete;
  Calling& operator=(const Calling&) = delete;

 private:
  const char* outer_;
};

}  // namespace orva::host_contract
