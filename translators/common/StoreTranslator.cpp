#include "StoreTranslator.h"

#include "automation_date.h"
#include "files.h"
#include "host.h"
#include "text.h"
#include "whole_details.h"
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace mb::plugin {
namespace {

// Returns a date in UTC as days since 1899-12-30.
DATE dateOf(std::int64_t nanoseconds)
{
    constexpr double kDay = 86'400e9, kUnixEpoch = platform::automationDay(std::chrono::sys_days{});
    return kUnixEpoch + static_cast<double>(nanoseconds) / kDay;
}

std::u16string isoDate(DATE date)
{
    const std::chrono::year_month_day ymd = platform::calendarDay(static_cast<int>(std::floor(date)));
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                  static_cast<unsigned>(ymd.day()));
    return platform::utf16(text);
}

// Returns whether the text is a date of ISO 8601, or a part of one: a day without its year, a year, or a month.
bool looksIso(std::u16string_view text)
{
    const bool part = text.starts_with(u"--") || text.size() == 4 || (text.size() == 7 && text[4] == u'-');
    if (part && text.find_first_not_of(u"0123456789-") == text.npos) return true;
    return text.size() >= 8 && text.find_first_not_of(u"0123456789-T:Z+. ") == text.npos && text.find(u'/') == text.npos;
}

// Returns the text of a value. A birthday is a date, or a text in any form in which the other store shows dates.
std::u16string textOf(const VARIANT& value, const PluginField& field)
{
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return {};
    const bool birthday = field.dataType == dtDateTime;
    if (birthday && value.vt == VT_DATE) return isoDate(value.date);
    std::u16string text;
    if (value.vt == VT_BSTR) {
        text = com::textOf(value.bstrVal);
    } else {
        com::Variant changed;
        com::check(VariantChangeType(changed.put(), const_cast<VARIANT*>(&value), 0, VT_BSTR));
        text = changed.text();
    }
    DATE date = 0;
    if (birthday && !text.empty() && !looksIso(text) &&
        SUCCEEDED(VarDateFromStr(const_cast<OLECHAR*>(com::ole(text.c_str())), 0x409, 0, &date)))
        return isoDate(date);
    return text;
}

// Returns the result for a store that failed to look for a record: 0x80040207 and E_FAIL would mean that the record is gone.
HRESULT couldNotLook(HRESULT hr) { return hr == static_cast<HRESULT>(Step::Find) || hr == E_FAIL ? E_UNEXPECTED : hr; }

com::Ptr<IDataStream> settingsOf(ITrServices* services) { return com::Ptr<ITrServices>(services).as<IDataStream>(); }

// A script opens stores without settings: its host names the database in an environment variable such as MB_STORE_VCARD.
std::u16string databaseOfHost(const PluginInfo& info)
{
    std::u16string name = u"MB_STORE_";
    for (const char16_t* c = info.shortName; *c; ++c) name += platform::upper(*c);
    return platform::environment(name).value_or(std::u16string());
}

std::u16string databaseOf(ITrServices* services, const PluginInfo& info)
{
    com::Bstr database;
    if (services)
        (void)settingsOf(services)->GetString(com::Bstr(u"Database").get(), database.put()); // an absent key leaves the text empty
    return database.empty() ? databaseOfHost(info) : database.text();
}

} // namespace

GUID StoreTranslator::guidOf(const PluginField& field) const noexcept
{
    GUID guid = info_.fieldBase;
    guid.Data2 = static_cast<std::uint16_t>(field.type);
    return guid;
}

const std::string& StoreTranslator::idOf(BSTR id)
{
    const std::u16string_view given = com::viewOf(id);
    // Not operator==, which the standard library implements as a slow loop for 16-bit texts.
    if (given.size() == lastId_.size() && std::equal(given.begin(), given.end(), lastId_.data())) return lastIdUtf8_;
    std::string bytes = platform::utf8(given);
    lastId_ = given;
    lastIdUtf8_ = std::move(bytes);
    return lastIdUtf8_;
}

