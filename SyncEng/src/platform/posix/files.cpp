#include "files.h"

#include "file_calls.h"
#include "text.h"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

FileCalls fileCalls{[](const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }, ::write, ::fsync, std::rename};

namespace {

namespace fs = std::filesystem;

std::error_code lastError() { return {errno, std::generic_category()}; }

// A file descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int file) noexcept : file_(file) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(); }
    [[nodiscard]] int get() const noexcept { return file_; }
    explicit operator bool() const noexcept { return file_ >= 0; }
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
        if (n < 0) {
            if (errno == EINTR) continue;
            return lastError();
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return {};
}

fs::path homeFolder()
{
    const char* home = std::getenv("HOME");
    return home && *home ? fs::path(home) : fs::path();
}

// The file that a chain of links leads to, so that the link survives and its target changes.
fs::path resolved(const fs::path& target)
{
    std::error_code error;
    if (!fs::is_symlink(target, error)) return target;
    fs::path real = fs::weakly_canonical(target, error);
    return error ? target : real;
}

fs::path besideName(const fs::path& target)
{
    thread_local std::mt19937_64 numbers{std::random_device{}()};
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, ".%016llx.tmp", static_cast<unsigned long long>(numbers()));
    fs::path name = target;
    name += suffix;
    return name;
}

void flushFolder(const fs::path& folder) noexcept
{
    const Descriptor opened(::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) (void)fileCalls.flush(opened.get());
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
    return static_cast<bool>(Descriptor(::open(file.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666)));
}

bool createFolder(const fs::path& folder) noexcept
{
    if (::mkdir(folder.c_str(), 0777) == 0) return true;
    struct stat info {};
    return ::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::error_code copyReplacing(const fs::path& from, const fs::path& to) noexcept
{
    std::error_code error;
    const std::string bytes = readFile(from, error);
    if (error) return error;
    AtomicFile copy(to);
    copy.write(bytes);
    return copy.commit();
}

std::error_code copyFailingIfExists(const fs::path& from, const fs::path& to) noexcept
{
    std::error_code error;
    const std::string bytes = readFile(from, error);
    if (error) return error;
    Descriptor file(fileCalls.open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file) return lastError();
    error = writeAll(file.get(), bytes);
    if (!error && fileCalls.flush(file.get()) != 0) error = lastError();
    if (error) ::unlink(to.c_str());
    return error;
}

std::string readFile(const fs::path& path, std::error_code& error, std::uint64_t limit)
{
    error.clear();
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (!file || ::fstat(file.get(), &info) != 0) {
        error = lastError();
        return {};
    }
    if (S_ISDIR(info.st_mode)) {
        error = std::make_error_code(std::errc::is_a_directory);
        return {};
    }
    std::string bytes;
    if (static_cast<std::uint64_t>(info.st_size) <= limit) bytes.reserve(static_cast<std::size_t>(info.st_size) + 1);
    for (;;) {
        constexpr std::size_t step = 1 << 16;
        const std::size_t used = bytes.size(), room = std::max(bytes.capacity() - used, step);
        bytes.resize(used + room);
        const ssize_t n = ::read(file.get(), bytes.data() + used, room);
        if (n < 0 && errno == EINTR) {
            bytes.resize(used);
            continue;
        }
        bytes.resize(used + (n > 0 ? static_cast<std::size_t>(n) : 0));
        if (n < 0) error = lastError();
        if (bytes.size() > limit) error = std::make_error_code(std::errc::file_too_large);
        if (error) return {};
        if (n == 0) return bytes;
    }
}

struct AtomicFile::State {
    explicit State(const fs::path& wanted)
        : target(resolved(wanted)), temporary(besideName(target)),
          file(fileCalls.open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666))
    {
        if (!file) {
            error = lastError();
            return;
        }
        struct stat info {};
        if (::stat(target.c_str(), &info) == 0) (void)::fchmod(file.get(), info.st_mode & 07777);
    }
    fs::path target, temporary;
    Descriptor file;
    std::error_code error;
};

AtomicFile::AtomicFile(fs::path target) noexcept
{
    try {
        state_ = std::make_unique<State>(target);
    } catch (...) { // commit reports it
    }
}

AtomicFile::~AtomicFile()
{
    if (!state_ || !state_->file) return;
    state_->file.close();
    ::unlink(state_->temporary.c_str());
}

void AtomicFile::write(std::string_view bytes) noexcept
{
    if (state_ && !state_->error) state_->error = writeAll(state_->file.get(), bytes);
}

std::error_code AtomicFile::commit() noexcept
{
    if (!state_) return std::make_error_code(std::errc::not_enough_memory);
    State& s = *state_;
    if (!s.error && fileCalls.flush(s.file.get()) != 0) s.error = lastError();
    if (!s.error && s.file.close() != 0) s.error = lastError();
    if (!s.error && fileCalls.rename(s.temporary.c_str(), s.target.c_str()) != 0) {
        s.error = lastError();
        ::unlink(s.temporary.c_str());
    }
    if (s.error) return s.error;
    flushFolder(s.target.parent_path());
    return {};
}

AppendFile::AppendFile(const fs::path& file) noexcept : handle_(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666)) {}
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
