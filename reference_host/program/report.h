// What `orva-host` prints about a program that failed.
#pragma once

#include <string_view>

#include "reference_host/runtime/values.h"

/// Prints an exception that nothing caught: its class and message, the line that threw it, and the calls that led
/// there.
void reportUncaught(const orva::runtime::Exception& exception);

/// Prints a message. Escapes control characters, except for line ends and tabs, and bytes that are not UTF-8, as in
/// `\x1B`, so that no source and no message can control a terminal.
void reportFailure(std::string_view text);
