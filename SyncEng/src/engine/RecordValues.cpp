#include "engine/RecordValues.h"

#include <algorithm>

namespace mb {

std::optional<std::u16string_view> RecordValues::find(LONG type) const noexcept
{
    const auto at = std::ranges::lower_bound(items_, type, {}, &Item::type);
    if (at != items_.end() && at->type == type) return std::u16string_view(texts_).substr(at->at, at->size);
    return std::ranges::binary_search(empty_, type) ? std::optional<std::u16string_view>(u"") : std::nullopt;
}

void RecordValues::set(LONG type, std::u16string_view text)
{
    if (find(type)) erase(type);
    if (text.empty()) {
        empty_.insert(std::ranges::upper_bound(empty_, type), type);
        return;
    }
    const Item item{type, static_cast<std::uint32_t>(texts_.size()), static_cast<std::uint32_t>(text.size())};
    texts_ += text;
    items_.insert(std::ranges::upper_bound(items_, type, {}, &Item::type), item);
}

void RecordValues::erase(LONG type)
{
    std::erase_if(items_, [&](const Item& item) { return item.type == type; });
    std::erase(empty_, type);
}

void RecordValues::clear() noexcept
{
    items_.clear();
    empty_.clear();
    texts_.clear();
}

} // namespace mb
