// A replaced `operator new` that fails on command.
#pragma once

namespace allocations {

/// Makes the `number`-th allocation from now on (1 is the next) throw `std::bad_alloc`; 0 takes the command back.
void failAllocation(int number);

/// Tells whether a commanded failure has not happened yet.
bool isFailurePending();

}  // namespace allocations
