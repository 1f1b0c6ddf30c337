// The program's own allocation functions, of which one call can be made to fail.
#pragma once
#include <cstddef>

namespace mbtest {

// The n-th allocation of this thread fails, while n is not zero.
extern thread_local int failingAllocation, allocationsMade;

void* allocateOrNull(std::size_t size);

} // namespace mbtest
