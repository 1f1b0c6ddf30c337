// A store as the user names it: NAME=DATABASE.
#pragma once
#include <string>

namespace mbhost {

struct StoreName {
    std::string translator, database;
};

// Throws a Failure of wrong usage for anything else.
StoreName parseStore(const std::string& text);

// Databases of the plug-ins here are paths: the shell does not resolve what stands behind the '='.
std::string absolutePath(const std::string& database);

} // namespace mbhost