const PluginField* StoreTranslator::fieldOf(REFGUID guid) const noexcept
{
    GUID base = guid;
    base.Data2 = 0;
    if (std::memcmp(&base, &info_.fieldBase, sizeof base) != 0) return nullptr;
    // The fields are sorted by type, from 1 on and almost without gaps, so a field is at the index of its type or a little before it.
    std::size_t at = std::min<std::size_t>(guid.Data2, info_.fields.size());
    while (at > 0 && info_.fields[at - 1].type > guid.Data2) --at;
    return at > 0 && info_.fields[at - 1].type == guid.Data2 ? &info_.fields[at - 1] : nullptr;
}

bool StoreTranslator::givesWholeDetails(REFGUID guid) const noexcept
{
    return guid == wholeDetailsField && std::ranges::find(info_.fields, LONG{ftDetails}, &PluginField::type) != info_.fields.end();
}

RecordStore& StoreTranslator::store(Step step)
{
    if (!store_) throw StoreError(step, "The store is not open.");
    return *store_;
}

// The log uses the text as a format, so percent signs are doubled.
void StoreTranslator::tell(Finding finding, const std::string& text) noexcept
{
    (void)com::guarded([&] {
        const std::u16string told = std::u16string(info_.shortName) + u": " + platform::utf16(text);
        if (finding == Finding::LeftOut && report_) return report_->LeftOut(com::Bstr(told).get());
        if (finding == Finding::Note && notes_) return notes_->Note(com::Bstr(told).get());
        if (!log_) return S_OK;
        std::u16string line;
        for (const char16_t c : told) line.append(c == u'%' ? 2 : 1, c);
        return log_->AppendString(com::Bstr(line).get());
    });
}

void StoreTranslator::open(ITrServices* services, std::u16string_view database, OpenStore openStore)
{
    lastError_.clear();
    finder_.reset();
    store_.reset();
    log_ = com::Ptr<ITrServices>(services).tryAs<ILogFile>();
    report_ = com::Ptr<ITrServices>(services).tryAs<ITranslatorReport>();
    notes_ = com::Ptr<ITrServices>(services).tryAs<ITranslatorNotes>();
    ofCategories_ = openStore == info_.openCategories;
    store_ = openStore(platform::utf8(database), [this](Finding finding, const std::string& text) { tell(finding, text); });
    database_ = database;
}

bool StoreTranslator::offers(REFIID riid) const noexcept
{
    if (riid == __uuidof(ICategories)) return info_.openCategories != nullptr;
    if (riid == __uuidof(IDuplicateFinder)) return info_.findsEqualRecords && !ofCategories_;
    if (riid == __uuidof(IRecordUpdater)) return info_.followsRecords;
    if (riid == __uuidof(IImageSupport))
        return std::ranges::any_of(info_.fields, [](const PluginField& field) { return field.type == ftImage1 || field.type == ftImage2; });
    return true;
}

HRESULT StoreTranslator::start(ITrServices* services, OpenStore openStore, bool make)
{
    return run([&] {
        const std::u16string database = databaseOf(services, info_);
        if (!services && database.empty()) throw com::Error(E_POINTER);
        if (make && info_.make) info_.make(platform::utf8(database));
        open(services, database, openStore);
    });
}

HRESULT StoreTranslator::Initialize(ITrServices* pServices, HWND, VARIANT_BOOL bReconfig)
{
    return start(pServices, info_.open, bReconfig != VARIANT_FALSE);
}

HRESULT StoreTranslator::InitializeCategories(ITrServices* pServices, HWND, VARIANT_BOOL)
{
    return start(pServices, info_.openCategories, false);
}

