// One folder on disk: lists its .vcf files, reads, replaces and removes single ones. A file is replaced by a finished copy
// beside it, so that nobody ever sees half of it. One source file a platform.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// What tells one state of a file from another.
struct FileState {
    std::uint64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970, UTC
    bool operator==(const FileState&) const = default;
};

struct FileEntry {
    std::string name;
    FileState state;
};

// A file operation that the system refused; what() names the file and the reason.
class FileError : public std::exception {
public:
    explicit FileError(std::string text) : text_(std::move(text)) {}
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

class Folder {
public:
    explicit Folder(const std::string& path);
    ~Folder();

    struct Listing {
        std::vector<FileEntry> files;     // sorted by name
        std::vector<std::string> leftOut; // names that cannot be records: links, names that are no UTF-8
    };
    Listing list() const;
    std::int64_t lastChange() const; // of its list of names, in nanoseconds since 1970, UTC; 0 if it cannot be told
    std::optional<FileState> stateOf(const std::string& name) const; // nothing if there is no such file
    std::string read(const std::string& name, FileState& state) const;
    void remove(const std::string& name) const;
    void flush() const; // all that was written in the folder reaches the disk
    std::string pathOf(const std::string& name) const;

    // A file in the making. It vanishes unless it is put in place. Several threads may make some at once.
    class Draft {
    public:
        explicit Draft(const Folder& folder);
        ~Draft();
        void reserve(std::uint64_t size); // fails now rather than later if the disk is full
        void write(std::string_view bytes);
        void flush();
        FileState place(const std::string& name);   // a new file
        FileState replace(const std::string& name); // with the permissions of the file that was there

    private:
        const Folder& folder_;
        int file_ = -1;
        std::string name_;
        std::uint64_t reserved_ = 0;
    };

private:
    std::string path_;
    int folder_ = -1;
};

// Whether the path leads to a folder, to a file or to nothing; links are followed.
enum class PathKind { Nothing, Folder, File, Other };
PathKind kindOf(const std::string& path);
std::string realPath(const std::string& path); // the path itself if it cannot be resolved
// A path cut before its last name; the root of a volume stays whole.
struct SplitPath {
    std::string folder, name;
};
SplitPath splitPath(const std::string& path);
std::string userCacheFolder(); // made if missing; empty if the user has none
std::string newUuid();         // lower-case, without braces

} // namespace mb::vcard
