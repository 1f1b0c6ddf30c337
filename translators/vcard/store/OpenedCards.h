// The open folder of a database, and the index of its files.
#pragma once
#include "CardIndex.h"
#include "Folder.h"
#include "RecordStore.h"

#include <memory>
#include <string>

namespace mb::vcard {

struct OpenedCards {
    // `database` is the path of a folder or of a file. `cacheFolder` may be empty. Throws a StoreError.
    OpenedCards(const std::string& database, const std::string& cacheFolder, const plugin::Report& report);

    std::unique_ptr<Folder> folder;
    std::string singleFile; // empty: every file of the folder
    std::unique_ptr<CardIndex> index;
};

} // namespace mb::vcard
