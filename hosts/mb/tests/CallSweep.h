// What the tests share that run mb once for each of its file calls.
#pragma once
#include "RunProgram.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace mbtest {

// Distance between the calls that a sweep tests. Under the sanitizers a run takes ten times as long, so a sweep tests every fourth call
// there; the native build tests every call.
#ifdef __SANITIZE_ADDRESS__
inline constexpr int sweepStep = 4;
#else
inline constexpr int sweepStep = 1;
#endif

// Replaces the folder `to` by a copy of `from` that keeps the files' times.
inline void copyAll(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::remove_all(to);
    ASSERT_EQ(runProgram("/bin/cp", {"-a", from, to}, {}).code, 0);
}

} // namespace mbtest
