// File operations that std::filesystem lacks: system folders, copying that fails if the target exists, durable atomic writes.
#pragma once
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace platform {

// Inside the module a path travels as 16-bit text.
std::filesystem::path pathOf(std::u16string_view text);
std::u16string textOf(const std::filesystem::path& path);

// userDataFolder: the user's application data folder ($XDG_DATA_HOME or ~/.local/share on Linux). machineDataFolder: the folder that
// earlier versions used for all users (the Windows directory; /usr/share on Linux). Empty if the system reports none. Neither folder is
// created.
std::filesystem::path userDataFolder();
std::filesystem::path machineDataFolder();

// New files and folders are accessible to their owner only, where the file system has permissions (files 0600, folders 0700, less the
// umask). A replaced file keeps its permissions, owner and group, as far as the user may set them.

bool fileExists(const std::filesystem::path& file) noexcept;
// Returns whether the file can be opened for reading. A missing file is created empty if its folder exists.
bool openOrCreate(const std::filesystem::path& file) noexcept;
// Creates one level. Returns whether the folder exists afterwards.
bool createFolder(const std::filesystem::path& folder) noexcept;
// Creates the folder with its missing parents. Returns whether the folder exists afterwards.
bool createFolders(const std::filesystem::path& folder);
std::error_code copyReplacing(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
// Returns errc::file_exists if the target exists.
std::error_code copyFailingIfExists(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
// Returns the canonical spelling of a path: absolute, without links, dots, doubled or trailing separators; on Windows also with the file
// system's spelling of each name and the path of its own volume. The part of the path that does not exist is appended unchanged.
std::filesystem::path canonicalPath(const std::filesystem::path& path);
// Returns whether two database names mean the same place. If both are absolute paths that exist, they are compared as files; otherwise as
// text, case-insensitive.
bool isSamePlace(std::u16string_view a, std::u16string_view b);
// Identifies a version of a file: two versions that AtomicFile wrote have different stamps. On Windows this holds only if their sizes
// differ or the clock has moved on. All missing files have the same stamp.
struct FileStamp {
    std::uint64_t file = 0; // inode number; 0 on Windows
    std::int64_t written = 0;
    std::uint64_t size = 0;
    bool operator==(const FileStamp&) const = default;
};
FileStamp stampOf(const std::filesystem::path& file) noexcept;
// Returns the whole file. Sets `error` on failure, and to errc::file_too_large if the file is larger than `limit`.
std::string readFile(const std::filesystem::path& file, std::error_code& error, std::uint64_t limit = UINT64_MAX);

// Writes new content for a file atomically. The content goes into a temporary file beside the target; commit() flushes it to disk and
// renames it over the target. Without commit() the target is unchanged; the destructor removes the temporary file.
class AtomicFile {
public:
    explicit AtomicFile(const std::filesystem::path& target) noexcept;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();
    // After a failed write, further writes do nothing and commit() returns the error.
    void write(std::string_view bytes) noexcept;
    [[nodiscard]] std::error_code commit() noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Removes temporary files that AtomicFile left in the folder because its process was killed: those older than a day. A younger one may
// belong to a running process.
void removeStaleTemporaries(const std::filesystem::path& folder);

// A file opened for appending, for the log. It is created if missing. Each write is passed to the system at once; none is flushed to disk.
class AppendFile {
public:
    AppendFile() noexcept = default;
    explicit AppendFile(const std::filesystem::path& file) noexcept; // empty if the file cannot be opened
    AppendFile(AppendFile&& o) noexcept;
    AppendFile& operator=(AppendFile&& o) noexcept;
    ~AppendFile();
    explicit operator bool() const noexcept { return handle_ != -1; }
    [[nodiscard]] std::uint64_t size() const noexcept;
    bool truncate() noexcept;
    bool write(std::string_view bytes) noexcept;

private:
    std::intptr_t handle_ = -1;
};

} // namespace platform
