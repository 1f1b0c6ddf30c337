// A shared library as the system sees it: the names that its file exports, and whether this process has it loaded.
#pragma once
#include <filesystem>
#include <set>
#include <string>

namespace mbtest {

// Reads the file's own table of exports. Throws std::runtime_error if the file is no library.
std::set<std::string> exportsOf(const std::filesystem::path& file);

bool isLoaded(const std::filesystem::path& file);

} // namespace mbtest
