#include "files.h"

#include "file_calls.h"
#include "held.h"
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

FileCalls fileCalls{[](const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); },
                    ::write,
                    ::fsync,
                    std::rename,
                    ::geteuid,
                    ::fchown,
                    ::flock};

namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

class Descriptor {
public:
    explicit Descriptor(int file = -1) noexcept : file_(file) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    [[nodiscard]] int get() const noexcept { return file_; }
    explicit operator bool() const noexcept { return file_ >= 0; }
    void open(int file) noexcept
    {
        close();
        file_ = file;
    }
    int close() noexcept
    {
        const int result = file_ >= 0 ? ::close(file_) : 0;
        file_ = -1;
        return result;
    }

private:
    int file_;
};

std::error_code writeAll(int file, std::string_view bytes) noexcept
{
    while (!bytes.empty()) {
        const ssize_t n = fileCalls.write(file, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return lastError();
        if (n == 0) return std::make_error_code(std::errc::no_space_on_device);
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return {};
}

int openHeld(const fs::path& path, int flags, mode_t mode = 0)
{
    return whileHeld(
        Purpose::Open, [&] { return fileCalls.open(path.c_str(), flags, mode); }, [](int file) { return file >= 0; });
}

int renameHeld(const fs::path& from, const fs::path& to)
{
    return whileHeld(
        Purpose::Replace, [&] { return fileCalls.rename(from.c_str(), to.c_str()); }, [](int result) { return result == 0; });
}

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

// Follows a chain of links to the file, which need not exist. Writing there keeps the links.
fs::path followed(fs::path path, std::error_code& error)
{
    for (int links = 0; links < 40; ++links) {
        std::error_code noLink;
        const fs::path next = fs::read_symlink(path, noLink);
        if (noLink) return path;
        path = path.parent_path() / next;
    }
    error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return path;
}

// The name does not contain the target's, which may have the maximum length. The leading dot hides the file from listings.
std::string temporaryName()
{
    thread_local std::mt19937_64 numbers{std::random_device{}()};
    char name[40];
    std::snprintf(name, sizeof name, ".mbsync-%016llx.tmp", static_cast<unsigned long long>(numbers()));
    return name;
}

void flushFolder(const fs::path& folder) noexcept
{
    const Descriptor opened(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) (void)fileCalls.flush(opened.get());
}

constexpr std::size_t bufferSize = 1 << 16;
constexpr mode_t ownerOnly = 0600; // contacts are private data

// A history is read into one buffer of up to hundreds of megabytes. Without large pages the page faults cost more than reading it.
void wantLargePages(char* memory, std::size_t size) noexcept
{
    constexpr std::uintptr_t page = 1 << 21;
    const auto begin = reinterpret_cast<std::uintptr_t>(memory), first = (begin + page - 1) / page * page,
               end = (begin + size) / page * page;
    if (first < end) (void)::madvise(memory + (first - begin), end - first, MADV_HUGEPAGE);
}

// New content in a temporary file beside its target. Unless commit() succeeded, the destructor removes the temporary file.
class Draft {
public:
    explicit Draft(const fs::path& wanted) : target_(followed(wanted, error_)), folder_(target_.parent_path())
    {
        buffer_.reserve(bufferSize);
        struct stat info {};
        const bool there = !error_ && ::stat(target_.c_str(), &info) == 0;
        if (there && !S_ISREG(info.st_mode))
            error_ = std::make_error_code(S_ISDIR(info.st_mode) ? std::errc::is_a_directory : std::errc::operation_not_supported);
        else if (there && ::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0)
            error_ = lastError();
        if (!error_) open();
        if (!error_ && there) takeOver(info);
    }
    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;
    ~Draft() { discard(); }

    void write(std::string_view bytes) noexcept
    {
        if (!error_ && buffer_.size() + bytes.size() > bufferSize) writeBuffer();
        if (error_) return;
        if (bytes.size() < bufferSize)
            buffer_ += bytes; // fits the reserved capacity
        else
            error_ = writeAll(file_.get(), bytes);
    }

    std::error_code commit() noexcept
    {
        if (!error_) writeBuffer();
        if (!error_ && fileCalls.flush(file_.get()) != 0) error_ = lastError();
        if (!error_ && file_.close() != 0) error_ = lastError();
        if (!error_ && renameHeld(temporary_, target_) != 0) error_ = lastError();
        if (!error_) {
            temporary_.clear();
            flushFolder(folder_);
        }
        discard();
        return error_;
    }

private:
    void open()
    {
        // A forked process draws the same random numbers as its parent, so a name may be taken.
        for (int attempt = 0; attempt < 16 && !file_; ++attempt) {
            temporary_ = folder_ / temporaryName();
            file_.open(openHeld(temporary_, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
            if (!file_ && errno != EEXIST) break;
        }
        if (file_) return;
        error_ = lastError();
        temporary_.clear();
    }

    void takeOver(const struct stat& info) noexcept
    {
        struct stat made {};
        if (::fstat(file_.get(), &made) != 0) error_ = lastError();
        // The superuser can give the file to its former owner, and must. Another user can only set a group of their own.
        const uid_t user = fileCalls.user();
        const bool given =
            (info.st_uid == user && info.st_gid == made.st_gid) || fileCalls.giveTo(file_.get(), info.st_uid, info.st_gid) == 0;
        if (!given && user == 0 && !error_) error_ = lastError();
        if (!given && user != 0 && info.st_gid != made.st_gid) (void)fileCalls.giveTo(file_.get(), user, info.st_gid);
        if (!error_ && ::fchmod(file_.get(), info.st_mode & 07777) != 0) error_ = lastError();
    }

    void writeBuffer() noexcept
    {
        error_ = writeAll(file_.get(), buffer_);
        buffer_.clear();
    }

    void discard() noexcept
    {
        file_.close();
        if (!temporary_.empty()) ::unlink(temporary_.c_str());
        temporary_.clear();
    }

    std::error_code error_;
    fs::path target_, folder_, temporary_;
    std::string buffer_;
    Descriptor file_;
};

} // namespace

bool lastErrorIsHold(Purpose) noexcept { return errno == EBUSY || errno == ETXTBSY; }

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
        Draft copy(to);
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

struct AtomicFile::State : Draft {
    using Draft::Draft;
};

AtomicFile::AtomicFile(const fs::path& target) noexcept
{
    try {
        state_ = std::make_unique<State>(target);
    } catch (...) { // commit() reports the failure
    }
}

AtomicFile::~AtomicFile() = default;

void AtomicFile::write(std::string_view bytes) noexcept
{
    if (state_) state_->write(bytes);
}

std::error_code AtomicFile::commit() noexcept { return state_ ? state_->commit() : std::make_error_code(std::errc::not_enough_memory); }

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
