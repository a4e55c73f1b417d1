// The kit's hooks for tests/other_host/, whose compiler reads no files.
#include <host_contract/hooks.h>

#include "other_host.h"

namespace {

class OtherHooks : public orva::host_contract::Hooks {
 public:
  void start(const std::string& /*folder*/) override {}

  std::optional<orva::host_contract::Raised> takePending() override {
    const auto pending = other_host::takePending();
    if (!pending) return std::nullopt;
    return orva::host_contract::Raised{*pending, {}};
  }

  void* newStringList(const std::vector<const char*>& /*elements*/) override { return nullptr; }

  void* boundNative(const char* symbol) override { return other_host::bindNative(symbol); }

  std::string classSource(const std::string& /*packageName*/, const std::string& /*className*/) override { return {}; }

  std::string brokenSource(const std::string& /*packageName*/, const std::string& /*className*/) override { return {}; }
};

}  // namespace

orva::host_contract::Hooks& orva::host_contract::hostHooks() {
  static OtherHooks hooks;
  return hooks;
}
