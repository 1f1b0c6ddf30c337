// Runs a part of a test in another process.
#pragma once
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mbtest {

// Runs `body` in a child process and returns the child's exit code. `asNobody`: without the superuser's rights.
template <class F> int inChild(bool asNobody, F&& body)
{
    const pid_t child = fork();
    if (child == 0) {
        if (asNobody && ::geteuid() == 0 && (::setgid(65534) != 0 || ::setuid(65534) != 0)) std::_Exit(99);
        std::_Exit(body());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

} // namespace mbtest
