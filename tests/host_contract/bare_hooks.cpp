// The smallest host as the kit sees one whose team has written only the hooks without which nothing can be checked.
#include <deque>

#include "host_contract/hooks.h"
#include "minimal_host.h"

using orva::host_contract::Hooks;
using orva::host_contract::Raised;

namespace {

class BareHooks : public Hooks {
 public:
  void start(const std::string& /*folder*/) override { minimal_host::start(); }

  std::optional<Raised> takePending() override {
    const auto pending = minimal_host::takePending();
    if (!pending) return std::nullopt;
    return Raised{pending->className, pending->message};
  }

  void* newStringList(const std::vector<const char*>& elements) override {
    minimal_host::StringList& list = lists_.emplace_back();
    for (const char* element : elements) {
      list.elements.push_back(element == nullptr ? std::nullopt : std::optional<std::string>(element));
    }
    return &list;
  }

 private:
  std::deque<minimal_host::StringList> lists_;
};

}  // namespace

Hooks& orva::host_contract::hostHooks() {
  static BareHooks hooks;
  return hooks;
}
