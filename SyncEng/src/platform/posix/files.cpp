#include "files.h"

#include "descriptor.h"
#include "file_calls.h"
#include "text.h"
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

namespace fs = std::filesystem;

// A file opened for reading, its stat data, and the first error.
struct Source {
    explicit Source(const fs::path& path) noexcept : file(openHeld(path, O_RDONLY | O_CLOEXEC))
    {
        if (!file || ::fstat(file.get(), &info) != 0)
            error = lastError();
        else if (S_ISDIR(info.st_mode))
            error = std::make_error_code(std::errc::is_a_directory);
    }
    // Reads up to `count` bytes. Returns 0 at the end of the file and after a failure.
    std::size_t read(char* to, std::size_t count) noexcept
    {
        for (;;) {
            const ssize_t n = ::read(file.get(), to, count);
            if (n >= 0) return static_cast<std::size_t>(n);
            if (errno == EINTR) continue;
            error = lastError();
            return 0;
        }
    }
    Descriptor file;
    struct stat info {};
    std::error_code error;
};

fs::path homeFolder()
{
    const char* home = std::getenv("HOME");
    return home && *home ? fs::path(home) : fs::path();
}

constexpr std::size_t bufferSize = 1 << 16;

// A history is read into one buffer of up to hundreds of megabytes. Without large pages the page faults cost more than reading it.
void wantLargePages(char* memory, std::size_t size) noexcept
{
    constexpr std::uintptr_t page = 1 << 21;
    const auto begin = reinterpret_cast<std::uintptr_t>(memory), first = (begin + page - 1) / page * page,
               end = (begin + size) / page * page;
    if (first < end) (void)::madvise(memory + (first - begin), end - first, MADV_HUGEPAGE);
}

} // namespace

fs::path pathOf(std::u16string_view text) { return fs::path(utf8(text)); }
std::u16string textOf(const fs::path& path) { return utf16(path.native()); }

fs::path userDataFolder()
{
    const char* data = std::getenv("XDG_DATA_HOME");
    if (data && *data == '/') return data;
    const fs::path home = homeFolder();
    return home.empty() ? home : home / ".local/share";
}

fs::path machineDataFolder() { return "/usr/share"; }

bool fileExists(const fs::path& file) noexcept
{
    struct stat info {};
    return ::stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool openOrCreate(const fs::path& file) noexcept
{
    return static_cast<bool>(Descriptor(::open(file.c_str(), O_RDONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, ownerOnly)));
}

bool createFolder(const fs::path& folder) noexcept
{
    if (::mkdir(folder.c_str(), 0700) == 0) return true;
    struct stat info {};
    return ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

bool createFolders(const fs::path& folder)
{
    const fs::path parent = folder.parent_path();
    if (!parent.empty() && parent != folder && !createFolders(parent)) return false;
    return createFolder(folder);
}

fs::path canonicalPath(const fs::path& path)
{
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    if (!error) return real;
    const fs::path full = fs::absolute(path, error).lexically_normal();
    if (error || !full.has_relative_path()) return path;
    return full.has_filename() ? canonicalPath(full.parent_path()) / full.filename() : canonicalPath(full.parent_path());
}

FileStamp stampOf(const fs::path& file) noexcept
{
    struct stat s;
    if (::stat(file.c_str(), &s) != 0) return {};
    return {s.st_ino, std::int64_t{s.st_mtim.tv_sec} * 1'000'000'000 + s.st_mtim.tv_nsec, static_cast<std::uint64_t>(s.st_size)};
}

std::error_code copyReplacing(const fs::path& from, const fs::path& to) noexcept
{
    try {
        Source source(from);
        if (source.error) return source.error;
        AtomicFile copy(to);
        char piece[bufferSize];
        while (const std::size_t n = source.read(piece, sizeof piece)) copy.write({piece, n});
        return source.error ? source.error : copy.commit();
    } catch (...) {
        return std::make_error_code(std::errc::not_enough_memory);
    }
}

std::error_code copyFailingIfExists(const fs::path& from, const fs::path& to) noexcept
{
    Source source(from);
    if (source.error) return source.error;
    Descriptor file(fileCalls.open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
    if (!file) return lastError();
    std::error_code error;
    char piece[bufferSize];
    while (const std::size_t n = error ? 0 : source.read(piece, sizeof piece)) error = writeAll(file.get(), {piece, n});
    if (!error) error = source.error;
    if (!error && fileCalls.flush(file.get()) != 0) error = lastError();
    if (!error && file.close() != 0) error = lastError();
    if (error) ::unlink(to.c_str());
    return error;
}

std::string readFile(const fs::path& path, std::error_code& error, std::uint64_t limit)
{
    Source source(path);
    const auto size = static_cast<std::uint64_t>(source.info.st_size);
    if (!source.error && size > limit) source.error = std::make_error_code(std::errc::file_too_large);
    std::string bytes;
    if (!source.error) bytes.reserve(static_cast<std::size_t>(size));
    wantLargePages(bytes.data(), bytes.capacity());
    // Reads through a small buffer: a string can only grow by initialised bytes, and the buffer stays in the CPU cache.
    char piece[bufferSize];
    while (const std::size_t n = source.error ? 0 : source.read(piece, sizeof piece)) {
        bytes.append(piece, n);
        if (bytes.size() > limit) source.error = std::make_error_code(std::errc::file_too_large);
    }
    error = source.error;
    if (error) bytes.clear();
    return bytes; // implicit move; a conditional operator would copy
}

AppendFile::AppendFile(const fs::path& file) noexcept : handle_(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, ownerOnly))
{
}
AppendFile::AppendFile(AppendFile&& o) noexcept : handle_(std::exchange(o.handle_, -1)) {}

AppendFile& AppendFile::operator=(AppendFile&& o) noexcept
{
    std::swap(handle_, o.handle_);
    return *this;
}

AppendFile::~AppendFile()
{
    if (handle_ != -1) ::close(static_cast<int>(handle_));
}

std::uint64_t AppendFile::size() const noexcept
{
    struct stat info {};
    return handle_ != -1 && ::fstat(static_cast<int>(handle_), &info) == 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
}

bool AppendFile::truncate() noexcept { return handle_ != -1 && ::ftruncate(static_cast<int>(handle_), 0) == 0; }

bool AppendFile::write(std::string_view bytes) noexcept { return handle_ != -1 && !writeAll(static_cast<int>(handle_), bytes); }

} // namespace platform
