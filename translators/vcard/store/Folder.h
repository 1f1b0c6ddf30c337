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
    std::uint64_t number = 0;  // by which the system tells two files of one size and date apart; 0 where it has none
    bool operator==(const FileState&) const = default;
};

// A name in the folder. A name that is no plain file is never a card, but it is there: it must not count as removed.
struct FileEntry {
    std::string name;
    FileState state;
    std::string notPlain; // "it is a folder", "it is a symbolic link" and the like; empty for a plain file
};

// A failed file operation; what() names the file and the reason.
class FileError : public std::exception {
public:
    enum class Why {
        Failed,   // the system refused: this says nothing about whether the file exists
        Missing,  // there is no such name
        NotPlain, // the name is a folder, a link, a pipe or a device
        TooLarge,
        Changed // another program changed, renamed or deleted it; what it wrote is where it put it
    };
    explicit FileError(std::string text, Why why = Why::Failed) : text_(std::move(text)), why_(why) {}
    const char* what() const noexcept override { return text_.c_str(); }
    Why why() const noexcept { return why_; }

private:
    std::string text_;
    Why why_;
};

class Folder {
public:
    explicit Folder(const std::string& path);
    ~Folder();

    struct Listing {
        std::vector<FileEntry> files;        // sorted by name
        std::vector<std::string> unreadable; // names that are no valid text and so cannot be identifiers
        bool unsettled = false;              // another program changed the names meanwhile: a renamed file may be missing here
    };
    // Throws a FileError unless every name was read and looked at: a name is absent from the listing only if it is not in the folder.
    Listing list() const;
    std::int64_t lastChange() const; // of its list of names, in nanoseconds since 1970, UTC; 0 if it cannot be told
    // Returns nullopt only if there is no such name. Throws a FileError if the system does not tell, and for what is no plain file.
    std::optional<FileState> stateOf(const std::string& name) const;
    // Throws a FileError whose why() tells a missing file and one that is no plain file from a failure.
    std::string read(const std::string& name, FileState& state) const;
    // Deletes the file if it still is in this state, and throws a FileError (Changed) otherwise: the file is taken aside, looked at, and
    // put back if another program changed it.
    void removeIfSame(const std::string& name, const FileState& before) const;
    // Whether the folder's path leads to another folder by now, or to none.
    bool isMoved() const;
    // Throws a FileError that says what to do, if the system tells that the file cannot be replaced or deleted; for an empty name, that
    // none can be made.
    void expectWritable(const std::string& name) const;
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
        FileState place(const std::string& name);   // a new file, with the permissions of most of the cards beside it
        FileState replace(const std::string& name); // with the owner and permissions of the file that was there
        // Replaces the file if it still holds these bytes, and throws a FileError (Changed) otherwise. The two files change places at once,
        // so what came out can be looked at, and is put back if another program changed it. Where the file system cannot exchange two
        // files, the bytes are compared right before the file is replaced.
        FileState replaceIfSame(const std::string& name, std::string_view before);

    private:
        FileState finish(const std::string& name); // before the draft gets this name; on Windows it is flushed and closed
        FileState renameTo(const std::string& name, unsigned flags);
        void prepareToReplace(const std::string& name); // a file that may be written, with its permissions
        void putBack(const std::string& name, const FileState& mine);

        const Folder& folder_;
        int file_ = -1;
        std::string name_;
        std::uint64_t reserved_ = 0;
    };

private:
    std::vector<std::string> names() const; // of cards and of files in the making
    unsigned modeOfCards() const;           // what most cards of the folder have
    std::string unusedName() const;         // of a file in the making
    bool holds(const std::string& name, std::string_view bytes) const;
    std::string keepAside(const std::string& aside, const std::string& name) const;
    [[noreturn]] void failChanged(const std::string& name, const std::string& kept = {}) const;

    std::string path_;
    int folder_ = -1;
    mutable unsigned modeOfCards_ = 0; // 0 until it is known
};

// Whether the path leads to a folder, to a file or to nothing; links are followed. Throws a FileError if the system does not tell.
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