HRESULT StoreTranslator::GetSyncParams(ITrServices* pServices, BSTR* lpDatabase, BSTR* lpDescription)
{
    if (!pServices || !lpDatabase || !lpDescription) return E_POINTER;
    *lpDatabase = *lpDescription = nullptr;
    return run([&] {
        const std::u16string given = databaseOf(pServices, info_);
        com::Bstr database(given.empty() ? given : platform::textOf(platform::canonicalPath(platform::pathOf(given))));
        com::give(lpDescription, info_.longName);
        *lpDatabase = database.detach();
    });
}

HRESULT StoreTranslator::GetTranslatorCaps(ULONG* pCaps)
{
    if (!pCaps) return E_POINTER;
    *pCaps = capImport | capExport | capSynchronize | capTimestamps | capRecordGUIDs | capJPEGFile;
    return S_OK;
}

HRESULT StoreTranslator::SetDatabase(ITrServices* pServices, BSTR lpDatabase)
{
    if (!pServices) return E_POINTER;
    return com::guarded([&] {
        const std::u16string_view given = com::viewOf(lpDatabase);
        const std::u16string path = given.empty() ? std::u16string() : std::filesystem::absolute(given).u16string();
        return settingsOf(pServices)->SetString(com::Bstr(u"Database").get(), com::Bstr(path).get());
    });
}

HRESULT StoreTranslator::Cleanup()
{
    const HRESULT hr = run([&] {
        if (store_) store_->close();
    });
    finder_.reset();
    store_.reset();
    log_.reset();
    return hr;
}

HRESULT StoreTranslator::GetRecordCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = 0;
    return run([&] { *pCount = static_cast<LONG>(store(Step::Find).count()); });
}

HRESULT StoreTranslator::GetRecordID(LONG nIndex, BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return run([&] {
        RecordStore& records = store(Step::Find);
        if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= records.count())
            throw StoreError(Step::Find, "There is no record with that number.");
        com::give(lpRecID, platform::utf16(records.idAt(static_cast<std::size_t>(nIndex))));
    });
}

HRESULT StoreTranslator::GetCreateDate(BSTR lpRecID, DATE* lpCreateDate)
{
    if (!lpCreateDate) return E_POINTER;
    *lpCreateDate = 0;
    return run([&] { *lpCreateDate = dateOf(store(Step::Find).created(idOf(lpRecID))); });
}

HRESULT StoreTranslator::GetModifiedDate(BSTR lpRecID, DATE* lpModDate)
{
    if (!lpModDate) return E_POINTER;
    *lpModDate = 0;
    return run([&] { *lpModDate = dateOf(store(Step::Find).modified(idOf(lpRecID))); });
}

HRESULT StoreTranslator::FindRecord(BSTR strRecID)
{
    const std::string* id = nullptr;
    bool found = false;
    const HRESULT hr = run([&] {
        id = &idOf(strRecID);
        found = store(Step::Open).exists(*id);
    });
    if (FAILED(hr)) return couldNotLook(hr);
    return found ? S_OK : run([&] { throw StoreError(Step::Find, "There is no record \"" + std::string(id->c_str()) + "\"."); });
}

HRESULT StoreTranslator::BeginReadRecord(BSTR lpRecID)
{
    return run([&] { store(Step::BeginRead).beginRead(idOf(lpRecID)); });
}

HRESULT StoreTranslator::EndReadRecord(BSTR lpRecID)
{
    return run([&] { store(Step::BeginRead).endRead(idOf(lpRecID)); });
}

HRESULT StoreTranslator::ExpectWritable(BSTR recordId)
{
    return run([&] { store(Step::Update).expectWritable(idOf(recordId)); });
}

HRESULT StoreTranslator::BeginUpdate()
{
    return run([&] { store(Step::Update).beginBatch(); });
}

HRESULT StoreTranslator::BeginAddRecord(BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return begin([&] { com::give(lpRecID, platform::utf16(store(Step::Add).beginAdd())); });
}

HRESULT StoreTranslator::BeginEditRecord(BSTR lpRecID)
{
    return begin([&] { store(Step::Edit).beginEdit(idOf(lpRecID)); });
}

