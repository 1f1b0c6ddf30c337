// Indexes that their stores no longer need, kept in memory for two seconds. A run opens a folder twice, for its categories and for its
// contacts: the second store takes over what the first one read. Owned by the module of the plug-in. Threads may share it.
#pragma once
#include "FileRecord.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace mb::vcard {

// What an index knows after it listed a folder. Times are nanoseconds since 1970, UTC.
struct ListedFiles {
    std::vector<FileRecord> files;
    std::vector<std::string> leftOut; // names that are not valid UTF-8
    std::int64_t folderChange = 0;    // when the folder's list of names last changed; 0 if unknown
    std::int64_t listed = 0;          // when that list was read
};

class RecentIndexes {
public:
    void keep(const std::string& folder, ListedFiles files);
    // Returns what was kept for the folder, and forgets it. Returns nullopt if nothing was kept or it was listed more than two seconds ago.
    std::optional<ListedFiles> take(const std::string& folder);

private:
    std::mutex mutex_;
    std::map<std::string, ListedFiles> byFolder_;
};

} // namespace mb::vcard
