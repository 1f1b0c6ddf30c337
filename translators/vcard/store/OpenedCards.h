// The open folder of a database, and the index of its files.
#pragma once
#include "CardIndex.h"
#include "Folder.h"
#include "RecordStore.h"
#include "StoreError.h"

#include <memory>
#include <string>

namespace mb::vcard {

struct OpenedCards {
    // `database` is the path of a folder or of a file. `cacheFolder` may be empty. Throws a StoreError. Requires: `recent` outlives this
    // object.
    OpenedCards(const std::string& database, const std::string& cacheFolder, const plugin::Report& report, RecentIndexes& recent);

    // Writes to disk what was written since the last call. Throws a FileError, also if the folder was moved.
    void flush();

    StoreError changedMeanwhile(const FileRecord& file, Step step) const;
    // `place` is a file name, or a file name and a line.
    StoreError unreadable(const std::string& place, const std::string& fault, Step step) const;

    std::unique_ptr<Folder> folder;
    std::string singleFile; // empty: every file of the folder
    std::unique_ptr<CardIndex> index;
    bool unflushed = false; // a file was written or deleted since the last flush
};

} // namespace mb::vcard
