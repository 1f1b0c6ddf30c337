// A folder on disk: lists its .vcf files, and reads, replaces and removes single files. A file is replaced by renaming a complete temporary
// file, so that nobody sees a partial one. One source file per platform.
#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mb::vcard {

// A file counts as unchanged while its state is equal.
struct FileState {
    std::uint64_t size = 0;
    std::int64_t modified = 0; // nanoseconds since 1970, UTC
    std::uint64_t number = 0;  // inode number; 0 on Windows
    bool operator==(const FileState&) const = default;
};

// A name in the folder. A name that is not a plain file is never read as a card, but listed: it must not count as removed.
struct FileEntry {
    std::string name;
    FileState state;
    std::string notPlain; // "it is a folder", "it is a symbolic link" and the like; empty for a plain file
};

// A failed file operation; what() names the file and the reason.
class FileError : public std::exception {
public:
    enum class Why {
        Failed,   // the system refused; says nothing about whether the file exists
        Missing,  // the name does not exist
        NotPlain, // the name is a folder, a link, a pipe or a device
        TooLarge,
        Changed // another program changed, renamed or deleted it; its version of the file is kept
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
        std::vector<std::string> unreadable; // names that are not valid Unicode and so cannot be identifiers
        bool unsettled = false;              // another program changed the names meanwhile; a renamed file may be missing here
    };
    // Throws a FileError unless every name could be read and examined: a name is absent from the listing only if it is not in the folder.
    Listing list() const;
    std::int64_t lastChange() const; // of its list of names, in nanoseconds since 1970, UTC; 0 if unknown
    // Returns nullopt only if the name does not exist. Throws a FileError if the system fails or the name is not a plain file.
    std::optional<FileState> stateOf(const std::string& name) const;
    // Returns the bytes of the file and their `state`. Throws a FileError; its why() distinguishes a missing name and a non-plain file from
    // a failure.
    std::string read(const std::string& name, FileState& state) const;
    // Deletes the file if it is still in this state, and throws a FileError (Changed) otherwise. The file is renamed before it is checked,
    // and renamed back if another program changed it.
    void removeIfSame(const std::string& name, const FileState& before) const;
    // Returns whether the folder's path now leads to another folder or to none.
    bool isMoved() const;
    // Throws a FileError that says what to do if the file is read-only; with an empty name, if no file can be created in the folder.
    void expectWritable(const std::string& name) const;
    void flush() const; // writes all changes in the folder to disk
    std::string pathOf(const std::string& name) const;

    // A temporary file, which the destructor deletes unless it was put in place. Several threads may create drafts at once.
    class Draft {
    public:
        explicit Draft(const Folder& folder);
        ~Draft();
        void reserve(std::uint64_t size); // fails early if the disk is full
        void write(std::string_view bytes);
        void flush();
        FileState place(const std::string& name);   // as a new file; on POSIX with the most common permissions of the cards
        FileState replace(const std::string& name); // on POSIX keeps the owner and permissions of the old file
        // Replaces the file if it still contains `before`, and throws a FileError (Changed) otherwise. The two files are exchanged in one
        // step, then the old one is checked, and exchanged back if another program changed it. If the file system cannot exchange files,
        // the bytes are compared right before the file is replaced.
        FileState replaceIfSame(const std::string& name, std::string_view before);

    private:
        FileState finish(const std::string& name); // before the draft gets this name; on Windows flushes and closes it
        FileState renameTo(const std::string& name, unsigned flags);
        void prepareToReplace(const std::string& name); // throws if it is read-only; on POSIX copies its permissions
        void putBack(const std::string& name, const FileState& mine);

        const Folder& folder_;
        int file_ = -1;
        std::string name_;
        std::uint64_t reserved_ = 0;
    };

private:
    std::vector<std::string> names() const; // of cards and drafts
    unsigned modeOfCards() const;           // most common permissions of the cards
    std::string unusedName() const;         // for a draft
    bool holds(const std::string& name, std::string_view bytes) const;
    std::string keepAside(const std::string& aside, const std::string& name) const;
    [[noreturn]] void failChanged(const std::string& name, const std::string& kept = {}) const;

    std::string path_;
    int folder_ = -1;
    mutable unsigned modeOfCards_ = 0; // 0 until it is known
};

// Returns what the path leads to; follows links. Throws a FileError if the system fails.
enum class PathKind { Nothing, Folder, File, Other };
PathKind kindOf(const std::string& path);
std::string realPath(const std::string& path); // the path itself if it cannot be resolved
// A path split before its last name; the root of a volume is kept whole.
struct SplitPath {
    std::string folder, name;
};
SplitPath splitPath(const std::string& path);
std::string userCacheFolder(); // created if missing; empty if the user has none

} // namespace mb::vcard
