// An open file, and the calls that open and write one. Shared by files.cpp and atomic_file.cpp.
#pragma once
#include <filesystem>
#include <string_view>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace platform {

inline constexpr mode_t ownerOnly = 0600; // contacts are private data

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

// Returns errno as an error code.
std::error_code lastError() noexcept;
// Opens a file, and waits a moment for another program that holds it.
int openHeld(const std::filesystem::path& path, int flags, mode_t mode = 0);
std::error_code writeAll(int file, std::string_view bytes) noexcept;

} // namespace platform
