// The hooks as they are unless a host overrides them.
#include "host_contract/hooks.h"

#include <dlfcn.h>

namespace orva::host_contract {

Hooks::Hooks(const RecordLayout& record) : record_(record) {}

void Hooks::start(const std::string& /*folder*/) {}

void* Hooks::boundNative(const char* symbol) { return dlsym(RTLD_DEFAULT, symbol); }

void Hooks::attachThread() {}

bool Hooks::callNative(void (* /*native*/)()) { return false; }

std::string Hooks::classSource(const std::string& /*packageName*/, const std::string& /*className*/) { return {}; }

std::string Hooks::brokenSource(const std::string& /*packageName*/, const std::string& /*className*/) { return {}; }

std::string Hooks::genericSource(const std::string& /*packageName*/, const std::string& /*className*/) { return {}; }

std::string Hooks::objectFile(const std::string& /*sourceFile*/) { return {}; }

std::string Hooks::sourceIdentity(const std::string& /*sourceFile*/) { return {}; }

}  // namespace orva::host_contract
