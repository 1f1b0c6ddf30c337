// Locks of files by flock: they belong to the open file, so a second thread that opens the file is refused as another process is.
#include "process_lock.h"

#include "file_calls.h"
#include "lock_holder.h"
#include <cerrno>
#include <fcntl.h>
#include <map>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace platform {

namespace fs = std::filesystem;

struct ProcessLock::Held {
    Held(fs::path path, int opened) : name(std::move(path)), file(opened) {}
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held()
    {
        ::unlink(name.c_str()); // while it is locked: whoever opened it before finds that it is not the named one any more
        ::close(file);          // this ends the lock
    }
    fs::path name;
    int file;
    std::thread::id thread = std::this_thread::get_id();
};

namespace {

constexpr auto pause = std::chrono::milliseconds(10);

std::error_code lastError() noexcept
{
    switch (errno) {
    case EWOULDBLOCK: return std::make_error_code(std::errc::device_or_resource_busy);
    case ENOLCK:
    case ENOSYS:
    case EINVAL:
    case EOPNOTSUPP: return std::make_error_code(std::errc::no_lock_available);
    default: return {errno, std::generic_category()};
    }
}

// Whether the name still leads to the open file: its former holder may have deleted it after it was opened here.
bool isStill(const fs::path& name, int file) noexcept
{
    struct stat opened {
    }, named{};
    return ::fstat(file, &opened) == 0 && ::stat(name.c_str(), &named) == 0 && opened.st_dev == named.st_dev &&
           opened.st_ino == named.st_ino;
}

// The open and locked file, or -1.
int lockOnce(const fs::path& name, std::error_code& error)
{
    for (;;) {
        const int file = ::open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (file < 0) {
            error = {errno, std::generic_category()};
            return -1;
        }
        if (fileCalls.lock(file, LOCK_EX | LOCK_NB) != 0) {
            error = lastError();
            if (error == std::errc::no_lock_available) ::unlink(name.c_str()); // it serves nobody there
            ::close(file);
            return -1;
        }
        if (isStill(name, file)) return file;
        ::close(file);
    }
}

void writeHolder(int file, std::string_view note) noexcept
{
    try {
        const std::string text = lockFileText(note);
        if (::ftruncate(file, 0) == 0) (void)!::pwrite(file, text.data(), text.size(), 0);
    } catch (...) { // it is told to people only
    }
}

} // namespace

ProcessLock::ProcessLock() noexcept = default;
ProcessLock::ProcessLock(ProcessLock&&) noexcept = default;
ProcessLock& ProcessLock::operator=(ProcessLock&&) noexcept = default;
ProcessLock::~ProcessLock() { release(); }

std::error_code ProcessLock::take(const fs::path& file, std::chrono::milliseconds patience, std::string_view note)
{
    // The locks that threads of this process hold.
    static std::mutex guard;
    static std::map<fs::path, std::weak_ptr<Held>> all;

    release();
    const auto giveUp = std::chrono::steady_clock::now() + patience;
    for (;;) {
        std::error_code error;
        {
            const std::scoped_lock lock(guard);
            std::erase_if(all, [](const auto& each) { return each.second.expired(); });
            const auto found = all.find(file);
            if (std::shared_ptr<Held> held = found == all.end() ? nullptr : found->second.lock()) {
                if (held->thread == std::this_thread::get_id()) {
                    held_ = std::move(held);
                    return {};
                }
                error = std::make_error_code(std::errc::device_or_resource_busy);
            } else if (const int opened = lockOnce(file, error); opened >= 0) {
                writeHolder(opened, note);
                all[file] = held_ = std::make_shared<Held>(file, opened);
                return {};
            }
        }
        if (error != std::errc::device_or_resource_busy || std::chrono::steady_clock::now() >= giveUp) return error;
        std::this_thread::sleep_for(pause);
    }
}

void ProcessLock::release() noexcept { held_.reset(); }

} // namespace platform
