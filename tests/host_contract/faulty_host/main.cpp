// The kit as a program on a host with one fault.
// Usage: check_faulty_host FAULT [ARGUMENT of the kit…]
#include "fault.h"
#include "hooks.h"

int main(int argumentCount, char** arguments) {
  if (argumentCount < 2) return 2;
  faulty_host::fault = arguments[1];
  return orva::host_contract::run(argumentCount - 1, arguments + 1, faulty_host::hooks());
}
