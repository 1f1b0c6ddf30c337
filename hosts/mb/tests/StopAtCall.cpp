// A library to preload. It stops the program before the n-th call on certain files, so that another program can work, and lets it continue
// on request. STOP_AT_CALL is n. STOP_FILES lists the paths, separated by colons; a path that ends in "*" stands for all paths with that
// beginning. STOP_ASK and STOP_GO are pipes: the stopped program writes the call to the first, and continues after a byte from the second.
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

template <class F> F* real(F*, const char* name) { return reinterpret_cast<F*>(dlsym(RTLD_NEXT, name)); }

std::string setting(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::vector<std::string> wantedFiles()
{
    std::vector<std::string> files;
    std::istringstream list(setting("STOP_FILES"));
    for (std::string file; std::getline(list, file, ':');) files.push_back(file);
    return files;
}

bool isWanted(const std::string& path)
{
    static const std::vector<std::string> files = wantedFiles();
    for (const std::string& file : files)
        if (file.ends_with('*') ? path.starts_with(file.substr(0, file.size() - 1)) : path == file) return true;
    return false;
}

std::string pathOf(int file)
{
    if (file == AT_FDCWD) return {};
    std::array<char, 4096> path{};
    const ssize_t n = readlink(("/proc/self/fd/" + std::to_string(file)).c_str(), path.data(), path.size());
    return {path.data(), n < 0 ? 0 : static_cast<std::size_t>(n)};
}

std::string pathIn(int folder, const char* name) { return *name == '/' ? name : pathOf(folder) + '/' + name; }

void askAndWait(const std::string& text)
{
    static auto* const openFile = real(&open, "open");
    static auto* const readFile = real(&read, "read");
    static auto* const writeFile = real(&write, "write");
    static auto* const closeFile = real(&close, "close");
    const int ask = openFile(setting("STOP_ASK").c_str(), O_WRONLY | O_CLOEXEC);
    const ssize_t asked = writeFile(ask, text.data(), text.size());
    const int go = openFile(setting("STOP_GO").c_str(), O_RDONLY | O_CLOEXEC);
    char leave = 0;
    if (asked < 0 || readFile(go, &leave, 1) < 0) std::abort();
    closeFile(ask);
    closeFile(go);
}

void before(const char* call, const std::string& path)
{
    static const long last = std::atol(setting("STOP_AT_CALL").c_str());
    static std::atomic<long> calls = 0;
    static thread_local bool inside = false;
    if (inside || !isWanted(path) || ++calls != last) return;
    inside = true;
    askAndWait(std::string(call) + ' ' + path);
    inside = false;
}

} // namespace

#define CALL(name, path, ...)                                                                                                              \
    static auto* const next = real(&name, #name);                                                                                          \
    before(#name, path);                                                                                                                   \
    return next(__VA_ARGS__)

#define OPEN_CALL(name, at, ...)                                                                                                           \
    va_list rest;                                                                                                                          \
    va_start(rest, flags);                                                                                                                 \
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;                                                                 \
    va_end(rest);                                                                                                                          \
    static auto* const next = real(&name, #name);                                                                                          \
    before(#name, at);                                                                                                                     \
    return next(__VA_ARGS__, flags, mode)

extern "C" {

int open(const char* path, int flags, ...) { OPEN_CALL(open, path, path); }
int open64(const char* path, int flags, ...) { OPEN_CALL(open64, path, path); }
int openat(int folder, const char* path, int flags, ...) { OPEN_CALL(openat, pathIn(folder, path), folder, path); }
DIR* opendir(const char* path) { CALL(opendir, path, path); }
dirent* readdir(DIR* folder) { CALL(readdir, pathOf(dirfd(folder)), folder); }
int close(int file) { CALL(close, pathOf(file), file); }
int stat(const char* path, struct stat* s) noexcept { CALL(stat, path, path, s); }
int lstat(const char* path, struct stat* s) noexcept { CALL(lstat, path, path, s); }
int fstat(int file, struct stat* s) noexcept { CALL(fstat, pathOf(file), file, s); }
int fstatat(int folder, const char* path, struct stat* s, int flags) noexcept
{
    CALL(fstatat, pathIn(folder, path), folder, path, s, flags);
}
int access(const char* path, int mode) noexcept { CALL(access, path, path, mode); }
int faccessat(int folder, const char* path, int mode, int flags) noexcept
{
    CALL(faccessat, pathIn(folder, path), folder, path, mode, flags);
}
ssize_t read(int file, void* bytes, size_t size) { CALL(read, pathOf(file), file, bytes, size); }
ssize_t pread(int file, void* bytes, size_t size, off_t at) { CALL(pread, pathOf(file), file, bytes, size, at); }
ssize_t pread64(int file, void* bytes, size_t size, off64_t at) { CALL(pread64, pathOf(file), file, bytes, size, at); }
ssize_t write(int file, const void* bytes, size_t size) { CALL(write, pathOf(file), file, bytes, size); }
ssize_t pwrite64(int file, const void* bytes, size_t size, off64_t at) { CALL(pwrite64, pathOf(file), file, bytes, size, at); }
int ftruncate(int file, off_t size) noexcept { CALL(ftruncate, pathOf(file), file, size); }
int ftruncate64(int file, off64_t size) noexcept { CALL(ftruncate64, pathOf(file), file, size); }
int fchmod(int file, mode_t mode) noexcept { CALL(fchmod, pathOf(file), file, mode); }
int fsync(int file) { CALL(fsync, pathOf(file), file); }
int fdatasync(int file) { CALL(fdatasync, pathOf(file), file); }
int syncfs(int file) noexcept { CALL(syncfs, pathOf(file), file); }
int unlink(const char* path) noexcept { CALL(unlink, path, path); }
int unlinkat(int folder, const char* path, int flags) noexcept { CALL(unlinkat, pathIn(folder, path), folder, path, flags); }
int rename(const char* from, const char* to) noexcept { CALL(rename, to, from, to); }
int renameat(int folder1, const char* from, int folder2, const char* to) noexcept
{
    CALL(renameat, pathIn(folder2, to), folder1, from, folder2, to);
}
int renameat2(int folder1, const char* from, int folder2, const char* to, unsigned flags) noexcept
{
    CALL(renameat2, pathIn(folder2, to), folder1, from, folder2, to, flags);
}
int linkat(int folder1, const char* from, int folder2, const char* to, int flags) noexcept
{
    CALL(linkat, pathIn(folder2, to), folder1, from, folder2, to, flags);
}
}
