// The kit as a program, for a host that has no `main` of its own.
#include "host_contract/hooks.h"

int main(int argumentCount, char** arguments) {
  return orva::host_contract::run(argumentCount, arguments, orva::host_contract::hostHooks());
}
