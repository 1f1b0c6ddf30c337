#include "StoreName.h"

#include "Failure.h"
#include "files.h"
#include "host.h"
#include "Output.h"
#include "text.h"

namespace mbhost {

StoreName parseStore(const std::string& text)
{
    const std::size_t at = text.find('=');
    if (at == std::string::npos || at == 0 || at + 1 == text.size())
        throw Failure("Give a store as NAME=DATABASE, for example vCard=/home/me/Contacts; " + quote(text) + " is not of that form.",
                      exitUsage);
    return {text.substr(0, at), text.substr(at + 1)};
}

std::string absolutePath(const std::string& database)
{
    std::filesystem::path path = pathOf(database);
    if (database == "~" || database.starts_with("~/"))
        if (const auto home = platform::environment(u"HOME"))
            path = platform::pathOf(*home) / (database.size() > 2 ? pathOf(database.substr(2)) : "");
    std::error_code error;
    const auto absolute = std::filesystem::absolute(path, error);
    return error ? database : textOf(absolute.lexically_normal());
}

bool isSameStore(const std::string& a, const std::string& b)
{
    const auto canonical = [](const std::string& database) { return platform::textOf(platform::canonicalPath(pathOf(database))); };
    return platform::isSamePlace(canonical(a), canonical(b));
}

std::filesystem::path pathOf(const std::string& text) { return platform::pathOf(platform::utf16(text)); }
std::string textOf(const std::filesystem::path& path) { return platform::utf8(platform::textOf(path)); }

} // namespace mbhost
