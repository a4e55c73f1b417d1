// Room on the stack for the compiler, wherever a program asks for a class.
#pragma once

#include <functional>
#include <string>

namespace orva::compiler {

/// Runs work of the compiler: on this thread if its stack has room, otherwise on a new thread, for which this one
/// waits. Rethrows what the work throws. Throws `std::system_error` when no thread can be started.
/// @param subject what messages say the work is for.
void onAmpleStack(const std::string& subject, const std::function<void()>& work);

}  // namespace orva::compiler
