// The process's peak memory use, in kilobytes.
#pragma once
#include <sys/resource.h>

namespace mbtest {

inline long memoryPeak()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

} // namespace mbtest
