// The process's peak memory use, in kilobytes.
#pragma once
#include <windows.h>

#include <psapi.h>

namespace mbtest {

inline long memoryPeak()
{
    PROCESS_MEMORY_COUNTERS counters{};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return static_cast<long>(counters.PeakWorkingSetSize / 1024);
}

} // namespace mbtest
