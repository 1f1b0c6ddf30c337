// A shared library as the system sees it: its exported names, and whether this process has loaded it.
#pragma once
#include <filesystem>
#include <set>
#include <string>

namespace mbtest {

// Reads the file's export table. Throws std::runtime_error if the file is no library.
std::set<std::string> exportsOf(const std::filesystem::path& file);

bool isLoaded(const std::filesystem::path& file);

} // namespace mbtest
