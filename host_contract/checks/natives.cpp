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
    expect(bound != nullptr, std::string(native.symbol) + " is not found: link the library whole and export it");
    expect(bound == reinterpret_cast<void*>(native.address), std::string(native.symbol) + " is another function");
  }
}

/// Calls a native as a program of the host does.
static void callFromProgram(Trial& trial, void (*native)()) {
  if (!trial.hooks.callNative(native)) throw NotRun{"this host runs no programs: its hooks call no native"};
}

// What a native that takes no arguments can tell its check; a check has a process of its own.
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
  expect(wasCalled, "the hook callNative answered true, and called nothing");
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
    expect(number == 42, "the int that came out is " + std::to_string(number));
    return;
  } catch (...) {
    throw Broken{"a native threw an int, and another object came out"};
  }
  throw Broken{"a native threw an int, and nothing came out"};
}

static void standardExceptionsPassTheCallersFrames(Trial& trial) {
  try {
    callFromProgram(trial, throwFailure);
  } catch (const NotRun&) {
    throw;
  } catch (const std::runtime_error& failure) {
    expect(failure.what() == std::string("thrown by a native"), std::string("its text is '") + failure.what() + "'");
    return;
  } catch (...) {
    throw Broken{"a native threw a std::runtime_error, and another object came out"};
  }
  throw Broken{"a native threw a std::runtime_error, and nothing came out"};
}

static void anUnknownTypeIsNoFailure(Trial& trial) {
  for (const char* name : {"no.such.Type", "no.such.Generic<no.such.Type>"}) {
    expect(orva_ClassLoader_getTypeByName(name) == nullptr, std::string("'") + name + "' is a type");
    expectNothingPending(trial);
  }
}

static void oddNamesAreTaken(Trial& trial) {
  for (const char* name : {"no.such.Generic<no.such.Type>", "no such", " ", "no/such", ".no", "no.", "no..such", ">no<",
                           "no>", "<no", "<>", "no<no<no", "..", "\xFF\x01"}) {
    expect(orva_ClassLoader_getTypeByName(name) == nullptr, std::string("'") + name + "' is a type");
    trial.hooks.takePending();
  }
}

static void theObjectAbiVersionStays(Trial& /*trial*/) {
  const int64_t version = orva_ClassLoader_objectAbiVersion();
  expect(orva_ClassLoader_objectAbiVersion() == version, "two calls of objectAbiVersion gave two numbers");
}

std::vector<Check> nativeChecks() {
  const Room room{"natives"};
  return {
      room.required(
          "NativesAreBoundByTheirPlainSymbols", nativesAreBoundByTheirPlainSymbols,
          "A program that calls the method would be told that it is missing, or would call another function."),
      room.required("TheMutexIsFreeAtEveryNativesEntry", theMutexIsFreeAtEveryNativesEntry,
                    "getTypeByName locks it for a generic name; the program would wait for itself."),
      room.required("ThrownObjectsPassTheCallersFrames", thrownObjectsPassTheCallersFrames,
                    "Most natives let anything not derived from std::exception through; the process would end in the "
                    "caller's frame."),
      room.required("StandardExceptionsPassTheCallersFrames", standardExceptionsPassTheCallersFrames,
                    "Some natives bridge nothing, and getTypeByName not its last step; the process would end in the "
                    "caller's frame."),
      room.required("OddNamesAreTaken", oddNamesAreTaken,
                    "Programs make names of what their users type, and the library hands them to the registry, the "
                    "class path and the compiler as they are; the process would end, or a type be made up."),
      room.advised("AnUnknownTypeIsNoFailure", anUnknownTypeIsNoFailure,
                   "Programs ask whether a type exists; each such question would raise an exception."),
      room.advised("TheObjectAbiVersionStays", theObjectAbiVersionStays,
                   "Programs keep objects of the version that they asked for; they would throw good ones away."),
  };
}

}  // namespace orva::host_contract
