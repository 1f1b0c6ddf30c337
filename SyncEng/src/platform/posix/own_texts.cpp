// The English texts, compiled in because Linux libraries have no string resources.
#include "string_module.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace platform {
namespace {

struct Entry {
    int id;
    std::u16string_view text;
};

constexpr Entry entries[] = {
#define STRING(id, name, text) {id, u"" text},
#include "strings.inc"
#undef STRING
};
static_assert(std::ranges::is_sorted(entries, {}, &Entry::id));

} // namespace

std::optional<std::u16string> ownText(int id)
{
    const auto at = std::ranges::lower_bound(entries, id, {}, &Entry::id);
    return at != std::end(entries) && at->id == id ? std::optional(std::u16string(at->text)) : std::nullopt;
}

} // namespace platform
