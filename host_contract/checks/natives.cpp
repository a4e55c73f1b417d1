// Natives: how the host binds them, and what it does around their calls.
#include <stdexcept>
#include <string>

#include "host_contract/check.h"
#include "host_contract/checks/mutex.h"
#include "host_contract/host.h"

namespace orva::host_contract {

static void nativesAreBoundByTheirPlainSymbols(Trial& trial) {
  struct Native {
    const char* symbol;
    void (*address)();
  };
#define ORVA_NATIVE(symbol, ...) {#symbol, reinterpret_cast<void (*)()>(::symbol)},
  static const Native natives[] = {
#include "classloader/native_list.inc"
  };
#undef ORVA_NATIVE
  for (const Native& native : natives) {
    void* const bound = trial.hooks.boundNative(native.symbol);
    expect(bound != nullptr,
           std::string(native.symbol) + " is not found: link the library whole and export its symbols");
    expect(bound == reinterpret_cast<void*>(native.address),
           std::string(native.symbol) + " is bound to another function");
  }
}

/// Calls a native as a program of the host does.
static void callFromProgram(Trial& trial, void (*native)()) {
  if (!trial.hooks.callNative(native)) throw NotRun{"this host runs no programs: its hooks call no native"};
}

// How a native without arguments reports to its check. Each check has a process of its own, so these can be global.
static std::string seenByNative;
static bool wasCalled;

static void lookAtTheMutex() {
  wasCalled = true;
  try {
    expectFreeMutex("while a program calls a native");
  } catch (const Broken& broken) {
    seenByNative = broken.seen;
  }
}

static void theMutexIsFreeAtEveryNativesEntry(Trial& trial) {
  callFromProgram(trial, lookAtTheMutex);
  expect(wasCalled, "the hook callNative returned true, but called nothing");
  expect(seenByNative.empty(), seenByNative);
}

static void throwNumber() { throw 42; }

static void throwFailure() { throw std::runtime_error("thrown by a native"); }

static void thrownObjectsPassTheCallersFrames(Trial& trial) {
  try {
    callFromProgram(trial, throwNumber);
  } catch (const NotRun&) {
    throw;
  } catch (const int number) {
    expect(number == 42, "a native threw 42, but " + std::to_string(number) + " came out");
    return;
  } catch (...) {
    throw Broken{"a native threw an int, but something else came out"};
  }
  throw Broken{"a native threw an int, but nothing came out"};
}

static void standardExceptionsPassTheCallersFrames(Trial& trial) {
  try {
    callFromProgram(trial, throwFailure);
  } catch (const NotRun&) {
    throw;
  } catch (const std::runtime_error& failure) {
    expect(failure.what() == std::string("thrown by a native"),
           std::string("a native threw a std::runtime_error, but its text came out as '") + failure.what() + "'");
    return;
  } catch (...) {
    throw Broken{"a native threw a std::runtime_error, but something else came out"};
  }
  throw Broken{"a native threw a std::runtime_error, but nothing came out"};
}

static void anUnknownTypeIsNoFailure(Trial& trial) {
  for (const char* name : {"no.such.Type", "no.such.Generic<no.such.Type>"}) {
    expect(orva_ClassLoader_getTypeByName(name) == nullptr,
           std::string("getTypeByName returned a type for '") + name + "'");
    expectNothingPending(trial);
  }
}

static void oddNamesAreTaken(Trial& trial) {
  for (const char* name : {"no.such.Generic<no.such.Type>", "no such", " ", "no/such", ".no", "no.", "no..such", ">no<",
                           "no>", "<no", "<>", "no<no<no", "..", "\xFF\x01"}) {
    expect(orva_ClassLoader_getTypeByName(name) == nullptr,
           std::string("getTypeByName returned a type for '") + name + "'");
    trial.hooks.takePending();
  }
}

static void theObjectAbiVersionStays(Trial& /*trial*/) {
  const int64_t version = orva_ClassLoader_objectAbiVersion();
  expect(orva_ClassLoader_objectAbiVersion() == version, "two calls of objectAbiVersion returned different numbers");
}

std::vector<Check> nativeChecks() {
  const Room room{"natives"};
  return {
      room.required(
          "NativesAreBoundByTheirPlainSymbols", nativesAreBoundByTheirPlainSymbols,
          "A program that calls the method would fail because it is missing, or would call another function."),
      room.required("TheMutexIsFreeAtEveryNativesEntry", theMutexIsFreeAtEveryNativesEntry,
                    "getTypeByName locks it for a generic name; the program would deadlock."),
      room.required("ThrownObjectsPassTheCallersFrames", thrownObjectsPassTheCallersFrames,
                    "Most natives let anything not derived from std::exception through; the process would end in the "
                    "caller's frame."),
      room.required("StandardExceptionsPassTheCallersFrames", standardExceptionsPassTheCallersFrames,
                    "Some natives let every exception through, and so does the last step of getTypeByName; the process "
                    "would end in the caller's frame."),
      room.required("OddNamesAreTaken", oddNamesAreTaken,
                    "Programs look up what their users type, and the library passes such names to the registry, the "
                    "class path and the compiler unchanged; the process would end, or a type would be made up."),
      room.advised("AnUnknownTypeIsNoFailure", anUnknownTypeIsNoFailure,
                   "Programs look types up to see whether they exist; each such lookup would raise an exception."),
      room.advised("TheObjectAbiVersionStays", theObjectAbiVersionStays,
                   "Programs keep precompiled objects as long as the version is the same; they would throw good ones "
                   "away."),
  };
}

}  // namespace orva::host_contract
