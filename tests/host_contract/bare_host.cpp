// Runs the kit on the smallest host with only the hooks that every check needs, as a team that has just begun would.
#include "host_contract/hooks.h"

using orva::host_contract::hostHooks;

namespace {

class BareHooks : public orva::host_contract::Hooks {
 public:
  void start(const std::string& folder) override { hostHooks().start(folder); }
  std::optional<orva::host_contract::Raised> takePending() override { return hostHooks().takePending(); }
  void* newStringList(const std::vector<const char*>& elements) override { return hostHooks().newStringList(elements); }
};

}  // namespace

int main(int argumentCount, char** arguments) {
  BareHooks hooks;
  return orva::host_contract::run(argumentCount, arguments, hooks);
}
