// The file in the user's cache folder that keeps the index of a database between runs. Without it the next run opens every card once.
#pragma once
#include "FileRecord.h"

#include <string>
#include <vector>

namespace mb::vcard {

// Returns the path of the index file; empty if there is no cache folder, and then nothing is kept.
std::string indexPathOf(const std::string& database, const std::string& cacheFolder);

// Returns the records sorted by name; none if the file is missing or damaged.
std::vector<FileRecord> readIndexFile(const std::string& path);

// Returns whether the file was written.
bool writeIndexFile(const std::string& path, const std::vector<FileRecord>& files);

} // namespace mb::vcard
