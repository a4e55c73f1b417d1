// Precompiling: compiling sources ahead of use.
#include <string>
#include <vector>

#include "host_contract/checks/sources_on_disk.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// Precompiles as the native does: in the active context, without a listener.
static void precompile(const std::vector<std::string>& files) { Compiler::precompileSources(files); }

static void noListenerIsNeeded(Trial& trial) { precompile({writeClass(trial, addRoot(trial, "root"), "Apple")}); }

static void anEmptyListIsHarmless(Trial& /*trial*/) { precompile({}); }

static void aBrokenSourceThrowsAStandardException(Trial& trial) {
  const std::string file = writeBroken(trial, addRoot(trial, "root"), "Wrong");
  expectFailure("precompiling a source that does not compile", [&] { precompile({file}); });
}

static void nothingIsRegistered(Trial& trial) {
  precompile({writeClass(trial, addRoot(trial, "root"), "Apple")});
  expectNotLoaded("Apple");
}

std::vector<Check> precompilingChecks() {
  const Room room{"precompiling", Needs::sources};
  return {
      room.required("NoListenerIsNeeded", noListenerIsNeeded,
                    "The library passes an empty callback; calling it throws, and every precompilation would fail."),
      room.advised("AnEmptyListIsHarmless", anEmptyListIsHarmless,
                   "An empty list is passed on; a program with nothing to compile would fail."),
      room.required("ABrokenSourceThrowsAStandardException", aBrokenSourceThrowsAStandardException,
                    "Only a std::exception is raised in the program; it would not learn that its source is broken."),
      room.advised("NothingIsRegistered", nothingIsRegistered,
                   "Precompiling would run what only a load should run, and the plugin could not be loaded from its "
                   "object."),
  };
}

}  // namespace orva::host_contract
