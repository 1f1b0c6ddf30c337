#include "files.h"
#include "text.h"

namespace platform {

bool isSamePlace(std::u16string_view a, std::u16string_view b)
{
    if (a == b) return true;
    const auto pathA = pathOf(a), pathB = pathOf(b);
    std::error_code error;
    // Names that differ in case alone are two places where both are there and the file system tells them apart.
    if (pathA.is_absolute() && pathB.is_absolute() && std::filesystem::exists(pathA, error) && std::filesystem::exists(pathB, error)) {
        if (canonicalPath(pathA) == canonicalPath(pathB)) return true;
        const bool same = std::filesystem::equivalent(pathA, pathB, error); // as by two mounts of one folder
        if (!error) return same;
    }
    return equalNoCase(a, b);
}

} // namespace platform
