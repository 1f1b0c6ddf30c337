#include "files.h"

#include "held.h"

#include <windows.h>

#include <shlobj.h>

#include <random>

namespace platform {
namespace {

namespace fs = std::filesystem;

std::error_code lastError() noexcept { return {static_cast<int>(GetLastError()), std::system_category()}; }

// Other programs may read, write and remove files that we have open.
constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

constexpr std::size_t bufferSize = 1 << 16;

class File {
public:
    File(const fs::path& path, DWORD access, DWORD share, DWORD disposition) noexcept
        : handle_(whileHeld(
              Purpose::Open, [&] { return CreateFileW(path.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr); },
              [](HANDLE opened) { return opened != INVALID_HANDLE_VALUE; }))
    {
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    ~File() { close(); }
    [[nodiscard]] HANDLE get() const noexcept { return handle_; }
    explicit operator bool() const noexcept { return handle_ != INVALID_HANDLE_VALUE; }
    bool close() noexcept
    {
        const HANDLE open = std::exchange(handle_, INVALID_HANDLE_VALUE);
        return open == INVALID_HANDLE_VALUE || CloseHandle(open);
    }

private:
    HANDLE handle_;
};

std::error_code writeAll(HANDLE file, std::string_view bytes, OVERLAPPED* place = nullptr) noexcept
{
    while (!bytes.empty()) {
        constexpr std::size_t most = 1 << 30;
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(std::min(bytes.size(), most)), &written, place)) return lastError();
        bytes.remove_prefix(written);
    }
    return {};
}

fs::path specialFolder(int id)
{
    wchar_t path[MAX_PATH];
    return SHGetFolderPathW(nullptr, id | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path) == S_OK ? fs::path(path) : fs::path();
}

// Follows links to the file, so that writing there keeps the links.
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
    wchar_t suffix[32];
    std::swprintf(suffix, std::size(suffix), L".%016llx.tmp", static_cast<unsigned long long>(numbers()));
    fs::path name = target;
    name += suffix;
    return name;
}

// Checked before the move, since Wine replaces a read-only file.
bool isReadOnly(const fs::path& file) noexcept
{
    const DWORD attributes = GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY);
}

void copyAccessRights(const fs::path& from, const fs::path& to)
{
    DWORD size = 0;
    GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    if (size == 0) return; // the target does not exist, or the file system has no permissions
    std::string rights(size, '\0');
    if (GetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, rights.data(), size, &size))
        SetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, rights.data());
}

} // namespace

bool lastErrorIsHold(Purpose purpose) noexcept
{
    const DWORD error = GetLastError();
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
           (purpose == Purpose::Replace &&
            (error == ERROR_ACCESS_DENIED || error == ERROR_UNABLE_TO_REMOVE_REPLACED || error == ERROR_UNABLE_TO_MOVE_REPLACEMENT));
}

fs::path pathOf(std::u16string_view text) { return fs::path(text.begin(), text.end()); }
std::u16string textOf(const fs::path& path) { return {path.native().begin(), path.native().end()}; }

fs::path userDataFolder() { return specialFolder(CSIDL_APPDATA); }
fs::path machineDataFolder()
{
    wchar_t folder[MAX_PATH];
    const UINT length = GetWindowsDirectoryW(folder, MAX_PATH);
    return length > 0 && length < MAX_PATH ? fs::path(folder) : fs::path();
}

