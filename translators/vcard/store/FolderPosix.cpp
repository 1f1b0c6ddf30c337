#include "Folder.h"

#include "Ascii.h"
#include "Charset.h"
#include "held.h"
#include "LineReader.h"
#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::string_view kDraftPrefix = ".mbsync-", kDraftSuffix = ".tmp";
constexpr mode_t kOwnerOnly = 0600;                            // permissions of a draft, and of a card in a folder without others
constexpr std::time_t kStaleDraft = std::time_t{24} * 60 * 60; // seconds

[[noreturn]] void fail(const std::string& what, const std::string& path)
{
    const int error = errno;
    throw FileError(what + " \"" + path + "\": " + std::strerror(error),
                    error == ENOENT ? FileError::Why::Missing : FileError::Why::Failed);
}

FileState stateFrom(const struct stat& s)
{
    return {static_cast<std::uint64_t>(s.st_size), std::int64_t{s.st_mtim.tv_sec} * 1'000'000'000 + s.st_mtim.tv_nsec, s.st_ino};
}

// Returns why a name is not a plain file; empty for a plain file.
std::string notPlain(mode_t mode)
{
    if (S_ISREG(mode)) return {};
    if (S_ISLNK(mode)) return "it is a symbolic link";
    if (S_ISDIR(mode)) return "it is a folder";
    if (S_ISFIFO(mode)) return "it is a pipe";
    return S_ISSOCK(mode) ? "it is a socket" : "it is a device";
}

[[noreturn]] void refuse(const std::string& path, const std::string& notPlain)
{
    throw FileError("cannot read \"" + path + "\": " + notPlain, FileError::Why::NotPlain);
}

// Makes a call that renames or deletes, and repeats it while another program holds the file.
template <class F> bool done(F&& call)
{
    return platform::whileHeld(platform::Purpose::Replace, call, [](int result) { return result == 0; }) == 0;
}

bool isDraft(std::string_view name) { return name.starts_with(kDraftPrefix) && name.ends_with(kDraftSuffix); }

// No file is found in a deleted folder, which says nothing about the files.
void expectNotDeleted(int folder, const std::string& path)
{
    struct stat s;
    if (fstat(folder, &s) != 0) fail("cannot read the folder", path);
    if (s.st_nlink == 0) throw FileError("the folder \"" + path + "\" was deleted");
}

// Deletes a draft that a killed run left behind.
void removeIfStale(int folder, const char* draft)
{
    struct stat s;
    if (fstatat(folder, draft, &s, AT_SYMLINK_NOFOLLOW) == 0 && std::time(nullptr) - s.st_mtim.tv_sec > kStaleDraft)
        unlinkat(folder, draft, 0);
}

// Returns whether the last call failed because the file system does not support this kind of renaming.
bool isUnsupported() { return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP; }

// Gives a file its name back, unless another file has the name now.
bool moveBack(int folder, const std::string& aside, const std::string& name)
{
    if (renameat2(folder, aside.c_str(), folder, name.c_str(), RENAME_NOREPLACE) == 0) return true;
    if (!isUnsupported()) return false;
    return linkat(folder, aside.c_str(), folder, name.c_str(), 0) == 0 && unlinkat(folder, aside.c_str(), 0) == 0;
}

// Exchanges the names of two files. Returns false with errno set if that fails.
bool exchangeNames(int folder, const std::string& a, const std::string& b)
{
    return done([&] { return renameat2(folder, a.c_str(), folder, b.c_str(), RENAME_EXCHANGE); });
}

// Gives `file` the owner of the file that it replaces. Only root can change an owner, and must not fail to, or the owner would lose the
// file. Other users change the group if they may.
void keepOwner(int file, const struct stat& before, const std::string& path)
{
    struct stat made;
    if (fstat(file, &made) != 0) fail("cannot write the file", path);
    if ((made.st_uid == before.st_uid && made.st_gid == before.st_gid) || fchown(file, before.st_uid, before.st_gid) == 0) return;
    if (geteuid() == 0) fail("cannot write the file", path);
    (void)!fchown(file, static_cast<uid_t>(-1), before.st_gid);
}

class Descriptor {
public:
    explicit Descriptor(int file) : file_(file) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (file_ >= 0) close(file_);
    }
    int get() const { return file_; }

private:
    int file_;
};

// Returns fewer bytes than `size` if the file was truncated meanwhile.
std::string readWhole(int file, std::uint64_t size, const std::string& path)
{
    std::string bytes(size, '\0');
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t n = pread(file, bytes.data() + got, bytes.size() - got, static_cast<off_t>(got));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) fail("cannot read the file", path);
        if (n == 0) break;
        got += static_cast<std::size_t>(n);
    }
    bytes.resize(got);
    return bytes;
}

} // namespace

