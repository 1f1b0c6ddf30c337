// The system calls that write files. Tests replace them to simulate a failing disk or another user.
#pragma once
#include <cstddef>
#include <sys/types.h>

namespace platform {

struct FileCalls {
    int (*open)(const char* path, int flags, mode_t mode);
    ssize_t (*write)(int file, const void* bytes, std::size_t count);
    int (*flush)(int file);
    int (*rename)(const char* from, const char* to);
    uid_t (*user)();
    int (*giveTo)(int file, uid_t user, gid_t group);
    int (*lock)(int file, int operation);
};

extern FileCalls fileCalls;

} // namespace platform
