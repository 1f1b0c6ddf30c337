// A library to preload. It kills the process before the n-th call that would change a file; KILL_AT_CALL is n. The files are then as after
// a power failure with all former writes on the disk.
#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

void countCall()
{
    static const char* const wanted = std::getenv("KILL_AT_CALL");
    static const long last = wanted ? std::atol(wanted) : 0;
    static std::atomic<long> calls = 0;
    if (++calls == last) std::raise(SIGKILL);
}

// Writes to the terminal and to the log, which is opened for appending, do not count.
bool isTold(int file) { return file <= 2 || (fcntl(file, F_GETFL) & O_APPEND) != 0; }

// Whether opening with these flags changes a file: it may create or truncate one.
bool isMade(int flags) { return (flags & (O_CREAT | O_TRUNC)) != 0 && (flags & O_APPEND) == 0; }

template <class F> F* real(F*, const char* name) { return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name)); }

} // namespace

#define BEFORE(name, ...)                                                                                                                  \
    countCall();                                                                                                                           \
    static auto* const next = real(&name, #name);                                                                                          \
    return next(__VA_ARGS__)

#define BEFORE_OPENING(name, ...)                                                                                                          \
    va_list rest;                                                                                                                          \
    va_start(rest, flags);                                                                                                                 \
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;                                                                 \
    va_end(rest);                                                                                                                          \
    if (isMade(flags)) countCall();                                                                                                        \
    static auto* const next = real(&name, #name);                                                                                          \
    return next(__VA_ARGS__, flags, mode)

extern "C" {

ssize_t write(int file, const void* bytes, size_t size)
{
    static auto* const next = real(&write, "write");
    if (!isTold(file)) countCall();
    return next(file, bytes, size);
}
ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at) { BEFORE(pwrite64, file, bytes, size, at); }
int ftruncate(int file, off_t size) noexcept { BEFORE(ftruncate, file, size); }
int ftruncate64(int file, off64_t size) noexcept { BEFORE(ftruncate64, file, size); }
int rename(const char* from, const char* to) noexcept { BEFORE(rename, from, to); }
int renameat(int folder1, const char* from, int folder2, const char* to) noexcept { BEFORE(renameat, folder1, from, folder2, to); }
int renameat2(int folder1, const char* from, int folder2, const char* to, unsigned flags) noexcept
{
    BEFORE(renameat2, folder1, from, folder2, to, flags);
}
int unlink(const char* path) noexcept { BEFORE(unlink, path); }
int unlinkat(int folder, const char* path, int flags) noexcept { BEFORE(unlinkat, folder, path, flags); }
int remove(const char* path) noexcept { BEFORE(remove, path); }
int rmdir(const char* path) noexcept { BEFORE(rmdir, path); }
int mkdir(const char* path, mode_t mode) noexcept { BEFORE(mkdir, path, mode); }
int fchmod(int file, mode_t mode) noexcept { BEFORE(fchmod, file, mode); }
int posix_fallocate(int file, off_t at, off_t size) { BEFORE(posix_fallocate, file, at, size); }
int fsync(int file) { BEFORE(fsync, file); }
int fdatasync(int file) { BEFORE(fdatasync, file); }
int syncfs(int file) noexcept { BEFORE(syncfs, file); }
int open(const char* path, int flags, ...) { BEFORE_OPENING(open, path); }
int open64(const char* path, int flags, ...) { BEFORE_OPENING(open64, path); }
int openat(int folder, const char* path, int flags, ...) { BEFORE_OPENING(openat, folder, path); }
}
