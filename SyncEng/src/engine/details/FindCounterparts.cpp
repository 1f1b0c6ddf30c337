#include "engine/details/FindCounterparts.h"

#include <algorithm>

namespace mb {
namespace {

// Empty for a record without a UID; nullopt where it could not be read.
std::optional<std::u16string> readUid(PipelinePass& pass, Side side, const std::u16string& id)
{
    StoreClient& store = pass.side(side).store;
    const com::Bstr key(id);
    const OpenReading reading(store, key.get());
    std::u16string details;
    if (!reading || !store.readText(key.get(), (*pass.details)[side], details)) return std::nullopt;
    return std::u16string(ownUid(details));
}

// The records that may have a counterpart, some of them twice.
std::vector<std::u16string> candidates(PipelinePass& pass, const PerSide<SidePlan>& plans, Side side)
{
    std::vector<std::u16string> ids;
    if (!pass.run.historyObsolete) ids = pass.run.history.records(side);
    const SidePlan& plan = plans[otherSide(side)];
    for (const PlanItems* items : {&plan.copies, &plan.relations, &plan.members})
        for (const PlanItem& item : *items) ids.push_back(item.sourceId);
    return ids;
}

void readUids(PipelinePass& pass, const PerSide<SidePlan>& plans, Side side)
{
    RecordsByUid& known = pass.side(side).recordsByUid.emplace();
    std::set<std::u16string> asked;
    for (const std::u16string& id : candidates(pass, plans, side)) {
        if (!asked.insert(id).second || pass.side(side).missing.contains(id)) continue;
        const auto uid = readUid(pass, side, id);
        if (!uid)
            known.complete = false;
        else if (!uid->empty())
            known.ids.emplace(uidKey(*uid), id); // of two records with one UID the first
    }
}

std::optional<std::u16string> partnerOf(PipelinePass& pass, PerSide<SidePlan>& plans, Side side, const std::u16string& id)
{
    HistoryEntry entry;
    entry.Id = id;
    if (!pass.run.historyObsolete && pass.run.history.readEntry(side, entry)) return entry.MappedId;
    if (const PlanItem* item = FindItem(plans[otherSide(side)].copies, id)) return item->targetId;
    const PlanItems& back = plans[side].copies;
    const auto linked = std::ranges::find_if(back, [&](const PlanItem& item) { return item.targetId == id; });
    return linked == back.end() ? std::nullopt : std::optional(linked->sourceId);
}

} // namespace

std::optional<Counterparts> FindCounterparts(PipelinePass& pass, PerSide<SidePlan>& plans, Side source, std::u16string_view details)
{
    Counterparts found;
    for (const std::u16string& key : referredKeys(details)) {
        auto& known = pass.side(source).recordsByUid;
        if (!known) readUids(pass, plans, source);
        const auto record = known->ids.find(key);
        if (record == known->ids.end()) {
            if (!known->complete) return std::nullopt;
            continue;
        }
        const auto partner = partnerOf(pass, plans, source, record->second);
        if (!partner) continue;
        const auto uid = readUid(pass, otherSide(source), *partner);
        if (!uid) return std::nullopt;
        if (!uid->empty() && uidKey(*uid) != key) found[key] = *uid;
    }
    return found;
}

} // namespace mb
