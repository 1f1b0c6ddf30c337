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

bool isWrite(const RunEvent& event) noexcept
{
    return event.action == raCreated || event.action == raUpdated || event.action == raDeleted || event.action == raLinked;
}

} // namespace

void RunEvents::add(ISyncReportItem* item)
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
    events_.push_back(std::move(event));
}

std::vector<RunEvent> RunEvents::of(_ReportAction action) const
{
    std::vector<RunEvent> found;
    std::ranges::copy_if(events_, std::back_inserter(found), [&](const RunEvent& event) { return event.action == action; });
    return found;
}

int RunEvents::count(bool ofCategories, int side, _ReportAction action) const
{
    return static_cast<int>(std::ranges::count_if(events_, [&](const RunEvent& event) {
        return event.ofCategories == ofCategories && event.side == side && event.action == action;
    }));
}

SideCounts RunEvents::counts(bool ofCategories, int side) const
{
    return {count(ofCategories, side, raCreated), count(ofCategories, side, raUpdated), count(ofCategories, side, raDeleted)};
}

// The engine reports a link once, at side 1.
int RunEvents::linked(bool ofCategories) const { return count(ofCategories, 0, raLinked); }

bool RunEvents::nothing() const noexcept { return std::ranges::none_of(events_, isWrite); }

} // namespace mbhost
