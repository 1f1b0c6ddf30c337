#include "engine/RunReport.h"

#include "foundation/Log.h"
#include <algorithm>

namespace mb {

class CReportItem final : public com::Object<com::Dual<ISyncReportItem>> {
public:
    explicit CReportItem(IUnknown* outer) noexcept : Object(outer) {}
    ReportEntry entry;

    HRESULT STDMETHODCALLTYPE GetPass(LONG* pPass) override { return give(pPass, entry.pass); }
    HRESULT STDMETHODCALLTYPE GetSide(LONG* pSide) override { return give(pSide, entry.side == Side::One ? idTrans1 : idTrans2); }
    HRESULT STDMETHODCALLTYPE GetAction(LONG* pAction) override { return give(pAction, entry.action); }
    HRESULT STDMETHODCALLTYPE GetRecordId(BSTR* ppRecID) override { return give(ppRecID, entry.recordId); }
    HRESULT STDMETHODCALLTYPE GetPartnerId(BSTR* ppRecID) override { return give(ppRecID, entry.partnerId); }
    HRESULT STDMETHODCALLTYPE GetName(BSTR* ppName) override { return give(ppName, entry.name); }
    HRESULT STDMETHODCALLTYPE GetFieldCount(LONG* pCount) override { return give(pCount, static_cast<LONG>(entry.fields.size())); }
    HRESULT STDMETHODCALLTYPE GetField(LONG nIndex, LONG* pType, BSTR* ppName) override
    {
        if (!pType || !ppName) return E_POINTER;
        *pType = 0;
        *ppName = nullptr;
        if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= entry.fields.size()) return E_INVALIDARG;
        const ReportedField& field = entry.fields[static_cast<std::size_t>(nIndex)];
        *pType = field.type;
        return give(ppName, field.name);
    }
    HRESULT STDMETHODCALLTYPE GetConflict(LONG* pResolution) override { return give(pResolution, entry.conflict); }
    HRESULT STDMETHODCALLTYPE GetFailure(LONG* pCode, BSTR* ppText) override
    {
        if (!pCode || !ppText) return E_POINTER;
        *pCode = entry.code;
        return give(ppText, entry.text);
    }

private:
    static HRESULT give(LONG* out, LONG value) noexcept
    {
        if (!out) return E_POINTER;
        *out = value;
        return S_OK;
    }
    static HRESULT give(BSTR* out, const std::u16string& text)
    {
        if (!out) return E_POINTER;
        *out = nullptr;
        return com::guarded([&] { com::give(out, text); });
    }
};

namespace {

bool isWrite(_ReportAction action) noexcept { return action <= raLinked; }

void logWrite(const ReportEntry& entry, const std::u16string& storeName)
{
    const bool category = entry.pass == passCategories;
    switch (entry.action) {
    case raCreated: return WriteLogResource(logProgress, category ? Text::CategoryCreated : Text::RecordCreated, storeName, entry.name);
    case raUpdated: return WriteLogResource(logProgress, category ? Text::CategoryUpdated : Text::RecordUpdated, storeName, entry.name);
    case raDeleted: return WriteLogResource(logProgress, category ? Text::CategoryDeleted : Text::RecordDeleted, storeName, entry.name);
    case raLinked:
        return category ? WriteLogResource(logProgress, Text::CategoryUpdated, storeName, entry.name)
                        : WriteLogResource(logProgress, Text::RecordMatched, entry.name);
    default: return;
    }
}

void logSettlement(LONG resolution, const std::u16string& winner)
{
    switch (resolution) {
    case croAddAll: return WriteLogResource(logProgress, Text::SettledBothKept);
    case croDeleteAll: return WriteLogResource(logProgress, Text::SettledBothDeleted);
    case croTrans1Wins: return WriteLogResource(logProgress, Text::SettledOneWins, winner, 1);
    case croTrans2Wins: return WriteLogResource(logProgress, Text::SettledOneWins, winner, 2);
    case croMerge: return WriteLogResource(logProgress, Text::SettledMerged);
    default: return WriteLogResource(logProgress, Text::SettledUnchanged);
    }
}

} // namespace

// The report of one run, which a host may keep for as long as it likes.
class CRunReport final : public com::Object<com::Dual<ISyncRunReport>> {
public:
    explicit CRunReport(IUnknown* outer) noexcept : Object(outer) {}
    GUID map{};
    LONG ended = 0;
    HRESULT code = S_OK;
    std::u16string text;
    std::vector<com::Ptr<CReportItem>> items;

