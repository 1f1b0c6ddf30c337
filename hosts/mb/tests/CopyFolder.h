// Copies a folder with everything in it.
#pragma once
#include "RunProgram.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace mbtest {

// Replaces the folder `to` by a copy of `from` that keeps the files' times.
inline void copyAll(const std::filesystem::path& from, const std::filesystem::path& to)
{
    std::filesystem::remove_all(to);
    ASSERT_EQ(runProgram("/bin/cp", {"-a", from, to}, {}).code, 0);
}

} // namespace mbtest
