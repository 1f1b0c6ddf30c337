// Replaces the program's allocation functions, so that one allocation can fail.
#pragma once
#include <cstddef>

namespace mbtest {

// The allocation of this thread with the number failingAllocation fails; none if it is 0.
extern thread_local int failingAllocation, allocationsMade;

void* allocateOrNull(std::size_t size);

} // namespace mbtest