Folder::Folder(const std::string& path) : path_(path), folder_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (folder_ < 0) fail("cannot open the folder", path);
}

Folder::~Folder() { close(folder_); }

std::string Folder::pathOf(const std::string& name) const { return path_ + (path_.ends_with('/') ? "" : "/") + name; }

std::vector<std::string> Folder::names() const
{
    // Reads the folder that is open, even if its path leads elsewhere by now.
    const int own = openat(folder_, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* entries = own < 0 ? nullptr : fdopendir(own);
    if (!entries) {
        const int error = errno;
        if (own >= 0) close(own);
        errno = error;
        fail("cannot read the folder", path_);
    }
    const std::unique_ptr<DIR, int (*)(DIR*)> guard(entries, closedir);
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(entries);
        if (!entry) break;
        const std::string_view name = entry->d_name;
        if (isDraft(name) || (!name.starts_with('.') && endsWithFold(name, ".vcf"))) names.emplace_back(name);
    }
    if (errno != 0) fail("cannot read the folder", path_);
    expectNotDeleted(folder_, path_);
    return names;
}

Folder::Listing Folder::list() const
{
    Listing listing;
    const std::int64_t before = lastChange();
    std::vector<std::string> names = this->names();
    listing.unsettled = lastChange() != before;
    std::erase_if(names, [&](const std::string& name) {
        if (isDraft(name)) removeIfStale(folder_, name.c_str());
        return isDraft(name);
    });
    std::sort(names.begin(), names.end());

    std::vector<std::optional<FileEntry>> entries(names.size());
    forEachIndex(names.size(), [&](std::size_t i) {
        struct stat s;
        if (fstatat(folder_, names[i].c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0)
            entries[i] = FileEntry{names[i], stateFrom(s), notPlain(s.st_mode)};
        else if (errno != ENOENT)
            fail("cannot read the file", pathOf(names[i]));
    });
    listing.files.reserve(entries.size());
    for (std::optional<FileEntry>& entry : entries) {
        if (!entry)
            listing.unsettled = true; // removed or renamed since its name was read
        else if (isUtf8(entry->name))
            listing.files.push_back(std::move(*entry));
        else
            listing.unreadable.push_back(std::move(entry->name));
    }
    return listing;
}

std::int64_t Folder::lastChange() const
{
    struct stat s;
    return fstat(folder_, &s) == 0 ? stateFrom(s).modified : 0;
}

std::optional<FileState> Folder::stateOf(const std::string& name) const
{
    struct stat s;
    if (fstatat(folder_, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT) fail("cannot read the file", pathOf(name));
        expectNotDeleted(folder_, path_);
        return std::nullopt;
    }
    if (!S_ISREG(s.st_mode)) refuse(pathOf(name), notPlain(s.st_mode));
    return stateFrom(s);
}

std::string Folder::read(const std::string& name, FileState& state) const
{
    const Descriptor file(platform::whileHeld(
        platform::Purpose::Open, [&] { return openat(folder_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC); },
        [](int opened) { return opened >= 0; }));
    struct stat s;
    if (file.get() < 0) {
        const int error = errno; // ELOOP for a link, ENXIO for a socket or a device
        if (error != ENOENT && fstatat(folder_, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(s.st_mode))
            refuse(pathOf(name), notPlain(s.st_mode));
        errno = error;
    }
    if (file.get() < 0 || fstat(file.get(), &s) != 0) fail("cannot read the file", pathOf(name));
    if (!S_ISREG(s.st_mode)) refuse(pathOf(name), notPlain(s.st_mode));
    if (static_cast<std::uint64_t>(s.st_size) > kMaxFile)
        throw FileError("the file \"" + pathOf(name) + "\" is larger than 256 MiB", FileError::Why::TooLarge);
    constexpr int kTries = 5;
    for (int i = 0; i < kTries; ++i) {
        state = stateFrom(s);
        std::string bytes = readWhole(file.get(), state.size, pathOf(name));
        if (fstat(file.get(), &s) != 0) fail("cannot read the file", pathOf(name));
        if (bytes.size() == state.size && stateFrom(s) == state) return bytes;
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // another program is writing the file
    }
    throw FileError("the file \"" + pathOf(name) + "\" is being changed by another program");
}

// Returns whether the name is a plain file with these bytes.
bool Folder::holds(const std::string& name, std::string_view bytes) const
{
    const Descriptor file(openat(folder_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat s;
    return file.get() >= 0 && fstat(file.get(), &s) == 0 && S_ISREG(s.st_mode) && static_cast<std::uint64_t>(s.st_size) == bytes.size() &&
           readWhole(file.get(), bytes.size(), pathOf(name)) == bytes;
}

// Renames a file that was set aside to an unused name. For a version that another program wrote and then overwrote.
std::string Folder::keepAside(const std::string& aside, const std::string& name) const
{
    for (int i = 1;; ++i) {
        std::string kept = name + ".kept-" + std::to_string(i);
        if (renameat2(folder_, aside.c_str(), folder_, kept.c_str(), RENAME_NOREPLACE) == 0) return kept;
        if (errno != EEXIST) return aside;
    }
}

void Folder::removeIfSame(const std::string& name, const FileState& before) const
{
    const std::string aside = unusedName();
    struct stat s;
    if (!done([&] { return renameat(folder_, name.c_str(), folder_, aside.c_str()); })) {
        if (errno == ENOENT) failChanged(name);
        fail("cannot delete the file", pathOf(name));
    }
    if (fstatat(folder_, aside.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(s.st_mode) && stateFrom(s) == before) {
        if (!done([&] { return unlinkat(folder_, aside.c_str(), 0); })) {
            const int error = errno;
            moveBack(folder_, aside, name);
            errno = error;
            fail("cannot delete the file", pathOf(name));
        }
        return;
    }
    if (moveBack(folder_, aside, name)) failChanged(name);
    failChanged(name, keepAside(aside, name)); // another file took the name meanwhile
}

bool Folder::isMoved() const
{
    struct stat held, there;
    if (fstat(folder_, &held) != 0) fail("cannot read the folder", path_);
    return stat(path_.c_str(), &there) != 0 || held.st_dev != there.st_dev || held.st_ino != there.st_ino;
}

void Folder::expectWritable(const std::string& name) const
{
    const auto refused = [&](const char* what, int rights) {
        return faccessat(folder_, what, rights, AT_EACCESS) != 0 && (errno == EACCES || errno == EPERM || errno == EROFS);
    };
    const bool folderToo = refused(".", W_OK | X_OK);
    if (folderToo || (!name.empty() && refused(name.c_str(), W_OK)))
        throw FileError((folderToo ? "the folder \"" + path_ : "the file \"" + pathOf(name)) +
                        "\" is read-only. Make it writable and synchronize again; nothing was written");
}

void Folder::flush() const
{
    if (syncfs(folder_) != 0) fail("cannot write the files to disk in", path_);
}

std::string Folder::unusedName() const
{
    static std::atomic<unsigned> count = 0;
    static const std::string start = std::string(kDraftPrefix) + std::to_string(getpid()) + '-';
    std::string name = start + std::to_string(++count);
    return name += kDraftSuffix;
}

Folder::Draft::Draft(const Folder& folder) : folder_(folder)
{
    do {
        name_ = folder_.unusedName();
        file_ = openat(folder_.folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnerOnly);
    } while (file_ < 0 && errno == EEXIST);
    if (file_ < 0) fail("cannot make a file in", folder_.path_);
}

Folder::Draft::~Draft()
{
    if (file_ < 0) return;
    close(file_);
    unlinkat(folder_.folder_, name_.c_str(), 0);
}

void Folder::Draft::reserve(std::uint64_t size)
{
    constexpr std::uint64_t kStep = 1 << 20;
    if (size <= reserved_) return;
    const std::uint64_t wanted = (size / kStep + 1) * kStep;
    const int error = posix_fallocate(file_, 0, static_cast<off_t>(wanted));
    if (error != 0 && error != EOPNOTSUPP && error != EINVAL) {
        errno = error;
        fail("cannot reserve disk space for a file in", folder_.path_);
    }
    reserved_ = wanted;
}

void Folder::Draft::write(std::string_view bytes)
{
    const std::size_t size = bytes.size();
    while (!bytes.empty()) {
        const ssize_t n = ::write(file_, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) fail("cannot write a file in", folder_.path_);
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    if (reserved_ > 0 && ftruncate(file_, static_cast<off_t>(size)) != 0) fail("cannot write a file in", folder_.path_);
}

void Folder::Draft::flush()
{
    if (fsync(file_) != 0) fail("cannot write a file to disk in", folder_.path_);
}

FileState Folder::Draft::place(const std::string& name)
{
    if (const mode_t mode = folder_.modeOfCards(); mode != kOwnerOnly && fchmod(file_, mode) != 0)
        fail("cannot write the file", folder_.pathOf(name));
    return renameTo(name, RENAME_NOREPLACE);
}

FileState Folder::Draft::renameTo(const std::string& name, unsigned flags)
{
    const FileState state = finish(name);
    const int folder = folder_.folder_;
    bool renamed = done([&] { return renameat2(folder, name_.c_str(), folder, name.c_str(), flags); });
    if (!renamed && flags != 0 && isUnsupported()) renamed = renameat(folder, name_.c_str(), folder, name.c_str()) == 0;
    if (!renamed) fail("cannot write the file", folder_.pathOf(name));
    close(std::exchange(file_, -1));
    return state;
}

FileState Folder::Draft::finish(const std::string& name)
{
    struct stat s;
    if (fstat(file_, &s) != 0) fail("cannot write the file", folder_.pathOf(name));
    return stateFrom(s);
}

void Folder::Draft::prepareToReplace(const std::string& name)
{
    struct stat s;
    if (fstatat(folder_.folder_, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0) {
        if (faccessat(folder_.folder_, name.c_str(), W_OK, 0) != 0) fail("cannot write the file", folder_.pathOf(name));
        keepOwner(file_, s, folder_.pathOf(name));
        if (fchmod(file_, s.st_mode & 07777) != 0) fail("cannot write the file", folder_.pathOf(name));
    } else if (errno != ENOENT) {
        fail("cannot write the file", folder_.pathOf(name));
    }
}

FileState Folder::Draft::replace(const std::string& name)
{
    prepareToReplace(name);
    return renameTo(name, 0);
}

FileState Folder::Draft::replaceIfSame(const std::string& name, std::string_view before)
{
    prepareToReplace(name);
    const FileState mine = finish(name);
    if (!exchangeNames(folder_.folder_, name_, name)) {
        if (errno == ENOENT) folder_.failChanged(name);
        if (!isUnsupported()) fail("cannot write the file", folder_.pathOf(name));
        if (!folder_.holds(name, before)) folder_.failChanged(name);
        return renameTo(name, 0);
    }
    close(std::exchange(file_, -1));
    bool same = false;
    try {
        same = folder_.holds(name_, before);
    } catch (const FileError&) { // a file that cannot be read is put back
    }
    if (!same) putBack(name, mine);
    unlinkat(folder_.folder_, name_.c_str(), 0);
    return mine;
}

// After an exchange: name_ is the other program's version of the file.
void Folder::Draft::putBack(const std::string& name, const FileState& mine)
{
    const int folder = folder_.folder_;
    if (exchangeNames(folder, name_, name)) {
        struct stat s;
        const bool isMine = fstatat(folder, name_.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(s.st_mode) && stateFrom(s) == mine;
        if (isMine) unlinkat(folder, name_.c_str(), 0);
        if (isMine || !exchangeNames(folder, name_, name)) folder_.failChanged(name);
    } else if (moveBack(folder, name_, name)) {
        folder_.failChanged(name);
    }
    folder_.failChanged(name, folder_.keepAside(name_, name)); // the other program changed the file again meanwhile
}

// Determined at the first new card, from the first hundred cards.
unsigned Folder::modeOfCards() const
{
    constexpr std::size_t kEnough = 100;
    if (modeOfCards_ != 0) return modeOfCards_;
    std::map<mode_t, std::size_t> modes;
    std::size_t seen = 0;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(path_.c_str()), closedir);
    for (const dirent* entry = nullptr; entries && seen < kEnough && (entry = readdir(entries.get()));) {
        struct stat s;
        const std::string_view name = entry->d_name;
        if (name.starts_with('.') || !endsWithFold(name, ".vcf") || fstatat(folder_, entry->d_name, &s, AT_SYMLINK_NOFOLLOW) != 0 ||
            !S_ISREG(s.st_mode))
            continue;
        ++modes[(s.st_mode & 0666) | kOwnerOnly];
        ++seen;
    }
    // If two are equally frequent, the stricter one wins.
    const auto most = std::max_element(modes.begin(), modes.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    modeOfCards_ = most == modes.end() ? kOwnerOnly : most->first;
    return modeOfCards_;
}

PathKind kindOf(const std::string& path)
{
    struct stat s;
    if (stat(path.c_str(), &s) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return PathKind::Nothing;
        fail("cannot read", path);
    }
    return S_ISDIR(s.st_mode) ? PathKind::Folder : S_ISREG(s.st_mode) ? PathKind::File : PathKind::Other;
}

std::string realPath(const std::string& path)
{
    char resolved[PATH_MAX];
    return ::realpath(path.c_str(), resolved) ? std::string(resolved) : path;
}

SplitPath splitPath(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    if (slash == path.npos) return {".", path};
    return {path.substr(0, std::max<std::size_t>(slash, 1)), path.substr(slash + 1)};
}

std::string userCacheFolder()
{
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const char* home = std::getenv("HOME");
    std::string path;
    if (cache && *cache == '/')
        path = cache;
    else if (home && *home == '/')
        path = std::string(home) + "/.cache";
    else
        return {};
    mkdir(path.c_str(), 0700);
    for (const char* part : {"/zorel", "/mbsync"}) {
        path += part;
        if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return {};
    }
    return path;
}

} // namespace mb::vcard
