#include "engine/details/PlanDetails.h"

#include "engine/details/DetailsFiles.h"
#include "engine/details/FindCounterparts.h"
#include "engine/details/PictureLines.h"
#include "engine/details/SyncDetails.h"
#include "translators/ImageFields.h"
#include <algorithm>

namespace mb {
namespace {

constexpr std::size_t shownLength = 1000; // of a line

std::u16string shownChanges(const MergedDetails& merged)
{
    std::u16string shown;
    const auto append = [&](char16_t mark, std::u16string_view line) {
        if (!shown.empty()) shown += u'\n';
        const std::u16string words = shownLine(line);
        shown.append(1, mark).append(words, 0, shownLength).append(words.size() > shownLength ? u"..." : u"");
    };
    for (const std::u16string_view line : merged.removed()) append(u'-', line);
    for (const std::u16string& line : merged.added()) append(u'+', line);
    return shown;
}

// An item without a change set writes all fields, and details with them.
bool hasChanges(const PlanItem& item) { return item.kind == PlannedChange && item.Changes && !item.Changes->empty(); }

bool namesDetails(const PlanItem& item) { return item.Changes && item.Changes->contains(ftDetails); }

bool namesImage(const PlanItem& item) { return item.Changes && (item.Changes->contains(ftImage1) || item.Changes->contains(ftImage2)); }

// Planning of what one side gets of the other side's details.
class DetailsPlan {
public:
    DetailsPlan(PipelinePass& pass, PerSide<SidePlan>& plans, Side target)
        : pass_(pass), plans_(plans), source_(otherSide(target)), target_(target), copies_(plans[target].copies),
          back_(plans[source_].copies)
    {
    }

    void run()
    {
        std::vector<bool> done;
        for (PlanItem& item : copies_) {
            const bool mayWrite = item.kind == PlannedMatch || hasChanges(item), named = namesDetails(item) || namesImage(item);
            if (mayWrite) plan(item);
            done.push_back(mayWrite && named && item.kind == PlannedChange && item.Changes->empty());
        }
        std::erase_if(copies_, [next = done.begin()](const PlanItem&) mutable { return *next++; });
    }

private:
    void plan(PlanItem& item)
    {
        if (item.withoutDetails) return;
        const auto base = StoredDetailsBase(pass_, source_, item.sourceId, *item.targetId);
        if (base && !namesDetails(item) && !namesImage(item)) return;
        const auto own = OpenAndReadDetails(pass_, source_, item.sourceId);
        const auto other = OpenAndReadDetails(pass_, target_, *item.targetId);
        if (!own || !other) return leaveDetails(item);
        const bool returns = !base && pass_.send[target_];
        const auto forth = FindCounterparts(pass_, plans_, source_, *own);
        const auto back = returns ? FindCounterparts(pass_, plans_, target_, *other) : Counterparts();
        if (!forth || !back) return leaveDetails(item);
        if (returns) planReturn(item, *own, *other, *back);
        const auto merged = merge(source_, item, FindItem(back_, *item.targetId), *own, *other, *forth, base);
        if (!merged) return leaveDetails(item);
        if (merged->fileStaysHome()) NoteUnreadDetails(pass_, source_, item.sourceId);
        if (merged->changesTarget()) write(item, *merged);
        planImages(source_, item, *merged);
        if (merged->changesTarget() || !item.Changes) return;
        item.Changes->erase(ftDetails);
        if (item.Changes->empty()) StoreDetailsBase(pass_, source_, item.sourceId, *item.targetId, merged->nextBase(*other));
    }

    // Nullopt where a store cannot tell whether it has an image.
    std::optional<MergedDetails> merge(Side source, const PlanItem& item, const PlanItem* waiting, std::u16string_view own,
                                       std::u16string_view other, const Counterparts& counterparts, const std::optional<DetailsBase>& base)
    {
        auto pictures = ReadPictures(pass_, source, item, waiting, own, other, !base, false);
        if (!pictures) return std::nullopt;
        return std::optional<MergedDetails>(std::in_place, DetailsMergeInput{.source = own,
                                                                             .target = other,
                                                                             .base = base.value_or(DetailsBase()),
                                                                             .firstMeeting = !base,
                                                                             .bothWays = pass_.send[otherSide(source)],
                                                                             .types = AnnotationTypes(pass_, source),
                                                                             .givesFiles = GivesFiles(pass_, source, own),
                                                                             .counterparts = counterparts,
                                                                             .pictures = std::move(*pictures),
                                                                             .sourceWins = [&, source](const DetailsUnit& unit) {
                                                                                 return SourceWinsDetails(pass_, source, item, waiting,
                                                                                                          unit);
                                                                             }});
    }

    // Names an image that has to be written with the details, and leaves out one that gives way to the target's picture.
    void planImages(Side source, PlanItem& item, const MergedDetails& merged)
    {
        for (const PictureDecision& picture : merged.pictures()) {
            const LONG type = imageTypeOf(picture.property);
            if (picture.keep) pass_.side(source).lostImages.emplace(item.sourceId, type);
            if (!item.Changes || item.Changes->empty()) continue;
            if (picture.write && !item.Changes->contains(type)) (*item.Changes)[type] = imageFlagText(true);
            if (!picture.keep) continue;
            item.Changes->erase(sizeTypeOf(type));
            item.Changes->erase(type);
        }
    }

    static void write(PlanItem& item, const MergedDetails& merged)
    {
        item.kind = PlannedChange;
        if (!item.Changes) item.Changes = std::make_unique<FieldValueMap>();
        (*item.Changes)[ftDetails] = shownChanges(merged);
    }

    // What the target's record has to send back.
    void planReturn(const PlanItem& item, std::u16string_view own, std::u16string_view other, const Counterparts& counterparts)
    {
        PlanItem* known = FindItem(back_, *item.targetId);
        if (known && (!hasChanges(*known) || known->targetId != item.sourceId)) return;
        PlanItem made;
        made.kind = PlannedChange;
        made.sourceId = *item.targetId;
        made.targetId = item.sourceId;
        made.Changes = std::make_unique<FieldValueMap>();
        PlanItem& back = known ? *known : made;
        const auto merged = merge(target_, back, &item, other, own, counterparts, std::nullopt);
        if (!merged || !merged->changesTarget()) return;
        write(back, *merged);
        planImages(target_, back, *merged);
        if (!known) back_.insert(std::ranges::lower_bound(back_, back.sourceId, {}, &PlanItem::sourceId), std::move(made));
    }

    // The history stays as it was, so that the next run finds the change again.
    void leaveDetails(PlanItem& item)
    {
        NoteUnreadDetails(pass_, source_, item.sourceId);
        NoteUnreadDetails(pass_, target_, *item.targetId);
        if (item.Changes) item.Changes->erase(ftDetails);
    }

    PipelinePass& pass_;
    PerSide<SidePlan>& plans_;
    Side source_, target_;
    PlanItems &copies_, &back_;
};

} // namespace

void PlanDetails(PipelinePass& pass, PerSide<SidePlan>& plans)
{
    if (!pass.details) return;
    for (const Side target : {Side::Two, Side::One}) DetailsPlan(pass, plans, target).run();
    for (const Side side : bothSides) plans[side].planned = plans[side].size();
}

} // namespace mb
