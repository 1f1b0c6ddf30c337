#include "foundation/Strings.h"

#include "foundation/LanguageModule.h"
#include <algorithm>
#include <iterator>
#include <string_view>

namespace mb {
namespace {

struct Entry {
    int id;
    std::u16string_view text;
};

// In ascending order of number, as the list is.
constexpr Entry entries[] = {
#define STRING(id, text) {id, u"" text},
#include "strings.inc"
#undef STRING
};
static_assert(std::ranges::is_sorted(entries, {}, &Entry::id));

} // namespace

std::u16string LoadText(int id)
{
    if (auto translated = TextOfLanguageModule(id)) return *std::move(translated);
    const auto at = std::ranges::lower_bound(entries, id, {}, &Entry::id);
    return at != std::end(entries) && at->id == id ? std::u16string(at->text) : std::u16string();
}

} // namespace mb
