// How the host contract kit reaches this host. It overrides every hook.
#include <dlfcn.h>
#include <host_contract/hooks.h>

#include <deque>
#include <fstream>

#include "minimal_host.h"

using orva::host_contract::Hooks;
using orva::host_contract::Raised;

namespace {

class MinimalHooks : public Hooks {
 public:
  // == Every host has these

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

  // == How this host calls natives. The first two repeat the defaults: leave them out if those suit your host.

  void* boundNative(const char* symbol) override { return dlsym(RTLD_DEFAULT, symbol); }

  // Any thread may call this host.
  void attachThread() override {}

  // The programs of this host are C++ that calls natives by their addresses, as lookup.cpp does.
  bool callNative(void (*native)()) override {
    native();
    return true;
  }

  // == What the compiler reads and writes. Leave out what yours cannot do yet; its checks are then not run.

  std::string classSource(const std::string& packageName, const std::string& className) override {
    return "class " + packageName + "." + className + "\n";
  }

  std::string brokenSource(const std::string& /*packageName*/, const std::string& className) override {
    return "clas " + className + "\n";
  }

  std::string genericSource(const std::string& packageName, const std::string& className) override {
    return "generic " + packageName + "." + className + "\n";
  }

  std::string objectFile(const std::string& sourceFile) override { return sourceFile + ".object"; }

  std::string sourceIdentity(const std::string& sourceFile) override {
    std::ifstream in(sourceFile);
    std::string statement;
    std::getline(in, statement);
    return statement;
  }

 private:
  std::deque<minimal_host::StringList> lists_;
};

}  // namespace

Hooks& orva::host_contract::hostHooks() {
  static MinimalHooks hooks;
  return hooks;
}