bool fileExists(const fs::path& file) noexcept
{
    const DWORD attributes = GetFileAttributesW(file.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool openOrCreate(const fs::path& file) noexcept { return static_cast<bool>(File(file, GENERIC_READ, shareAll, OPEN_ALWAYS)); }

bool createFolder(const fs::path& folder) noexcept
{
    if (CreateDirectoryW(folder.c_str(), nullptr)) return true;
    const DWORD attributes = GetFileAttributesW(folder.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

bool createFolders(const fs::path& folder)
{
    const fs::path parent = folder.parent_path();
    if (!parent.empty() && parent != folder && !createFolders(parent)) return false;
    return createFolder(folder);
}

namespace {

// Removes the \\?\ prefix from a path.
std::wstring withoutPrefix(const std::wstring& name)
{
    if (name.starts_with(L"\\\\?\\UNC\\")) return L"\\\\" + name.substr(8);
    return name.starts_with(L"\\\\?\\") ? name.substr(4) : name;
}

} // namespace

fs::path canonicalPath(const fs::path& path)
{
    std::error_code error;
    const fs::path full = fs::absolute(withoutPrefix(path.native()), error).lexically_normal();
    if (error || path.empty()) return path;
    const HANDLE opened = CreateFileW(full.c_str(), 0, shareAll, nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (opened != INVALID_HANDLE_VALUE) {
        std::wstring name(32'768, L'\0');
        const DWORD length = GetFinalPathNameByHandleW(opened, name.data(), static_cast<DWORD>(name.size()), FILE_NAME_NORMALIZED);
        CloseHandle(opened);
        if (length == 0 || length >= name.size()) return full;
        name.resize(length);
        return withoutPrefix(name);
    }
    if (!full.has_relative_path()) return full;
    return full.has_filename() ? canonicalPath(full.parent_path()) / full.filename() : canonicalPath(full.parent_path());
}

FileStamp stampOf(const fs::path& file) noexcept
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data)) return {};
    const auto whole = [](DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; };
    return {0, static_cast<std::int64_t>(whole(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)),
            whole(data.nFileSizeHigh, data.nFileSizeLow)};
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
    return CopyFileW(from.c_str(), to.c_str(), TRUE) ? std::error_code() : lastError();
}

std::string readFile(const fs::path& path, std::error_code& error, std::uint64_t limit)
{
    error.clear();
    const File file(path, GENERIC_READ, shareAll, OPEN_EXISTING);
    LARGE_INTEGER size{};
    if (!file || !GetFileSizeEx(file.get(), &size)) {
        error = lastError();
        return {};
    }
    std::string bytes;
    if (static_cast<std::uint64_t>(size.QuadPart) <= limit) bytes.reserve(static_cast<std::size_t>(size.QuadPart) + 1);
    for (;;) {
        constexpr std::size_t step = 1 << 16, most = 1 << 30;
        const std::size_t used = bytes.size(), room = std::min(std::max(bytes.capacity() - used, step), most);
        bytes.resize(used + room);
        DWORD n = 0;
        if (!ReadFile(file.get(), bytes.data() + used, static_cast<DWORD>(room), &n, nullptr)) error = lastError();
        bytes.resize(used + n);
        if (bytes.size() > limit) error = std::make_error_code(std::errc::file_too_large);
        if (error) return {};
        if (n == 0) return bytes;
    }
}

struct AtomicFile::State {
    explicit State(const fs::path& wanted)
        : target(resolved(wanted)), temporary(besideName(target)), file(temporary, GENERIC_WRITE, 0, CREATE_NEW)
    {
        if (!file) error = lastError();
        buffer.reserve(bufferSize);
    }
    void writeBuffer() noexcept
    {
        if (!error) error = writeAll(file.get(), buffer);
        buffer.clear();
    }
    fs::path target, temporary;
    File file;
    std::string buffer; // small writes, collected before they reach the file
    std::error_code error;
};

AtomicFile::AtomicFile(const fs::path& target) noexcept
{
    try {
        state_ = std::make_unique<State>(target);
    } catch (...) { // commit() reports the failure
    }
}

AtomicFile::~AtomicFile()
{
    if (!state_ || !state_->file) return;
    state_->file.close();
    DeleteFileW(state_->temporary.c_str());
}

void AtomicFile::write(std::string_view bytes) noexcept
{
    if (!state_ || state_->error) return;
    if (state_->buffer.size() + bytes.size() > bufferSize) state_->writeBuffer();
    if (bytes.size() <= bufferSize)
        state_->buffer += bytes; // fits the reserved capacity
    else if (!state_->error)
        state_->error = writeAll(state_->file.get(), bytes);
}

std::error_code AtomicFile::commit() noexcept
{
    if (!state_) return std::make_error_code(std::errc::not_enough_memory);
    State& s = *state_;
    s.writeBuffer();
    if (!s.error && !FlushFileBuffers(s.file.get())) s.error = lastError();
    if (!s.error && !s.file.close()) s.error = lastError();
    if (!s.error && isReadOnly(s.target)) s.error = std::make_error_code(std::errc::permission_denied);
    if (s.error) {
        DeleteFileW(s.temporary.c_str());
        return s.error;
    }
    try {
        copyAccessRights(s.target, s.temporary);
    } catch (...) {
        s.error = std::make_error_code(std::errc::not_enough_memory);
    }
    const auto move = [&] {
        return MoveFileExW(s.temporary.c_str(), s.target.c_str(), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
    };
    if (!s.error && !whileHeld(Purpose::Replace, move, [](BOOL moved) { return moved != FALSE; })) s.error = lastError();
    if (s.error) DeleteFileW(s.temporary.c_str());
    return s.error;
}

AppendFile::AppendFile(const fs::path& file) noexcept
    : handle_(reinterpret_cast<std::intptr_t>(
          CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr)))
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
    if (handle_ != -1) CloseHandle(reinterpret_cast<HANDLE>(handle_));
}

std::uint64_t AppendFile::size() const noexcept
{
    LARGE_INTEGER size{};
    return handle_ != -1 && GetFileSizeEx(reinterpret_cast<HANDLE>(handle_), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

bool AppendFile::truncate() noexcept
{
    const auto file = reinterpret_cast<HANDLE>(handle_);
    return handle_ != -1 && SetFilePointerEx(file, LARGE_INTEGER{}, nullptr, FILE_BEGIN) && SetEndOfFile(file);
}

bool AppendFile::write(std::string_view bytes) noexcept
{
    OVERLAPPED atTheEnd{};
    atTheEnd.Offset = atTheEnd.OffsetHigh = 0xFFFFFFFF; // the system appends at this offset
    return handle_ != -1 && !writeAll(reinterpret_cast<HANDLE>(handle_), bytes, &atTheEnd);
}

} // namespace platform
