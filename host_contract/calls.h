// Which calls into the host have not returned. The process that waits for a check reads this when the check hangs or
// crashes.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace orva::host_contract {

/// The calls of one process: one for each thread that is in the host, as far as there is room.
struct Calls {
  std::atomic<const char*> names[64];
};

/// From now on, notes the calls of this process in `calls`. Until then, they are noted in the process's own memory.
void noteCallsIn(Calls& calls);

/// Names the calls that have not returned, as "A", "A and B" or "A, B and C"; empty when there are none.
std::string unfinishedCalls(const Calls& calls);

/// Notes a call into the host for as long as this object lives. While it does, it hides an outer call of its thread.
class Calling {
 public:
  /// @param name of what is called; it must live as long as the program.
  explicit Calling(const char* name);
  ~Calling();
  Calling(const Calling&) = delete;
  Calling& operator=(const Calling&) = delete;

 private:
  const char* outer_;
};

}  // namespace orva::host_contract