    HRESULT STDMETHODCALLTYPE GetMap(BSTR* ppMapGuid) override
    {
        if (!ppMapGuid) return E_POINTER;
        *ppMapGuid = nullptr;
        return com::guarded([&] { com::give(ppMapGuid, com::guidText(map)); });
    }
    HRESULT STDMETHODCALLTYPE GetEnd(LONG* pEnd, LONG* pCode, BSTR* ppText) override
    {
        if (!pEnd || !pCode || !ppText) return E_POINTER;
        *pEnd = ended;
        *pCode = code;
        *ppText = nullptr;
        return com::guarded([&] { com::give(ppText, text); });
    }
    HRESULT STDMETHODCALLTYPE GetCount(_SyncPass pass, _TransIds transId, _ReportAction action, LONG* pCount) override
    {
        if (!pCount) return E_POINTER;
        const Side side = transId == idTrans1 ? Side::One : Side::Two;
        *pCount = static_cast<LONG>(std::ranges::count_if(
            items, [&](const auto& item) { return item->entry.pass == pass && item->entry.side == side && item->entry.action == action; }));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetItemCount(LONG* pCount) override
    {
        if (!pCount) return E_POINTER;
        *pCount = static_cast<LONG>(items.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetItem(LONG nIndex, ISyncReportItem** ppItem) override
    {
        if (!ppItem) return E_POINTER;
        *ppItem = nullptr;
        if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= items.size()) return E_INVALIDARG;
        *ppItem = com::Ptr<ISyncReportItem>(items[static_cast<std::size_t>(nIndex)].get()).detach();
        return S_OK;
    }
};

RunReport::RunReport() noexcept = default;
RunReport::~RunReport() = default;

void RunReport::begin(const com::Ptr<ISyncEvents>& sink, const GUID& map)
{
    report_.reset();
    told_.clear();
    sink_ = sink.tryAs<ISyncReport>();
    if (!sink_) return;
    report_ = com::make<CRunReport>();
    report_->map = map;
    (void)com::call(sink_, &ISyncReport::OnRunBegin, static_cast<ISyncRunReport*>(report_.get()));
}

void RunReport::startOver()
{
    told_.clear();
    if (report_) std::erase_if(report_->items, [](const auto& item) { return !isWrite(item->entry.action); });
}

void RunReport::end(_RunEnd how, HRESULT code, const std::u16string& text)
{
    if (!report_) return;
    report_->ended = how;
    report_->code = code;
    report_->text = text;
    (void)com::call(sink_, &ISyncReport::OnRunEnd, static_cast<ISyncRunReport*>(report_.get()));
    report_.reset();
    sink_.reset();
}

void RunReport::beginPass(_SyncPass pass) noexcept
{
    pass_ = pass;
    if (sink_) (void)com::call(sink_, &ISyncReport::OnPassBegin, pass);
}

bool RunReport::wantsNames() const noexcept { return report_ || (LogLevelMask & 1) != 0; }

void RunReport::wrote(ReportEntry entry, const std::u16string& storeName)
{
    entry.pass = pass_;
    logWrite(entry, storeName);
    add(std::move(entry));
}

void RunReport::settled(ReportEntry entry, const std::u16string& winner)
{
    entry.action = raConflict;
    logSettlement(entry.conflict, winner);
    add(std::move(entry));
}

void RunReport::failed(ReportEntry entry)
{
    entry.action = raFailed;
    add(std::move(entry));
}

void RunReport::overwrote(ReportEntry entry)
{
    WriteLogText(logProgress, u"%s", entry.text);
    entry.action = raNoted;
    add(std::move(entry));
}

void RunReport::tellOnce(Side side, _ReportAction action, const std::u16string& text)
{
    WriteLogText(logHostText, u"%s", text);
    if (!report_) return;
    if (!told_.emplace(side, text).second) return;
    ReportEntry entry;
    entry.side = side;
    entry.action = action;
    entry.text = text;
    add(std::move(entry));
}

void RunReport::add(ReportEntry&& entry)
{
    if (!report_) return;
    entry.pass = pass_;
    auto item = com::make<CReportItem>();
    item->entry = std::move(entry);
    report_->items.push_back(item);
    (void)com::call(sink_, &ISyncReport::OnItem, static_cast<ISyncReportItem*>(item.get()));
}

} // namespace mb
