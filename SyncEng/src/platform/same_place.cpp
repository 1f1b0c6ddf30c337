#include "files.h"
#include "text.h"

namespace platform {

bool isSamePlace(std::u16string_view a, std::u16string_view b)
{
    if (a == b) return true;
    const auto pathA = pathOf(a), pathB = pathOf(b);
    std::error_code error;
    // If both paths exist, the file system decides whether names that differ only in case are different places.
    if (pathA.is_absolute() && pathB.is_absolute() && std::filesystem::exists(pathA, error) && std::filesystem::exists(pathB, error)) {
        if (canonicalPath(pathA) == canonicalPath(pathB)) return true;
        const bool same = std::filesystem::equivalent(pathA, pathB, error); // for example two mounts of one folder
        if (!error) return same;
    }
    return equalNoCase(a, b);
}

} // namespace platform
