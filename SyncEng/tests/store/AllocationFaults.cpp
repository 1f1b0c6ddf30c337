#include "AllocationFaults.h"

#include <cstdlib>
#include <new>

namespace mbtest {

thread_local int failingAllocation = 0, allocationsMade = 0;

void* allocateOrNull(std::size_t size)
{
    return failingAllocation != 0 && ++allocationsMade == failingAllocation ? nullptr : std::malloc(size);
}

} // namespace mbtest

void* operator new(std::size_t size)
{
    if (void* memory = mbtest::allocateOrNull(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
