// The details that both records of a link held when the run was done with them: the base of the next merge. The history keeps hashes, and
// no line.
// Each side has hashes of its own, since a store may spell a line anew. A pair without a counterpart is a line that the other store did not
// keep, or one that the store made of itself: neither is an edit of its user.
#pragma once
#include "engine/details/DetailsText.h"
#include <optional>

namespace mb {

struct DetailsPair {
    std::optional<DetailsHash> own, other;
    friend auto operator<=>(const DetailsPair&, const DetailsPair&) = default;
};

using DetailsBase = std::vector<DetailsPair>;

// The form in the history; empty for a base without pairs.
std::u16string composeDetailsBase(DetailsBase base);
// Nullopt for a damaged text. A damaged base must read as none, and never as one with other pairs: those would read as removed lines.
std::optional<DetailsBase> parseDetailsBase(std::u16string_view text);

// The base as the other side has it.
DetailsBase mirrored(DetailsBase base);
// Whether the other side's copy of the base has the same pairs.
bool isMirror(const DetailsBase& own, const DetailsBase& other);

} // namespace mb
