// AtomicFile. A source of its own, because libmbcom.so, which keeps the registry, is built without the other platform code.
#include "descriptor.h"
#include "file_calls.h"
#include "files.h"
#include "held.h"
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>

namespace platform {

namespace fs = std::filesystem;

FileCalls fileCalls{[](const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); },
                    ::write,
                    ::fsync,
                    std::rename,
                    ::geteuid,
                    ::fchown,
                    ::flock};

bool lastErrorIsHold(Purpose) noexcept { return errno == EBUSY || errno == ETXTBSY; }

std::error_code lastError() noexcept { return {errno, std::generic_category()}; }

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

int openHeld(const fs::path& path, int flags, mode_t mode)
{
    return whileHeld(
        Purpose::Open, [&] { return fileCalls.open(path.c_str(), flags, mode); }, [](int file) { return file >= 0; });
}

namespace {

constexpr std::size_t bufferSize = 1 << 16;

int renameHeld(const fs::path& from, const fs::path& to)
{
    return whileHeld(
        Purpose::Replace, [&] { return fileCalls.rename(from.c_str(), to.c_str()); }, [](int result) { return result == 0; });
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

} // namespace platform
