#include "Folder.h"

#include "Ascii.h"
#include "Charset.h"
#include "held.h"
#include "host.h"
#include "LineReader.h"

#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <fcntl.h>
#include <filesystem>
#include <io.h>
#include <sys/stat.h>
#include <utility>

namespace mb::vcard {
namespace {

// Makes a call that renames or deletes, and repeats it while another program holds the file.
template <class F> bool done(F&& call)
{
    return platform::whileHeld(platform::Purpose::Replace, call, [](BOOL result) { return result != FALSE; }) != FALSE;
}

constexpr std::string_view kDraftPrefix = ".mbsync-", kDraftSuffix = ".tmp";
constexpr std::int64_t kStaleDraft = std::int64_t{24} * 60 * 60 * 1'000'000'000; // nanoseconds
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::wstring wide(std::string_view utf8)
{
    const std::u16string text = fromUtf8(utf8);
    return {text.begin(), text.end()};
}

std::string narrow(std::wstring_view text) { return toUtf8(std::u16string(text.begin(), text.end())); }

[[noreturn]] void fail(const std::string& what, const std::string& path)
{
    const DWORD error = GetLastError();
    throw FileError(what + " \"" + path + "\": " + toUtf8(platform::systemMessage(static_cast<std::int32_t>(error))),
                    error == ERROR_FILE_NOT_FOUND ? FileError::Why::Missing : FileError::Why::Failed);
}

std::uint64_t joined(DWORD high, DWORD low) { return std::uint64_t{high} << 32 | low; }

std::int64_t nanosecondsOf(const FILETIME& time)
{
    constexpr std::int64_t ticksTo1970 = 116'444'736'000'000'000;
    return (static_cast<std::int64_t>(joined(time.dwHighDateTime, time.dwLowDateTime)) - ticksTo1970) * 100;
}

// For every structure of the system with these fields.
template <class Data> FileState stateFrom(const Data& data)
{
    return {joined(data.nFileSizeHigh, data.nFileSizeLow), nanosecondsOf(data.ftLastWriteTime), 0};
}

// Returns why a name is not a plain file; empty for a plain file.
std::string notPlain(DWORD attributes)
{
    if (attributes & FILE_ATTRIBUTE_REPARSE_POINT) return "it is a link";
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) return "it is a folder";
    return attributes & FILE_ATTRIBUTE_DEVICE ? "it is a device" : "";
}

[[noreturn]] void refuse(const std::string& path, const std::string& notPlain)
{
    throw FileError("cannot read \"" + path + "\": " + notPlain, FileError::Why::NotPlain);
}

bool isStale(const FileState& state)
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return nanosecondsOf(now) - state.modified > kStaleDraft;
}

class Handle {
public:
    explicit Handle(HANDLE file) : file_(file) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle()
    {
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
    }
    HANDLE get() const { return file_; }
    explicit operator bool() const { return file_ != INVALID_HANDLE_VALUE; }

private:
    HANDLE file_;
};

HANDLE handleOf(int file) { return reinterpret_cast<HANDLE>(_get_osfhandle(file)); }

void requireWritable(const std::string& path, const std::string& failure)
{
    const DWORD attributes = GetFileAttributesW(wide(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_READONLY)) return;
    SetLastError(ERROR_ACCESS_DENIED);
    fail(failure, path);
}

[[noreturn]] void deleteAndFail(const std::wstring& draft, const std::string& target)
{
    const DWORD error = GetLastError();
    DeleteFileW(draft.c_str());
    SetLastError(error);
    fail("cannot write the file", target);
}

// Returns fewer bytes than `size` if the file was truncated meanwhile.
std::string readWhole(HANDLE file, std::uint64_t size, const std::string& path)
{
    if (SetFilePointer(file, 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER) fail("cannot read the file", path);
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < bytes.size()) {
        DWORD n = 0;
        if (!ReadFile(file, bytes.data() + got, static_cast<DWORD>(bytes.size() - got), &n, nullptr)) fail("cannot read the file", path);
        if (n == 0) break;
        got += n;
    }
    bytes.resize(got);
    return bytes;
}

} // namespace

Folder::Folder(const std::string& path) : path_(path)
{
    const DWORD attributes = GetFileAttributesW(wide(path).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY)) SetLastError(ERROR_DIRECTORY);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_DIRECTORY)) fail("cannot open the folder", path);
}

Folder::~Folder() = default;

std::string Folder::pathOf(const std::string& name) const
{
    return path_ + (path_.ends_with('/') || path_.ends_with('\\') ? "" : "\\") + name;
}

