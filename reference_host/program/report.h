// What `orva-host` says of a program that failed.
#pragma once

#include <string_view>

#include "reference_host/runtime/values.h"

/// Prints an exception that nothing caught: its class and message, the line that threw it, and the calls that led
/// there.
void reportUncaught(const orva::runtime::Exception& exception);

/// Prints a message. Control characters but line ends and tabs, and bytes that are no UTF-8, are escaped, as in `\x1B`:
/// what sources and messages hold cannot command a terminal.
void reportFailure(std::string_view text);
