// A part of a test in a process of its own.
#pragma once
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace mbtest {

// The exit code of a process that does this with neither the superuser's rights nor a way to harm the tests.
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
