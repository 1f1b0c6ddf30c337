// An exclusive lock between all threads and processes of the user, named by a file that is there while the lock is held.
// The end of the process that holds it releases the lock, and leaves the file.
#pragma once
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>

namespace platform {

class ProcessLock {
public:
    ProcessLock() noexcept;
    ProcessLock(ProcessLock&&) noexcept;
    ProcessLock& operator=(ProcessLock&&) noexcept;
    ~ProcessLock(); // releases the lock

    // Waits up to `patience` for another holder. The thread that holds the lock may take it again; each taker releases it once, on the
    // same thread. errc::device_or_resource_busy if another thread or process holds it, errc::no_lock_available if the file system has
    // no locks; other errors are those of making the file. The note is what others are told of the holder; a thread that takes its lock
    // again leaves the first note. Requires: the note has no line break.
    [[nodiscard]] std::error_code take(const std::filesystem::path& file, std::chrono::milliseconds patience = {},
                                       std::string_view note = {});
    void release() noexcept;
    explicit operator bool() const noexcept { return held_ != nullptr; }

private:
    struct Held;
    std::shared_ptr<Held> held_;
};

// Who holds the lock of this file: "PROGRAM, process NUMBER". Empty if nobody does, or if that is not known yet.
std::u16string lockHolder(const std::filesystem::path& file);
// The note that the holder gave; empty where lockHolder is.
std::u16string lockNote(const std::filesystem::path& file);

} // namespace platform
