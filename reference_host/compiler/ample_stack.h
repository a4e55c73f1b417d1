// Room on the stack for the compiler, wherever a program asks for a class.
#pragma once

#include <functional>
#include <string>

namespace orva::compiler {

/// Does work of the compiler's: on this thread where its stack has room, and otherwise on one of its own, for which
/// this one waits. Passes on what the work throws. Throws `std::system_error` when no thread can be started.
/// @param subject what the work is done for, in messages.
void onAmpleStack(const std::string& subject, const std::function<void()>& work);

}  // namespace orva::compiler
