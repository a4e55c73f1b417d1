// Expectations of checks, and the list of all checks.
#include "host_contract/check.h"

namespace orva::host_contract {

void expect(bool held, const std::string& seen) {
  if (!held) throw Broken{seen};
}

void expectNothingPending(Trial& trial) {
  if (const auto pending = trial.hooks.takePending()) {
    throw Broken{"pending: " + pending->exceptionClass + " with '" + pending->message + "'"};
  }
}

const std::vector<Check>& allChecks() {
  static const std::vector<Check> checks = [] {
    std::vector<Check> all;
    for (const auto& room :
         {recordChecks, exceptionChecks, typeChecks, listChecks, registryChecks, nativeChecks, classPathChecks,
          packageChecks, sourceChecks, precompilingChecks, genericChecks, objectChecks}) {
      for (Check& check : room()) all.push_back(std::move(check));
    }
    return all;
  }();
  return checks;
}

}  // namespace orva::host_contract
