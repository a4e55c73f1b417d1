// Raising: what `Orva_raise` does with the class and the message.
#include <cstring>
#include <string>
#include <thread>

#include "host_contract/check.h"
#include "host_contract/host.h"

namespace orva::host_contract {

/// A message as the report shows it on one line.
static std::string shown(const std::string& message) {
  std::string text;
  for (const char byte : message.substr(0, 60)) text += byte >= ' ' && byte <= '~' ? byte : '?';
  return "'" + text + "' with " + std::to_string(message.size()) + " bytes";
}

/// Throws `Broken` unless an exception of this class, with this message, is pending; afterwards none is.
static void expectPending(Trial& trial, const std::string& exceptionClass, const std::string& message) {
  const auto pending = trial.hooks.takePending();
  if (!pending) throw Broken{"no exception is pending"};
  expect(pending->exceptionClass == exceptionClass,
         "a '" + pending->exceptionClass + "' is pending, not a '" + exceptionClass + "'");
  expect(pending->message == message, "its message is " + shown(pending->message) + ", not " + shown(message));
}

static void raiseReturns(Trial& /*trial*/) {
  try {
    Orva_raise("Exception", "a message");
  } catch (...) {
    throw Broken{"Orva_raise threw"};
  }
}

static void raiseCopiesTheClassName(Trial& trial) {
  std::string exceptionClass = "ValueException";
  Orva_raise(exceptionClass.c_str(), "a message");
  std::memset(exceptionClass.data(), 'x', exceptionClass.size());
  expectPending(trial, "ValueException", "a message");
}

static void raiseCopiesTheMessage(Trial& trial) {
  std::string message = "the text of an exception that is gone";
  Orva_raise("Exception", message.c_str());
  std::memset(message.data(), 'x', message.size());
  expectPending(trial, "Exception", "the text of an exception that is gone");
}

static void messagesArriveWhole(Trial& trial) {
  std::string longMessage = "%s %n, a line\n\ta \"quoted\" 'one', h\xC3\xA9 \xFF: ";
  longMessage.append(100'000, 'm');
  for (const std::string& message : {longMessage, std::string()}) {
    Orva_raise("Exception", message.c_str());
    expectPending(trial, "Exception", message);
  }
}

static void everyRaisedClassIsKnown(Trial& trial) {
  for (const char* exceptionClass :
       {"Exception", "ValueException", "IOException", "ClassNotFoundException", "IllegalStateException"}) {
    Orva_raise(exceptionClass, "a message");
    expectPending(trial, exceptionClass, "a message");
  }
}

static void aRaisingNativeLeavesOneException(Trial& trial) {
  expect(orva_ClassLoader_addSourceRoot(nullptr) == 0, "addSourceRoot(null) did not return 0");
  expectPending(trial, "ValueException", "Class path root is required");
  expectNothingPending(trial);
}

static void anExceptionBelongsToItsThread(Trial& trial) {
  Orva_raise("Exception", "of this thread");
  std::optional<Raised> seen;
  std::thread([&] {
    trial.hooks.attachThread();
    seen = trial.hooks.takePending();
  }).join();
  expect(!seen, "another thread saw the exception that this one raised");
  expectPending(trial, "Exception", "of this thread");
}

std::vector<Check> exceptionChecks() {
  const Room room{"exceptions"};
  return {
      room.required("RaiseReturns", raiseReturns,
                    "A native that raises would throw a C++ exception instead of returning its failure value."),
      room.required(
          "RaiseCopiesTheClassName", raiseCopiesTheClassName,
          "The class name is valid only during the call; a program would see another one, or the process would crash."),
      room.required("RaiseCopiesTheMessage", raiseCopiesTheMessage,
                    "The message is often the text of a C++ exception that is destroyed right after the call; programs "
                    "would see freed memory."),
      room.required(
          "MessagesArriveWhole", messagesArriveWhole,
          "Messages contain file names and compiler errors, with any bytes and of any length, and may be empty; "
          "programs would see other texts, or the process would crash."),
      room.required("EveryRaisedClassIsKnown", everyRaisedClassIsKnown,
                    "The library raises these five classes by their short names; a program could not catch one that "
                    "the runtime does not know."),
      room.required("ARaisingNativeLeavesOneException", aRaisingNativeLeavesOneException,
                    "A program would never see that a native failed, or would see the same failure twice."),
      room.required("AnExceptionBelongsToItsThread", anExceptionBelongsToItsThread,
                    "A failure on one thread would be thrown on another."),
  };
}

}  // namespace orva::host_contract
