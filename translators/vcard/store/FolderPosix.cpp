#include "Folder.h"

#include "Ascii.h"
#include "Charset.h"
#include "LineReader.h"
#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace mb::vcard {
namespace {

constexpr std::string_view kDraftPrefix = ".mbsync-", kDraftSuffix = ".tmp";
constexpr std::time_t kStaleDraft = std::time_t{24} * 60 * 60; // seconds

[[noreturn]] void fail(const std::string& what, const std::string& path)
{
    throw FileError(what + " \"" + path + "\": " + std::strerror(errno));
}

FileState stateFrom(const struct stat& s)
{
    return {static_cast<std::uint64_t>(s.st_size), std::int64_t{s.st_mtim.tv_sec} * 1'000'000'000 + s.st_mtim.tv_nsec};
}

bool isDraft(std::string_view name) { return name.starts_with(kDraftPrefix) && name.ends_with(kDraftSuffix); }

// A file in the making that a run left behind which was killed.
void removeIfStale(int folder, const char* draft)
{
    struct stat s;
    if (fstatat(folder, draft, &s, AT_SYMLINK_NOFOLLOW) == 0 && std::time(nullptr) - s.st_mtim.tv_sec > kStaleDraft)
        unlinkat(folder, draft, 0);
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

} // namespace

Folder::Folder(const std::string& path) : path_(path), folder_(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (folder_ < 0) fail("cannot open the folder", path);
}

Folder::~Folder() { close(folder_); }

std::string Folder::pathOf(const std::string& name) const { return path_ + (path_.ends_with('/') ? "" : "/") + name; }

Folder::Listing Folder::list() const
{
    DIR* entries = opendir(path_.c_str());
    if (!entries) fail("cannot read the folder", path_);
    const std::unique_ptr<DIR, int (*)(DIR*)> guard(entries, closedir);
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        const dirent* entry = readdir(entries);
        if (!entry) break;
        const std::string_view name = entry->d_name;
        if (isDraft(name))
            removeIfStale(folder_, entry->d_name);
        else if (!name.starts_with('.') && endsWithFold(name, ".vcf"))
            names.emplace_back(name);
    }
    if (errno != 0) fail("cannot read the folder", path_);
    std::sort(names.begin(), names.end());

    enum class Kind : char { Gone, Record, Other };
    std::vector<Kind> kinds(names.size(), Kind::Gone);
    std::vector<FileState> states(names.size());
    forEachIndex(names.size(), [&](std::size_t i) {
        struct stat s;
        if (fstatat(folder_, names[i].c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0) return; // removed meanwhile
        kinds[i] = S_ISREG(s.st_mode) && isUtf8(names[i]) ? Kind::Record : Kind::Other;
        states[i] = stateFrom(s);
    });
    Listing listing;
    listing.files.reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (kinds[i] == Kind::Record) listing.files.push_back({std::move(names[i]), states[i]});
        if (kinds[i] == Kind::Other) listing.leftOut.push_back(std::move(names[i]));
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
    if (fstatat(folder_, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(s.st_mode)) return std::nullopt;
    return stateFrom(s);
}

std::string Folder::read(const std::string& name, FileState& state) const
{
    const Descriptor file(openat(folder_, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat s;
    if (file.get() < 0 || fstat(file.get(), &s) != 0) fail("cannot read the file", pathOf(name));
    if (static_cast<std::uint64_t>(s.st_size) > kMaxFile) throw FileError("the file \"" + pathOf(name) + "\" is larger than 256 MiB");
    state = stateFrom(s);
    std::string bytes(state.size, '\0');
    std::size_t got = 0;
    while (got < bytes.size()) {
        const ssize_t n = ::read(file.get(), bytes.data() + got, bytes.size() - got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) fail("cannot read the file", pathOf(name));
        if (n == 0) break;
        got += static_cast<std::size_t>(n);
    }
    bytes.resize(got);
    return bytes;
}

void Folder::remove(const std::string& name) const
{
    if (unlinkat(folder_, name.c_str(), 0) != 0) fail("cannot delete the file", pathOf(name));
}

void Folder::flush() const
{
    if (syncfs(folder_) != 0) fail("cannot write the files to disk in", path_);
}

Folder::Draft::Draft(const Folder& folder) : folder_(folder)
{
    static std::atomic<unsigned> count = 0;
    static const std::string start = std::string(kDraftPrefix) + std::to_string(getpid()) + '-';
    do {
        name_ = start + std::to_string(++count);
        name_ += kDraftSuffix;
        file_ = openat(folder_.folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
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
        fail("cannot make room for a file in", folder_.path_);
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
    struct stat s;
    if (fstat(file_, &s) != 0 || renameat(folder_.folder_, name_.c_str(), folder_.folder_, name.c_str()) != 0)
        fail("cannot write the file", folder_.pathOf(name));
    close(std::exchange(file_, -1));
    return stateFrom(s);
}

FileState Folder::Draft::replace(const std::string& name)
{
    struct stat s;
    if (fstatat(folder_.folder_, name.c_str(), &s, AT_SYMLINK_NOFOLLOW) == 0) {
        if (faccessat(folder_.folder_, name.c_str(), W_OK, 0) != 0) fail("cannot write the file", folder_.pathOf(name));
        if (fchmod(file_, s.st_mode & 07777) != 0) fail("cannot write the file", folder_.pathOf(name));
    }
    return place(name);
}

PathKind kindOf(const std::string& path)
{
    struct stat s;
    if (stat(path.c_str(), &s) != 0) return PathKind::Nothing;
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

std::string newUuid()
{
    unsigned char bytes[16];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes)) throw FileError("the system gives no random numbers");
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40); // version 4, variant 1
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    std::string text;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += "0123456789abcdef"[bytes[i] >> 4];
        text += "0123456789abcdef"[bytes[i] & 15];
    }
    return text;
}

} // namespace mb::vcard
