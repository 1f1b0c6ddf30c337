// What std::filesystem lacks: the folders of the system, copying that fails if the target exists, and files that reach the disk whole.
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

// Paths travel inside the module as 16-bit text.
std::filesystem::path pathOf(std::u16string_view text);
std::u16string textOf(const std::filesystem::path& path);

// The user's application data folder ($XDG_DATA_HOME or ~/.local/share on Linux), and the machine's folder of earlier
// versions (the Windows directory; /usr/share on Linux). Empty if the system does not tell. Neither is created.
std::filesystem::path userDataFolder();
std::filesystem::path machineDataFolder();

// What is made here is for its owner alone where the system has rights of files: files 0600, folders 0700, whatever the process's mask
// leaves of that. A file that is replaced keeps its rights, its owner and its group, as far as the user may give them.
bool fileExists(const std::filesystem::path& file) noexcept;
// Whether the file can be opened for reading; a missing one is made, empty, if its folder is there.
bool openOrCreate(const std::filesystem::path& file) noexcept;
// Makes one level; true if the folder exists afterwards.
bool createFolder(const std::filesystem::path& folder) noexcept;
// Makes the folder with all that lead to it.
bool createFolders(const std::filesystem::path& folder);
std::error_code copyReplacing(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
// errc::file_exists if there is a target.
std::error_code copyFailingIfExists(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
// The one spelling of a place: absolute, without links, dots and doubled or trailing separators; on Windows also with the names as the
// file system has them, and by its own volume. What is not there is taken as it is given, behind the folder that is.
std::filesystem::path canonicalPath(const std::filesystem::path& path);
// Whether two databases are one place: the same file or folder where both are absolute paths that lead to one, else the same text in any
// case of its letters.
bool isSamePlace(std::u16string_view a, std::u16string_view b);
// Tells two versions of a file apart that AtomicFile wrote one after the other; on Windows only if their sizes differ or the clock has
// moved on. All missing files have the same.
struct FileStamp {
    std::uint64_t file = 0; // its number in the file system; 0 on Windows
    std::int64_t written = 0;
    std::uint64_t size = 0;
    bool operator==(const FileStamp&) const = default;
};
FileStamp stampOf(const std::filesystem::path& file) noexcept;
// The whole file; an error in `error`, also where it is larger than `limit` (errc::file_too_large).
std::string readFile(const std::filesystem::path& file, std::error_code& error, std::uint64_t limit = UINT64_MAX);

// A new content for a file. It is written beside the target, and commit() flushes it to disk and renames it over the target; without
// commit nothing has changed and the temporary file is gone.
class AtomicFile {
public:
    explicit AtomicFile(const std::filesystem::path& target) noexcept;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();
    // After the first failure the others do nothing, and commit reports it.
    void write(std::string_view bytes) noexcept;
    [[nodiscard]] std::error_code commit() noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Removes what AtomicFile left in the folder in processes that were killed: its temporary files of more than a day ago. A younger one may
// be that of a process at work.
void removeStaleTemporaries(const std::filesystem::path& folder);

// A file that grows at its end, for the log: made if missing; every write goes to the system at once, none is flushed to disk.
class AppendFile {
public:
    AppendFile() noexcept = default;
    explicit AppendFile(const std::filesystem::path& file) noexcept; // empty if it cannot be opened
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
