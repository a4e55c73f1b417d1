// How the host contract kit reaches this host.
#include <host_contract/hooks.h>

#include <deque>

#include "minimal_host.h"

using orva::host_contract::Hooks;
using orva::host_contract::Raised;

namespace {

class MinimalHooks : public Hooks {
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

  // The programs of this host are C++ that calls natives by their addresses, as lookup.cpp does.
  bool callNative(void (*native)()) override {
    native();
    return true;
  }

 private:
  std::deque<minimal_host::StringList> lists_;
};

}  // namespace

Hooks& orva::host_contract::hostHooks() {
  static MinimalHooks hooks;
  return hooks;
}
