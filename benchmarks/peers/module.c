// The small module of the peers that load machine code.
#include <stdio.h>

int number(void) { return 17; }

const char* name(void) { return "Module"; }

int sum(int a, int b) { return a + b; }

const char* greet(const char* who) {
  static char text[64];
  snprintf(text, sizeof text, "Hello, %s", who);
  return text;
}

int isSame(int a, int b) { return a == b; }