Folder::Listing Folder::list() const
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileExW(wide(pathOf("*")).c_str(), FindExInfoBasic, &found, FindExSearchNameMatch, nullptr, 0);
    if (search == INVALID_HANDLE_VALUE) fail("cannot read the folder", path_);
    const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> guard(search, FindClose);
    Listing listing;
    const std::int64_t before = lastChange();
    bool anyDraftRemoved = false;
    do {
        const std::wstring_view given = found.cFileName;
        const std::string name = narrow(given);
        const bool draft = name.starts_with(kDraftPrefix) && name.ends_with(kDraftSuffix);
        if (!draft && (name.starts_with('.') || !endsWithFold(name, ".vcf"))) continue;
        const FileState state = stateFrom(found);
        if (draft) { // a killed run left it behind
            anyDraftRemoved |= isStale(state) && DeleteFileW(wide(pathOf(name)).c_str());
        } else if (wide(name) == given) {
            listing.files.push_back({name, state, notPlain(found.dwFileAttributes)});
        } else {
            listing.unreadable.push_back(name);
        }
    } while (FindNextFileW(search, &found));
    if (GetLastError() != ERROR_NO_MORE_FILES) fail("cannot read the folder", path_);
    listing.unsettled = !anyDraftRemoved && lastChange() != before;
    std::sort(listing.files.begin(), listing.files.end(), [](const FileEntry& a, const FileEntry& b) { return a.name < b.name; });
    return listing;
}

std::int64_t Folder::lastChange() const
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    return GetFileAttributesExW(wide(path_).c_str(), GetFileExInfoStandard, &data) ? stateFrom(data).modified : 0;
}

std::optional<FileState> Folder::stateOf(const std::string& name) const
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExW(wide(pathOf(name)).c_str(), GetFileExInfoStandard, &data)) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND) return std::nullopt;
        fail("cannot read the file", pathOf(name));
    }
    if (const std::string why = notPlain(data.dwFileAttributes); !why.empty()) refuse(pathOf(name), why);
    return stateFrom(data);
}

