// The system calls that put a file's content on disk, as tests may replace them to make a disk fail or to be another user.
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
