#include "engine/IdentifierSet.h"

namespace mb {

bool IdentifierSet::contains(std::u16string_view id)
{
    const std::size_t at = next_ < ids_.size() && ids_[next_] == id ? next_ : positionOf(id);
    if (at == none) return false;
    next_ = at + 1;
    return true;
}

bool IdentifierSet::containsExactly(std::u16string_view id)
{
    const std::size_t at = positionOf(id);
    return at != none && ids_[at] == id;
}

std::size_t IdentifierSet::positionOf(std::u16string_view id)
{
    positions_.reserve(ids_.size());
    for (; indexed_ < ids_.size(); ++indexed_) positions_.emplace(ids_[indexed_], indexed_);
    const auto found = positions_.find(id);
    return found == positions_.end() ? none : found->second;
}

} // namespace mb
