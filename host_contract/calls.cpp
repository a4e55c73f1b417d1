// Calls are noted without a lock, because a thread that hangs must not keep others from noting theirs.
#include "host_contract/calls.h"

#include <algorithm>
#include <vector>

namespace orva::host_contract {

static Calls ofThisProcess;
static Calls* noted = &ofThisProcess;

/// Where this thread's call is noted; null if it is in no call, or if there was no room left.
static thread_local std::atomic<const char*>* place = nullptr;

void noteCallsIn(Calls& calls) { noted = &calls; }

std::string unfinishedCalls(const Calls& calls) {
  std::vector<std::string> names;
  for (const std::atomic<const char*>& name : calls.names) {
    const char* const call = name.load();
    if (call != nullptr && std::find(names.begin(), names.end(), call) == names.end()) names.emplace_back(call);
  }
  std::string text;
  for (std::size_t at = 0; at < names.size(); ++at) {
    if (at > 0) text += at + 1 == names.size() ? " and " : ", ";
    text += names[at];
  }
  return text;
}

Calling::Calling(const char* name) : outer_(place == nullptr ? nullptr : place->load()) {
  if (place != nullptr) {
    place->store(name);
    return;
  }
  for (std::atomic<const char*>& free : noted->names) {
    const char* nothing = nullptr;
    if (!free.compare_exchange_strong(nothing, name)) continue;
    place = &free;
    return;
  }
}

Calling::~Calling() {
  if (place == nullptr) return;
  place->store(outer_);
  if (outer_ == nullptr) place = nullptr;
}

}  // namespace orva::host_contract
