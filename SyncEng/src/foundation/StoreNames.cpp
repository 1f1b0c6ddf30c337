#include "foundation/StoreNames.h"

#include "host.h"

namespace mb {
namespace {

constexpr std::u16string_view separators = u"/\\";

// Returns the last `count` parts of a path; the whole path if it has fewer.
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
    const auto [place1, place2] = ShortPlaces(database1, database2);
    name1 = named(name1, place1);
    name2 = named(name2, place2);
}

std::pair<std::u16string, std::u16string> ShortPlaces(std::u16string_view database1, std::u16string_view database2)
{
    database1 = withoutEnd(database1);
    database2 = withoutEnd(database2);
    for (int parts = 1;; ++parts) {
        const std::u16string_view place1 = lastParts(database1, parts), place2 = lastParts(database2, parts);
        if (place1 != place2 || database1 == database2) return {std::u16string(place1), std::u16string(place2)};
    }
}

std::u16string PlaceOf(std::u16string_view database)
{
    const std::u16string_view path = withoutEnd(database);
    const auto variable = path.starts_with(u'/') ? platform::environment(u"HOME") : std::nullopt;
    const std::u16string_view home = variable ? withoutEnd(*variable) : std::u16string_view();
    const bool inHome = home.size() > 1 && path.starts_with(home) && (path.size() == home.size() || path[home.size()] == u'/');
    return inHome ? u"~" + std::u16string(path.substr(home.size())) : std::u16string(path);
}

} // namespace mb
