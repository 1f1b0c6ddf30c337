#include "files.h"

#include <algorithm>
#include <chrono>
#include <string>

namespace platform {
namespace {

namespace fs = std::filesystem;

// Matches the names of AtomicFile's temporary files: ".mbsync-", or a target's name and a dot, then 16 hexadecimal digits and ".tmp".
bool isTemporary(const fs::path& file)
{
    const fs::path::string_type native = file.filename().native();
    const std::u16string units(native.begin(), native.end()); // right for ASCII, and nothing else matches
    std::u16string_view name = units;
    constexpr std::u16string_view ending = u".tmp", hidden = u".mbsync-";
    constexpr std::size_t digits = 16;
    if (!name.ends_with(ending)) return false;
    name.remove_suffix(ending.size());
    if (name.size() <= digits) return false;
    const std::u16string_view number = name.substr(name.size() - digits);
    name.remove_suffix(digits);
    return (name == hidden || name.ends_with(u'.')) &&
           std::ranges::all_of(number, [](char16_t c) { return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f'); });
}

} // namespace

void removeStaleTemporaries(const fs::path& folder)
{
    std::error_code error;
    const auto limit = fs::file_time_type::clock::now() - std::chrono::hours(24);
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        if (!isTemporary(entry->path()) || entry->symlink_status(unknown).type() != fs::file_type::regular) continue;
        const auto changed = entry->last_write_time(unknown);
        if (!unknown && changed < limit) fs::remove(entry->path(), unknown);
    }
}

} // namespace platform
