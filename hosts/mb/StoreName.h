// A store as the user names it: NAME=DATABASE, and the paths that are given and told as texts.
#pragma once
#include <filesystem>
#include <string>

namespace mbhost {

struct StoreName {
    std::string translator, database;
};

// Throws a Failure of wrong usage for anything else.
StoreName parseStore(const std::string& text);

// Databases of the plug-ins here are paths: the shell does not resolve what stands behind the '='.
std::string absolutePath(const std::string& database);

// Whether two databases are one, by whatever links, drive letters or spellings they are named.
bool isSameStore(const std::string& a, const std::string& b);

// A path is UTF-8 wherever it is a text, on every platform.
std::filesystem::path pathOf(const std::string& text);
std::string textOf(const std::filesystem::path& path);

} // namespace mbhost
