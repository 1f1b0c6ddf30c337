#include "engine/details/PictureLines.h"

#include <algorithm>
#include <utility>

namespace mb {
namespace {

constexpr std::pair<LONG, std::u16string_view> kinds[] = {{ftImage1, u"PHOTO"}, {ftImage2, u"LOGO"}};

bool names(std::u16string_view text, std::u16string_view property) { return text.find(property) != std::u16string_view::npos; }

std::optional<GUID> fieldOfType(StoreClient& store, LONG type)
{
    const LONG count = store.hasFieldList() ? store.fieldCount().value_or(0) : 0;
    for (LONG i = 0; i < count; ++i) {
        const auto field = store.fieldAt(i);
        if (field && store.fieldType(*field) == type) return field;
    }
    return std::nullopt;
}

PictureKind kindOf(PipelinePass& pass, LONG type, std::u16string_view property)
{
    PictureKind kind{.type = type, .property = property};
    for (std::size_t i = 0; i < static_cast<std::size_t>(pass.FieldCount); ++i) {
        if (pass.side(Side::One).fieldType(i) != type || pass.side(Side::Two).fieldType(i) != type) continue;
        kind.isPair = true;
        for (const Side side : bothSides) kind.fields[side] = pass.fields(side)[i];
    }
    for (const Side side : bothSides)
        if (!kind.isPair) kind.fields[side] = fieldOfType(pass.side(side).store, type);
    // Where one store has no such field, the user cannot say by a pair whether pictures travel.
    kind.travels = pass.run.options.SyncImages && (kind.isPair || !kind.fields.one || !kind.fields.two);
    return kind;
}

// Whether the record has the image; nullopt where the store cannot tell. Requires: the record is open.
std::optional<bool> hasImage(PipelinePass& pass, Side side, const com::Bstr& id, const PictureKind& kind)
{
    StoreClient& store = pass.side(side).store;
    if (!kind.fields[side] || !store.hasImages()) return false;
    return store.hasImage(id.get(), *kind.fields[side]);
}

bool namesImage(const PlanItem& item, LONG type) { return item.Changes && item.Changes->contains(type); }

bool writesAll(const PlanItem& item) { return item.kind != PlannedMatch && (!item.Changes || item.Changes->empty()); }

} // namespace

const std::vector<PictureKind>& PictureKinds(PipelinePass& pass)
{
    if (pass.pictureKinds.empty())
        for (const auto& [type, property] : kinds) pass.pictureKinds.push_back(kindOf(pass, type, property));
    return pass.pictureKinds;
}

LONG imageTypeOf(std::u16string_view property) noexcept
{
    for (const auto& [type, name] : kinds)
        if (name == property) return type;
    return 0;
}

std::vector<std::u16string_view> PicturesAtHome(PipelinePass& pass, std::u16string_view text)
{
    std::vector<std::u16string_view> home;
    for (const auto& [type, property] : kinds) {
        if (!names(text, property)) continue;
        for (const PictureKind& kind : PictureKinds(pass))
            if (kind.property == property && !kind.travels) home.push_back(kind.property);
    }
    return home;
}

std::vector<DetailsPicture> PicturesOfNew(PipelinePass& pass, std::u16string_view own)
{
    std::vector<DetailsPicture> pictures;
    for (const std::u16string_view property : PicturesAtHome(pass, own)) pictures.push_back({.property = property, .travels = false});
    return pictures;
}

std::optional<std::vector<DetailsPicture>> ReadPictures(PipelinePass& pass, Side source, const PlanItem& item, const PlanItem* waiting,
                                                        std::u16string_view own, std::u16string_view other, bool firstMeeting,
                                                        bool sourceOpen)
{
    std::vector<DetailsPicture> pictures;
    if (std::ranges::none_of(kinds, [&](const auto& kind) { return names(own, kind.second) || names(other, kind.second); }))
        return pictures;
    const Side target = otherSide(source);
    const com::Bstr ownId(item.sourceId), otherId(*item.targetId);
    std::optional<OpenReading> ownReading;
    if (!sourceOpen) ownReading.emplace(pass.side(source).store, ownId.get());
    const OpenReading otherReading(pass.side(target).store, otherId.get());
    if ((ownReading && !*ownReading) || !otherReading) return std::nullopt;
    for (const PictureKind& kind : PictureKinds(pass)) {
        if (!names(own, kind.property) && !names(other, kind.property)) continue;
        DetailsPicture picture{.property = kind.property, .travels = kind.travels, .fieldTravels = kind.isPair};
        if (kind.travels) {
            const auto ofOwn = hasImage(pass, source, ownId, kind), ofOther = hasImage(pass, target, otherId, kind);
            if (!ofOwn || !ofOther) return std::nullopt;
            picture.sourceField = *ofOwn;
            picture.targetField = *ofOther;
        }
        const bool lost = pass.side(target).lostImages.contains({*item.targetId, kind.type});
        picture.sourceFieldChanged =
            picture.sourceField && (namesImage(item, kind.type) || (!picture.targetField && (writesAll(item) || firstMeeting)));
        picture.targetFieldChanged =
            picture.targetField && (lost || (waiting && namesImage(*waiting, kind.type)) || (firstMeeting && !picture.sourceField));
        pictures.push_back(picture);
    }
    return pictures;
}

} // namespace mb
