#include "RunEvents.h"

#include "text.h"
#include <algorithm>

namespace mbhost {
namespace {

std::string utf8Of(const com::Bstr& text) { return platform::utf8(text.view()); }

std::vector<std::string> fieldNames(ISyncReportItem* item)
{
    LONG count = 0;
    com::check(item->GetFieldCount(&count));
    std::vector<std::string> names;
    for (LONG i = 0; i < count; ++i) {
        LONG type = 0;
        com::Bstr name;
        com::check(item->GetField(i, &type, name.put()));
        names.push_back(utf8Of(name));
    }
    return names;
}

RunEvent eventOf(ISyncReportItem* item)
{
    LONG pass = 0, side = 0, action = 0, code = 0;
    com::Bstr id, partner, name, text;
    RunEvent event;
    com::check(item->GetPass(&pass));
    com::check(item->GetSide(&side));
    com::check(item->GetAction(&action));
    com::check(item->GetRecordId(id.put()));
    com::check(item->GetPartnerId(partner.put()));
    com::check(item->GetName(name.put()));
    com::check(item->GetConflict(&event.conflict));
    com::check(item->GetFailure(&code, text.put()));
    event.ofCategories = pass == passCategories;
    event.side = side == idTrans1 ? 0 : 1;
    event.action = static_cast<_ReportAction>(action);
    event.code = code;
    event.id = utf8Of(id);
    event.partner = utf8Of(partner);
    event.name = utf8Of(name);
    event.text = utf8Of(text);
    event.fields = fieldNames(item);
    return event;
}

constexpr _ReportAction writes[] = {raCreated, raUpdated, raDeleted, raLinked};

} // namespace

RunEvents::RunEvents(ISyncRunReport* report)
{
    LONG items = 0;
    com::check(report->GetItemCount(&items));
    for (LONG i = 0; i < items; ++i) {
        com::Ptr<ISyncReportItem> item;
        com::check(report->GetItem(i, item.put()));
        events_.push_back(eventOf(item.get()));
    }
    countAll(report);
}

void RunEvents::countAll(ISyncRunReport* report)
{
    for (const bool ofCategories : {false, true})
        for (const int side : {0, 1})
            for (const _ReportAction action : writes) {
                LONG counted = 0;
                com::check(
                    report->GetCount(ofCategories ? passCategories : passContacts, side == 0 ? idTrans1 : idTrans2, action, &counted));
                counts_[{ofCategories, side, action}] = counted;
            }
}

std::vector<RunEvent> RunEvents::of(_ReportAction action) const
{
    std::vector<RunEvent> found;
    std::ranges::copy_if(events_, std::back_inserter(found), [&](const RunEvent& event) { return event.action == action; });
    return found;
}

int RunEvents::count(bool ofCategories, int side, _ReportAction action) const
{
    const auto counted = counts_.find({ofCategories, side, action});
    return counted == counts_.end() ? 0 : counted->second;
}

SideCounts RunEvents::counts(bool ofCategories, int side) const
{
    return {count(ofCategories, side, raCreated), count(ofCategories, side, raUpdated), count(ofCategories, side, raDeleted)};
}

// The engine reports a link once, at side 1.
int RunEvents::linked(bool ofCategories) const { return count(ofCategories, 0, raLinked); }

bool RunEvents::nothing() const
{
    return std::ranges::all_of(counts_, [](const auto& counted) { return counted.second == 0; });
}

} // namespace mbhost