HRESULT StoreTranslator::ReadField(BSTR lpRecID, REFGUID rField, VARIANT* lpvarValue)
{
    if (!lpvarValue) return E_POINTER;
    VariantInit(lpvarValue);
    return run([&] {
        const PluginField* field = fieldOf(rField);
        const bool whole = !field && givesWholeDetails(rField);
        if (!field && !whole) throw StoreError(Step::ReadField, "The store has no such field.");
        const std::string& id = idOf(lpRecID);
        RecordStore& records = store(Step::ReadField);
        const std::u16string text = whole                        ? records.readWholeDetails(id)
                                    : field->dataType == dtImage ? readPicture(id, *field)
                                                                 : records.read(id, field->type);
        if (!text.empty()) {
            *lpvarValue = com::Variant(text).detach();
            return;
        }
        lpvarValue->vt = VT_BSTR; // most fields of a contact are empty, and a null BSTR needs no memory
        lpvarValue->bstrVal = nullptr;
    });
}

HRESULT StoreTranslator::WriteField(BSTR lpRecID, REFGUID rField, VARIANT varValue)
{
    return run([&] {
        const PluginField* field = fieldOf(rField);
        if (!field) throw StoreError(Step::WriteField, "The store has no such field.");
        if (!notBegun_.empty()) throw StoreError(Step::WriteField, notBegun_);
        if (field->dataType == dtImage) return writePicture(idOf(lpRecID), *field, varValue);
        store(Step::WriteField).write(idOf(lpRecID), field->type, textOf(varValue, *field));
    });
}

HRESULT StoreTranslator::SaveRecord(BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return run([&] {
        const std::string& id = idOf(*ppRecID);
        const std::string saved = store(Step::Save).save(id);
        if (saved != id) {
            com::Bstr old = com::Bstr::attach(*ppRecID);
            *ppRecID = nullptr;
            com::give(ppRecID, platform::utf16(saved));
        }
    });
}

HRESULT StoreTranslator::DeleteRecord(BSTR lpRecID)
{
    return run([&] { store(Step::Delete).remove(idOf(lpRecID)); });
}

HRESULT StoreTranslator::EndUpdate(VARIANT_BOOL bAbort)
{
    return run([&] { store(Step::Update).endBatch(bAbort != VARIANT_FALSE); });
}

HRESULT StoreTranslator::GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType)
{
    if (!ppShortName || !ppLongName || !ppDBType) return E_POINTER;
    *ppShortName = *ppLongName = *ppDBType = nullptr;
    return com::guarded([&] {
        com::Bstr shortName(info_.shortName), longName(info_.longName);
        com::give(ppDBType, info_.databaseLabel);
        *ppShortName = shortName.detach();
        *ppLongName = longName.detach();
    });
}

HRESULT StoreTranslator::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    VariantInit(lpvtCode); // the text says everything; a number would only be appended to it
    *ppMessage1 = *ppMessage2 = nullptr;
    return com::guarded([&] {
        com::Bstr message(lastError_);
        com::give(ppMessage2, u"");
        *ppMessage1 = message.detach();
    });
}

HRESULT StoreTranslator::GetCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = static_cast<LONG>(info_.fields.size());
    return S_OK;
}

HRESULT StoreTranslator::GetFieldByIndex(LONG index, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    if (index < 0 || static_cast<std::size_t>(index) >= info_.fields.size()) return E_INVALIDARG;
    *pGuid = guidOf(info_.fields[static_cast<std::size_t>(index)]);
    return S_OK;
}

HRESULT StoreTranslator::GetFieldByName(BSTR lpName, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    for (const PluginField& field : info_.fields) {
        if (field.label != com::viewOf(lpName)) continue;
        *pGuid = guidOf(field);
        return S_OK;
    }
    return E_FAIL;
}