std::string Folder::read(const std::string& name, FileState& state) const
{
    const std::wstring path = wide(pathOf(name));
    const auto open = [&] {
        return CreateFileW(path.c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                           FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    };
    const Handle file(platform::whileHeld(platform::Purpose::Open, open, [](HANDLE opened) { return opened != INVALID_HANDLE_VALUE; }));
    if (!file) {
        const DWORD error = GetLastError(), attributes = GetFileAttributesW(path.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && !notPlain(attributes).empty()) refuse(pathOf(name), notPlain(attributes));
        SetLastError(error);
    }
    BY_HANDLE_FILE_INFORMATION data;
    if (!file || !GetFileInformationByHandle(file.get(), &data)) fail("cannot read the file", pathOf(name));
    if (const std::string why = notPlain(data.dwFileAttributes); !why.empty()) refuse(pathOf(name), why);
    if (stateFrom(data).size > kMaxFile)
        throw FileError("the file \"" + pathOf(name) + "\" is larger than 256 MiB", FileError::Why::TooLarge);
    constexpr int kTries = 5;
    for (int i = 0; i < kTries; ++i) {
        state = stateFrom(data);
        std::string bytes = readWhole(file.get(), state.size, pathOf(name));
        if (!GetFileInformationByHandle(file.get(), &data)) fail("cannot read the file", pathOf(name));
        if (bytes.size() == state.size && stateFrom(data) == state) return bytes;
        Sleep(20); // another program is writing the file
    }
    throw FileError("the file \"" + pathOf(name) + "\" is being changed by another program");
}

// Returns whether the name is a plain file with these bytes.
bool Folder::holds(const std::string& name, std::string_view bytes) const
{
    const Handle file(CreateFileW(wide(pathOf(name)).c_str(), GENERIC_READ, kShareAll, nullptr, OPEN_EXISTING,
                                  FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    BY_HANDLE_FILE_INFORMATION data;
    return file && GetFileInformationByHandle(file.get(), &data) && notPlain(data.dwFileAttributes).empty() &&
           stateFrom(data).size == bytes.size() && readWhole(file.get(), bytes.size(), pathOf(name)) == bytes;
}

// Renames a file that was set aside to an unused name. For a version that another program wrote and then overwrote.
std::string Folder::keepAside(const std::string& aside, const std::string& name) const
{
    for (int i = 1;; ++i) {
        std::string kept = name + ".kept-" + std::to_string(i);
        if (MoveFileExW(wide(pathOf(aside)).c_str(), wide(pathOf(kept)).c_str(), 0)) return kept;
        if (GetLastError() != ERROR_ALREADY_EXISTS && GetLastError() != ERROR_FILE_EXISTS) return aside;
    }
}

void Folder::removeIfSame(const std::string& name, const FileState& before) const
{
    requireWritable(pathOf(name), "cannot delete the file");
    const std::string aside = unusedName();
    const std::wstring path = wide(pathOf(name)), asidePath = wide(pathOf(aside));
    if (!done([&] { return MoveFileExW(path.c_str(), asidePath.c_str(), 0); })) {
        if (GetLastError() == ERROR_FILE_NOT_FOUND) failChanged(name);
        fail("cannot delete the file", pathOf(name));
    }
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (GetFileAttributesExW(asidePath.c_str(), GetFileExInfoStandard, &data) && notPlain(data.dwFileAttributes).empty() &&
        stateFrom(data) == before) {
        if (done([&] { return DeleteFileW(asidePath.c_str()); })) return;
        const DWORD error = GetLastError();
        MoveFileExW(asidePath.c_str(), path.c_str(), 0);
        SetLastError(error);
        fail("cannot delete the file", pathOf(name));
    }
    if (MoveFileExW(asidePath.c_str(), path.c_str(), 0)) failChanged(name);
    failChanged(name, keepAside(aside, name)); // another file took the name meanwhile
}

bool Folder::isMoved() const { return false; } // files are found by the folder's path, so they were written where it leads

void Folder::expectWritable(const std::string& name) const
{
    if (name.empty()) return; // the read-only attribute of a folder does not forbid writing into it
    const DWORD attributes = GetFileAttributesW(wide(pathOf(name)).c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && attributes & FILE_ATTRIBUTE_READONLY)
        throw FileError("the file \"" + pathOf(name) + "\" is read-only. Make it writable and synchronize again; nothing was written");
}

void Folder::flush() const {} // each file was flushed when it was put in place; Windows cannot flush a folder

std::string Folder::unusedName() const
{
    static std::atomic<unsigned> count = 0;
    return std::string(kDraftPrefix) + std::to_string(GetCurrentProcessId()) + '-' + std::to_string(++count) + std::string(kDraftSuffix);
}

Folder::Draft::Draft(const Folder& folder) : folder_(folder)
{
    do {
        name_ = folder_.unusedName();
        file_ =
            _wopen(wide(folder_.pathOf(name_)).c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT, _S_IREAD | _S_IWRITE);
    } while (file_ < 0 && errno == EEXIST);
    if (file_ < 0) fail("cannot make a file in", folder_.path_);
}

Folder::Draft::~Draft()
{
    if (file_ < 0) return;
    _close(file_);
    DeleteFileW(wide(folder_.pathOf(name_)).c_str());
}

void Folder::Draft::reserve(std::uint64_t size)
{
    constexpr std::uint64_t kStep = 1 << 20;
    if (size <= reserved_) return;
    const std::uint64_t wanted = (size / kStep + 1) * kStep;
    FILE_ALLOCATION_INFO room{};
    room.AllocationSize.QuadPart = static_cast<LONGLONG>(wanted);
    if (!SetFileInformationByHandle(handleOf(file_), FileAllocationInfo, &room, sizeof room) && GetLastError() == ERROR_DISK_FULL)
        fail("cannot reserve disk space for a file in", folder_.path_);
    reserved_ = wanted;
}

void Folder::Draft::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        constexpr std::size_t most = 1 << 30;
        DWORD n = 0;
        if (!WriteFile(handleOf(file_), bytes.data(), static_cast<DWORD>(std::min(bytes.size(), most)), &n, nullptr))
            fail("cannot write a file in", folder_.path_);
        bytes.remove_prefix(n);
    }
}

void Folder::Draft::flush()
{
    if (!FlushFileBuffers(handleOf(file_))) fail("cannot write a file to disk in", folder_.path_);
}

void Folder::Draft::prepareToReplace(const std::string& name) { requireWritable(folder_.pathOf(name), "cannot write the file"); }

FileState Folder::Draft::replace(const std::string& name)
{
    prepareToReplace(name);
    return renameTo(name, MOVEFILE_REPLACE_EXISTING);
}

FileState Folder::Draft::place(const std::string& name) { return renameTo(name, 0); }

FileState Folder::Draft::finish(const std::string& name)
{
    flush();
    BY_HANDLE_FILE_INFORMATION data;
    if (!GetFileInformationByHandle(handleOf(file_), &data)) fail("cannot write the file", folder_.pathOf(name));
    if (_close(std::exchange(file_, -1)) != 0) deleteAndFail(wide(folder_.pathOf(name_)), folder_.pathOf(name));
    return stateFrom(data);
}

FileState Folder::Draft::renameTo(const std::string& name, unsigned flags)
{
    const FileState state = finish(name);
    const std::wstring draft = wide(folder_.pathOf(name_)), target = wide(folder_.pathOf(name));
    if (!done([&] { return MoveFileExW(draft.c_str(), target.c_str(), flags); })) deleteAndFail(draft, folder_.pathOf(name));
    return state;
}

FileState Folder::Draft::replaceIfSame(const std::string& name, std::string_view before)
{
    prepareToReplace(name);
    const std::optional<FileState> old = folder_.stateOf(name);
    if (!old) folder_.failChanged(name);
    const FileState mine = finish(name);
    const std::wstring draft = wide(folder_.pathOf(name_)), target = wide(folder_.pathOf(name));
    const std::string aside = folder_.unusedName();
    const std::wstring asidePath = wide(folder_.pathOf(aside));
    const auto replace = [&] {
        return ReplaceFileW(target.c_str(), draft.c_str(), asidePath.c_str(), REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr);
    };
    if (!done(replace)) {
        const DWORD error = GetLastError();
        // The old file may have the backup's name already although the new file could not take its place.
        if (error == ERROR_UNABLE_TO_MOVE_REPLACEMENT_2) MoveFileExW(asidePath.c_str(), target.c_str(), 0);
        const bool unsupported = error == ERROR_NOT_SUPPORTED || error == ERROR_INVALID_FUNCTION || error == ERROR_CALL_NOT_IMPLEMENTED;
        const bool same = unsupported && folder_.holds(name, before);
        if (same && MoveFileExW(draft.c_str(), target.c_str(), MOVEFILE_REPLACE_EXISTING)) return mine;
        if (!same) SetLastError(error);
        if (error != ERROR_FILE_NOT_FOUND && (same || !unsupported)) deleteAndFail(draft, folder_.pathOf(name));
        DeleteFileW(draft.c_str());
        folder_.failChanged(name);
    }
    bool same = false;
    try {
        same = folder_.holds(aside, before);
    } catch (const FileError&) { // a file that cannot be read is put back
    }
    if (!same) {
        name_ = aside;
        putBack(name, mine);
    }
    DeleteFileW(asidePath.c_str());
    // Some systems give the new file the date of the old one.
    const std::optional<FileState> now = folder_.stateOf(name);
    return now && now->size == mine.size && now->modified == old->modified ? *now : mine;
}

// After a replacement: name_ is the other program's version of the file.
void Folder::Draft::putBack(const std::string& name, const FileState& mine)
{
    const std::string out = folder_.unusedName();
    const std::wstring target = wide(folder_.pathOf(name)), aside = wide(folder_.pathOf(name_)), outPath = wide(folder_.pathOf(out));
    if (!ReplaceFileW(target.c_str(), aside.c_str(), outPath.c_str(), REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr)) {
        if (MoveFileExW(aside.c_str(), target.c_str(), 0)) folder_.failChanged(name);
        folder_.failChanged(name, folder_.keepAside(name_, name));
    }
    const std::optional<FileState> state = folder_.stateOf(out);
    if (!state || state->size == mine.size) {
        DeleteFileW(outPath.c_str());
        folder_.failChanged(name);
    }
    folder_.failChanged(name, folder_.keepAside(out, name)); // the other program changed the file again meanwhile
}

PathKind kindOf(const std::string& path)
{
    const DWORD attributes = GetFileAttributesW(wide(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        for (const DWORD nothing : {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_BAD_PATHNAME})
            if (GetLastError() == nothing) return PathKind::Nothing;
        fail("cannot read", path);
    }
    if (attributes & FILE_ATTRIBUTE_DEVICE) return PathKind::Other;
    return attributes & FILE_ATTRIBUTE_DIRECTORY ? PathKind::Folder : PathKind::File;
}

std::string realPath(const std::string& path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::canonical(wide(path), error);
    return error ? path : narrow(resolved.native());
}

SplitPath splitPath(const std::string& path)
{
    const std::size_t slash = path.find_last_of("/\\");
    if (slash == path.npos) return {".", path};
    const bool root = slash == 0 || path[slash - 1] == ':';
    return {path.substr(0, slash + root), path.substr(slash + 1)};
}

std::string userCacheFolder()
{
    wchar_t local[MAX_PATH];
    if (SHGetFolderPathW(nullptr, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, local) != S_OK) return {};
    std::wstring path = local;
    for (const wchar_t* part : {L"\\Zorel", L"\\MBSync"}) {
        path += part;
        if (!CreateDirectoryW(path.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) return {};
    }
    return narrow(path);
}

} // namespace mb::vcard
