// A store as the user types it, NAME=DATABASE, and conversions between paths and UTF-8 texts.
#pragma once
#include <filesystem>
#include <string>

namespace mbhost {

struct StoreName {
    std::string translator, database;
};

// Throws a Failure of wrong usage unless the text is NAME=DATABASE.
StoreName parseStore(const std::string& text);

// Makes a database path absolute and expands ~, which the shell does not expand after the '='.
std::string absolutePath(const std::string& database);

// Whether two databases are the same store, even if links, drive letters or spellings differ.
bool isSameStore(const std::string& a, const std::string& b);

// Paths are UTF-8 texts on every platform.
std::filesystem::path pathOf(const std::string& text);
std::string textOf(const std::filesystem::path& path);

} // namespace mbhost