HRESULT StoreTranslator::GetName(REFGUID rField, BSTR* ppName)
{
    if (!ppName) return E_POINTER;
    *ppName = nullptr;
    const PluginField* field = fieldOf(rField);
    if (!field) return E_INVALIDARG;
    return com::guarded([&] { com::give(ppName, field->label); });
}

HRESULT StoreTranslator::GetFieldType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    const PluginField* field = fieldOf(rField);
    *pType = field ? field->type : givesWholeDetails(rField) ? LONG{ftDetails} : 0;
    return *pType != 0 ? S_OK : E_INVALIDARG;
}

HRESULT StoreTranslator::GetDataType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    const PluginField* field = fieldOf(rField);
    *pType = field ? field->dataType : 0;
    return field ? S_OK : E_INVALIDARG;
}

HRESULT StoreTranslator::GetMaxLength(REFGUID rField, ULONG* pLength)
{
    if (!pLength) return E_POINTER;
    *pLength = 0; // no limit
    return fieldOf(rField) ? S_OK : E_INVALIDARG;
}

HRESULT StoreTranslator::GetFlags(REFGUID rField, ULONG* pFlags)
{
    if (!pFlags) return E_POINTER;
    const PluginField* field = fieldOf(rField);
    *pFlags = field ? field->flags : 0;
    return field ? S_OK : E_INVALIDARG;
}

HRESULT StoreTranslator::SetName(REFGUID, BSTR) { return E_NOTIMPL; }
HRESULT StoreTranslator::SetFieldType(REFGUID, LONG) { return E_NOTIMPL; }
HRESULT StoreTranslator::SetDataType(REFGUID, LONG) { return E_NOTIMPL; }
HRESULT StoreTranslator::SetMaxLength(REFGUID, ULONG) { return E_NOTIMPL; }
HRESULT StoreTranslator::SetFlags(REFGUID, ULONG) { return E_NOTIMPL; }

HRESULT StoreTranslator::RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified)
{
    if (!pVerified) return E_POINTER;
    *pVerified = VARIANT_FALSE;
    const HRESULT hr = FindRecord(recordId);
    if (SUCCEEDED(hr)) *pVerified = VARIANT_TRUE;
    return hr;
}

HRESULT StoreTranslator::GetUpdatedRecordId(BSTR resourceId, BSTR* updatedId)
{
    if (!updatedId) return E_POINTER;
    *updatedId = nullptr;
    const HRESULT hr = run([&] { com::give(updatedId, platform::utf16(store(Step::Open).updatedId(idOf(resourceId)))); });
    return FAILED(hr) ? couldNotLook(hr) : hr;
}

HRESULT StoreTranslator::InitializeWithProgress(ISyncEvents*, ITrServices* pServices, HWND hwndParent, VARIANT_BOOL bReconfig)
{
    return Initialize(pServices, hwndParent, bReconfig);
}

HRESULT StoreTranslator::IsPIMAvailable(VARIANT_BOOL* pAvailable)
{
    if (!pAvailable) return E_POINTER;
    *pAvailable = VARIANT_TRUE; // files need no program
    return S_OK;
}

// There is no default database: the setting stays unchanged, and a run without a database reports that.
HRESULT StoreTranslator::InitializeDefault(ITrServices* pServices, HWND) { return pServices ? S_OK : E_POINTER; }

HRESULT StoreTranslator::InitializeDatabase(BSTR dataBase, BSTR, BSTR)
{
    return run([&] { open(nullptr, com::viewOf(dataBase), info_.open); });
}

HRESULT StoreTranslator::GetDatabase(BSTR* dataBase)
{
    if (!dataBase) return E_POINTER;
    *dataBase = nullptr;
    return com::guarded([&] { com::give(dataBase, database_); });
}

HRESULT StoreTranslator::InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR, BSTR)
{
    return run([&] { open(pServices, com::viewOf(dataBase), info_.open); });
}

} // namespace mb::plugin
