#include "engine/OfferFields.h"

#include "translators/UnmappedPairs.h"
#include <algorithm>
#include <array>

namespace mb {
namespace {

// The field types that plug-ins have not had from the beginning.
constexpr std::array offeredTypes{LONG{ftDetails}, LONG{ftKind}};

using FieldsByType = std::array<std::optional<GUID>, offeredTypes.size()>;

// As in a default map, the last field of a type counts.
FieldsByType listOffered(StoreClient& store)
{
    FieldsByType found;
    const LONG count = store.hasFieldList() ? store.fieldCount().value_or(0) : 0;
    for (LONG i = 0; i < count; ++i) {
        const auto field = store.fieldAt(i);
        const auto type = field ? store.fieldType(*field) : std::nullopt;
        const auto* const at = type ? std::ranges::find(offeredTypes, *type) : offeredTypes.end();
        if (at != offeredTypes.end()) found[static_cast<std::size_t>(at - offeredTypes.begin())] = field;
    }
    return found;
}

bool isMapped(const PipelinePass& pass, Side side, const GUID& field) { return std::ranges::count(pass.fields(side), field) != 0; }

} // namespace

void OfferFields(PipelinePass& pass)
{
    if (pass.FieldCount == 0) return;
    const PerSide<FieldsByType> listed{listOffered(pass.side(Side::One).store), listOffered(pass.side(Side::Two).store)};
    for (std::size_t i = 0; i < offeredTypes.size(); ++i) {
        const auto &one = listed.one[i], &two = listed.two[i];
        if (!one || !two || isMapped(pass, Side::One, *one) || isMapped(pass, Side::Two, *two)) continue;
        if (IsUnmappedPair(pass.run.FieldMapId, *one, *two)) continue;
        pass.addFields({*one, *two});
        pass.offered.push_back({offeredTypes[i], {*one, *two}});
    }
}

} // namespace mb
