#include "foundation/StoreNames.h"

namespace mb {
namespace {

constexpr std::u16string_view separators = u"/\\";

// The last `count` parts of a path; the whole path where it has no more.
std::u16string_view lastParts(std::u16string_view path, int count)
{
    std::size_t at = path.size();
    for (; count > 0; --count) {
        if (at == 0) return path;
        at = path.find_last_of(separators, at - 1);
        if (at == path.npos) return path;
    }
    return at + 1 == path.size() ? path : path.substr(at + 1);
}

std::u16string_view withoutEnd(std::u16string_view path)
{
    const std::size_t last = path.find_last_not_of(separators);
    return last == path.npos ? path : path.substr(0, last + 1);
}

std::u16string named(const std::u16string& name, std::u16string_view place) { return name + u" (" + std::u16string(place) + u")"; }

} // namespace

void TellStoresApart(std::u16string& name1, std::u16string_view database1, std::u16string& name2, std::u16string_view database2)
{
    database1 = withoutEnd(database1);
    database2 = withoutEnd(database2);
    if (name1 != name2 || database1.empty() || database2.empty() || database1 == database2) return;
    for (int parts = 1;; ++parts) {
        const std::u16string_view place1 = lastParts(database1, parts), place2 = lastParts(database2, parts);
        if (place1 == place2) continue;
        name1 = named(name1, place1);
        name2 = named(name2, place2);
        return;
    }
}

} // namespace mb
