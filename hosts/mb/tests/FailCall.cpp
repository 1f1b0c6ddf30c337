// A library to preload. It makes a file call fail, as a broken disk or a lost server does. FAIL_CALL is the name of the call, FAIL_NAME a
// part of the file's path, FAIL_ERROR the error number, FAIL_TIMES how often the call fails: always if it is not set.
#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::string setting(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// Returns true and sets errno if this call must fail.
bool fails(const char* call, const std::string& path)
{
    static const std::string failingCall = setting("FAIL_CALL"), failingName = setting("FAIL_NAME");
    if (failingCall != call || path.find(failingName) == std::string::npos) return false;
    static std::atomic<int> left = setting("FAIL_TIMES").empty() ? INT_MAX : std::atoi(setting("FAIL_TIMES").c_str());
    if (left-- <= 0) return false;
    errno = std::atoi(setting("FAIL_ERROR").c_str());
    return true;
}

std::string pathOf(int file)
{
    std::array<char, 4096> path{};
    const ssize_t n = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size());
    return {path.data(), n < 0 ? 0 : static_cast<std::size_t>(n)};
}

template <class F> F* real(F*, const char* name) { return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name)); }

} // namespace

extern "C" {

int fstatat(int folder, const char* path, struct stat* state, int flags) noexcept
{
    static auto* const next = real(&fstatat, "fstatat");
    return fails("fstatat", path) ? -1 : next(folder, path, state, flags);
}

int faccessat(int folder, const char* path, int rights, int flags) noexcept
{
    static auto* const next = real(&faccessat, "faccessat");
    return fails("faccessat", path) ? -1 : next(folder, path, rights, flags);
}

int openat(int folder, const char* path, int flags, ...)
{
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    static auto* const next = real(&openat, "openat");
    return fails("openat", path) ? -1 : next(folder, path, flags, mode);
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags)
{
    static auto* const next = real(&renameat2, "renameat2");
    return fails("renameat2", to) ? -1 : next(fromFolder, from, toFolder, to, flags);
}

ssize_t pread(int file, void* bytes, size_t size, off_t at)
{
    static auto* const next = real(&pread, "pread");
    return fails("pread", pathOf(file)) ? -1 : next(file, bytes, size, at);
}

// Fails after the first name of a folder was read.
dirent* readdir(DIR* folder)
{
    static auto* const next = real(&readdir, "readdir");
    static thread_local DIR* last = nullptr;
    if (last == folder && fails("readdir", pathOf(dirfd(folder)))) return nullptr;
    last = folder;
    return next(folder);
}
}
