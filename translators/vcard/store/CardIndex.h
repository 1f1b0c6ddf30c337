// The index of the files of a store: which cards each file contains, whether it can be read, and the modification date of each card. A date
// moves forward with each change; in a file of several cards only the dates of the changed cards move. The index is kept between runs in an
// IndexFile, and for a moment in RecentIndexes.
#pragma once
#include "FileRecord.h"
#include "Folder.h"
#include "RecentIndexes.h"
#include "RecordStore.h"

#include <cstdint>
#include <string>
#include <vector>

namespace mb::vcard {

class CardIndex {
public:
    // `singleFile` is the name of the only file of the store; empty for all files of the folder. `path` is that of the index file; empty to
    // keep nothing between runs. Requires: folder and recent outlive this object.
    CardIndex(const Folder& folder, std::string singleFile, std::string path, RecentIndexes& recent);

    // Lists the folder and opens the files that are new or changed. Reports every file that is left out, and each changed file that has a
    // line that is not a property. Throws a FileError if the folder or a file cannot be read, because its cards would otherwise be taken
    // for deleted.
    void refresh(const plugin::Report& report);
    void save(); // writes the index file if anything changed
    // Hands what is known to the next index of the same folder, unless the folder's list of names changed just before it was read: such a
    // change cannot be told from a later one. This index may be empty afterwards.
    void handOver();

    std::vector<FileRecord>& files() { return listed_.files; }
    const std::vector<FileRecord>& files() const { return listed_.files; }
    FileRecord& fileAt(const Place& place) { return listed_.files[place.file]; }
    const FileRecord& fileAt(const Place& place) const { return listed_.files[place.file]; }
    std::int64_t stampAt(const Place& place) const;
    const std::string& uidAt(const Place& place) const; // as a token
    // Records the state of a file that this program wrote.
    void noteWritten(FileRecord& file, const FileState& state);
    void noteChanged() { changed_ = true; }
    // Returns how many cards of the store have each version. Files of which an older index file did not say it are read.
    VersionCounts versions();
    // Returns the date of a change: that of the file, or a later one if it is not after the card's date `before`.
    std::int64_t nextStamp(std::int64_t modified, std::int64_t before) const;

private:
    bool takeOver();
    void compare();
    bool compareOnce();
    FileRecord examine(const FileEntry& entry, FileRecord* known) const;
    VersionCounts versionsInFile(const std::string& name) const;
    void keepDatesOfRenamed(const std::vector<FileRecord*>& examined) const;

    const Folder& folder_;
    std::string singleFile_, path_;
    RecentIndexes& recent_;
    ListedFiles listed_;
    bool changed_ = false;
};

} // namespace mb::vcard
