#include "VCardTranslator.h"

#include "Charset.h"
#include "FieldTable.h"

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace mb::vcard {
namespace {

constexpr int kBirthday = ftBirthday;
constexpr std::u16string_view kShortName = u"vCard";
constexpr std::u16string_view kLongName = u"vCard folder or file";

// {38344600-tttt-459C-B1EC-FF40D8C0DF27}, tttt being the field type.
constexpr GUID kFieldBase{0x38344600, 0, 0x459C, {0xB1, 0xEC, 0xFF, 0x40, 0xD8, 0xC0, 0xDF, 0x27}};

const Field* fieldOf(REFGUID guid)
{
    GUID base = guid;
    base.Data2 = 0;
    return IsEqualGUID(base, kFieldBase) ? findField(guid.Data2) : nullptr;
}

std::string idOf(BSTR id) { return toUtf8(com::viewOf(id)); }

// Days since 1899-12-30, in UTC all over.
DATE dateOf(std::int64_t nanoseconds)
{
    constexpr double kDay = 86'400e9, kUnixEpoch = 25'569;
    return kUnixEpoch + static_cast<double>(nanoseconds) / kDay;
}

std::u16string isoDate(DATE date)
{
    const auto days = std::chrono::sys_days(std::chrono::days(static_cast<int>(std::floor(date)) - 25'569));
    const std::chrono::year_month_day ymd{days};
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u", static_cast<int>(ymd.year()), static_cast<unsigned>(ymd.month()),
                  static_cast<unsigned>(ymd.day()));
    return fromUtf8(text);
}

bool looksIso(std::u16string_view text)
{
    return text.size() >= 8 && text.find_first_not_of(u"0123456789-T:Z+. ") == text.npos && text.find(u'/') == text.npos;
}

// The text of a value. A birthday comes as a date or as a text in whatever form the other store shows dates.
std::u16string textOf(const VARIANT& value, const Field& field)
{
    if (value.vt == VT_EMPTY || value.vt == VT_NULL) return {};
    const bool birthday = field.type == kBirthday;
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
    if (birthday && !text.empty() && !looksIso(text) && SUCCEEDED(VarDateFromStr(com::ole(text.c_str()), 0x409, 0, &date)))
        return isoDate(date);
    return text;
}

com::Ptr<IDataStream> settingsOf(ITrServices* services) { return com::Ptr<ITrServices>(services).as<IDataStream>(); }

std::u16string databaseOf(ITrServices* services)
{
    com::Bstr database;
    (void)settingsOf(services)->GetString(com::Bstr(u"Database").get(), database.put()); // an absent key leaves the text empty
    return database.text();
}

} // namespace

GUID fieldGuid(int type)
{
    GUID guid = kFieldBase;
    guid.Data2 = static_cast<std::uint16_t>(type);
    return guid;
}

template <class F> HRESULT VCardTranslator::run(F&& body) noexcept
{
    return com::guarded([&]() -> HRESULT {
        try {
            body();
            return S_OK;
        } catch (const StoreError& e) {
            lastError_ = fromUtf8(e.what());
            return static_cast<HRESULT>(e.step());
        } catch (const FileError& e) {
            lastError_ = fromUtf8(e.what());
            return E_FAIL;
        }
    });
}

CardStore& VCardTranslator::store(Step step)
{
    if (!store_) throw StoreError(step, "The vCard folder is not open.");
    return *store_;
}

// The text is a format to the log, so a percent sign is doubled.
void VCardTranslator::log(const std::string& text) noexcept
{
    if (!log_) return;
    (void)com::guarded([&] {
        std::u16string line;
        for (const char16_t c : std::u16string(kShortName) + u": " + fromUtf8(text)) line.append(c == u'%' ? 2 : 1, c);
        return log_->AppendString(com::Bstr(line).get());
    });
}

void VCardTranslator::open(ITrServices* services, std::u16string_view database)
{
    lastError_.clear();
    store_.reset();
    log_ = com::Ptr<ITrServices>(services).tryAs<ILogFile>();
    store_.emplace(toUtf8(database), userCacheFolder(), [this](const std::string& text) { log(text); });
    database_ = database;
}

HRESULT VCardTranslator::Initialize(ITrServices* pServices, HWND, VARIANT_BOOL)
{
    if (!pServices) return E_POINTER;
    return run([&] { open(pServices, databaseOf(pServices)); });
}

HRESULT VCardTranslator::GetSyncParams(ITrServices* pServices, BSTR* lpDatabase, BSTR* lpDescription)
{
    if (!pServices || !lpDatabase || !lpDescription) return E_POINTER;
    *lpDatabase = *lpDescription = nullptr;
    return run([&] {
        com::Bstr database(databaseOf(pServices));
        com::give(lpDescription, kLongName);
        *lpDatabase = database.detach();
    });
}

HRESULT VCardTranslator::GetTranslatorCaps(ULONG* pCaps)
{
    if (!pCaps) return E_POINTER;
    *pCaps = capImport | capExport | capSynchronize | capTimestamps | capRecordGUIDs;
    return S_OK;
}

HRESULT VCardTranslator::SetDatabase(ITrServices* pServices, BSTR lpDatabase)
{
    if (!pServices) return E_POINTER;
    return com::guarded([&] {
        const std::u16string_view given = com::viewOf(lpDatabase);
        const std::u16string path = given.empty() ? std::u16string() : std::filesystem::absolute(given).u16string();
        return settingsOf(pServices)->SetString(com::Bstr(u"Database").get(), com::Bstr(path).get());
    });
}

HRESULT VCardTranslator::Cleanup()
{
    const HRESULT hr = run([&] {
        if (store_) store_->close();
    });
    store_.reset();
    log_.reset();
    return hr;
}

HRESULT VCardTranslator::GetRecordCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = 0;
    return run([&] { *pCount = static_cast<LONG>(store(Step::Find).count()); });
}

HRESULT VCardTranslator::GetRecordID(LONG nIndex, BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return run([&] {
        CardStore& cards = store(Step::Find);
        if (nIndex < 0 || static_cast<std::size_t>(nIndex) >= cards.count())
            throw StoreError(Step::Find, "There is no card of that number.");
        com::give(lpRecID, fromUtf8(cards.idAt(static_cast<std::size_t>(nIndex))));
    });
}

// The files do not tell when a card was made; the date of its last change is the nearest there is.
HRESULT VCardTranslator::GetCreateDate(BSTR lpRecID, DATE* lpCreateDate) { return GetModifiedDate(lpRecID, lpCreateDate); }

HRESULT VCardTranslator::GetModifiedDate(BSTR lpRecID, DATE* lpModDate)
{
    if (!lpModDate) return E_POINTER;
    *lpModDate = 0;
    return run([&] { *lpModDate = dateOf(store(Step::Find).modified(idOf(lpRecID))); });
}

HRESULT VCardTranslator::FindRecord(BSTR strRecID)
{
    return run([&] {
        const std::string id = idOf(strRecID);
        if (!store(Step::Find).exists(id)) throw StoreError(Step::Find, "There is no card \"" + std::string(id.c_str()) + "\".");
    });
}

HRESULT VCardTranslator::BeginReadRecord(BSTR lpRecID)
{
    return run([&] { store(Step::BeginRead).beginRead(idOf(lpRecID)); });
}

HRESULT VCardTranslator::EndReadRecord(BSTR lpRecID)
{
    return run([&] { store(Step::BeginRead).endRead(idOf(lpRecID)); });
}

HRESULT VCardTranslator::BeginUpdate()
{
    return run([&] { store(Step::Update).beginBatch(); });
}

HRESULT VCardTranslator::BeginAddRecord(BSTR* lpRecID)
{
    if (!lpRecID) return E_POINTER;
    *lpRecID = nullptr;
    return run([&] { com::give(lpRecID, fromUtf8(store(Step::Add).beginAdd())); });
}

HRESULT VCardTranslator::BeginEditRecord(BSTR lpRecID)
{
    return run([&] { store(Step::Edit).beginEdit(idOf(lpRecID)); });
}

HRESULT VCardTranslator::ReadField(BSTR lpRecID, REFGUID rField, VARIANT* lpvarValue)
{
    if (!lpvarValue) return E_POINTER;
    VariantInit(lpvarValue);
    return run([&] {
        const Field* field = fieldOf(rField);
        if (!field) throw StoreError(Step::ReadField, "A vCard has no such field.");
        *lpvarValue = com::Variant(store(Step::ReadField).read(idOf(lpRecID), field->type)).detach();
    });
}

HRESULT VCardTranslator::WriteField(BSTR lpRecID, REFGUID rField, VARIANT varValue)
{
    return run([&] {
        const Field* field = fieldOf(rField);
        if (!field) throw StoreError(Step::WriteField, "A vCard has no such field.");
        store(Step::WriteField).write(idOf(lpRecID), field->type, textOf(varValue, *field));
    });
}

HRESULT VCardTranslator::SaveRecord(BSTR* ppRecID)
{
    if (!ppRecID) return E_POINTER;
    return run([&] {
        const std::string id = idOf(*ppRecID);
        const std::string saved = store(Step::Save).save(id);
        if (saved != id) {
            com::Bstr old = com::Bstr::attach(*ppRecID);
            *ppRecID = nullptr;
            com::give(ppRecID, fromUtf8(saved));
        }
    });
}

HRESULT VCardTranslator::DeleteRecord(BSTR lpRecID)
{
    return run([&] { store(Step::Delete).remove(idOf(lpRecID)); });
}

HRESULT VCardTranslator::EndUpdate(VARIANT_BOOL bAbort)
{
    return run([&] { store(Step::Update).endBatch(bAbort != VARIANT_FALSE); });
}

HRESULT VCardTranslator::GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType)
{
    if (!ppShortName || !ppLongName || !ppDBType) return E_POINTER;
    *ppShortName = *ppLongName = *ppDBType = nullptr;
    return com::guarded([&] {
        com::Bstr shortName(kShortName), longName(kLongName);
        com::give(ppDBType, u"vCard folder:");
        *ppShortName = shortName.detach();
        *ppLongName = longName.detach();
    });
}

HRESULT VCardTranslator::GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2)
{
    if (!lpvtCode || !ppMessage1 || !ppMessage2) return E_POINTER;
    VariantInit(lpvtCode); // the text says it all, a number would only stand behind it
    *ppMessage1 = *ppMessage2 = nullptr;
    return com::guarded([&] {
        com::Bstr message(lastError_);
        com::give(ppMessage2, u"");
        *ppMessage1 = message.detach();
    });
}

HRESULT VCardTranslator::GetCount(LONG* pCount)
{
    if (!pCount) return E_POINTER;
    *pCount = static_cast<LONG>(fields().size());
    return S_OK;
}

HRESULT VCardTranslator::GetFieldByIndex(LONG index, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    if (index < 0 || static_cast<std::size_t>(index) >= fields().size()) return E_INVALIDARG;
    *pGuid = fieldGuid(fields()[static_cast<std::size_t>(index)].type);
    return S_OK;
}

HRESULT VCardTranslator::GetFieldByName(BSTR lpName, GUID* pGuid)
{
    if (!pGuid) return E_POINTER;
    *pGuid = {};
    for (const Field& field : fields()) {
        if (field.label != com::viewOf(lpName)) continue;
        *pGuid = fieldGuid(field.type);
        return S_OK;
    }
    return E_FAIL;
}

HRESULT VCardTranslator::GetName(REFGUID rField, BSTR* ppName)
{
    if (!ppName) return E_POINTER;
    *ppName = nullptr;
    const Field* field = fieldOf(rField);
    if (!field) return E_INVALIDARG;
    return com::guarded([&] { com::give(ppName, field->label); });
}

HRESULT VCardTranslator::GetFieldType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    const Field* field = fieldOf(rField);
    *pType = field ? field->type : 0;
    return field ? S_OK : E_INVALIDARG;
}

HRESULT VCardTranslator::GetDataType(REFGUID rField, LONG* pType)
{
    if (!pType) return E_POINTER;
    const Field* field = fieldOf(rField);
    *pType = !field ? 0 : field->shape == Shape::Date ? dtDateTime : dtString;
    return field ? S_OK : E_INVALIDARG;
}

HRESULT VCardTranslator::GetMaxLength(REFGUID rField, ULONG* pLength)
{
    if (!pLength) return E_POINTER;
    *pLength = 0; // no limit
    return fieldOf(rField) ? S_OK : E_INVALIDARG;
}

HRESULT VCardTranslator::GetFlags(REFGUID rField, ULONG* pFlags)
{
    if (!pFlags) return E_POINTER;
    const Field* field = fieldOf(rField);
    *pFlags = field && field->shape == Shape::Phone ? ffPhoneNumber : 0;
    return field ? S_OK : E_INVALIDARG;
}

HRESULT VCardTranslator::SetName(REFGUID, BSTR) { return E_NOTIMPL; }
HRESULT VCardTranslator::SetFieldType(REFGUID, LONG) { return E_NOTIMPL; }
HRESULT VCardTranslator::SetDataType(REFGUID, LONG) { return E_NOTIMPL; }
HRESULT VCardTranslator::SetMaxLength(REFGUID, ULONG) { return E_NOTIMPL; }
HRESULT VCardTranslator::SetFlags(REFGUID, ULONG) { return E_NOTIMPL; }

HRESULT VCardTranslator::RecordVerified(BSTR recordId, VARIANT_BOOL* pVerified)
{
    if (!pVerified) return E_POINTER;
    *pVerified = VARIANT_FALSE;
    const HRESULT hr = FindRecord(recordId);
    if (SUCCEEDED(hr)) *pVerified = VARIANT_TRUE;
    return hr;
}

HRESULT VCardTranslator::IsPIMAvailable(VARIANT_BOOL* pAvailable)
{
    if (!pAvailable) return E_POINTER;
    *pAvailable = VARIANT_TRUE; // files need no program
    return S_OK;
}

// There is no folder to guess: the database stays what it is, and a run without one says so.
HRESULT VCardTranslator::InitializeDefault(ITrServices* pServices, HWND) { return pServices ? S_OK : E_POINTER; }

HRESULT VCardTranslator::InitializeDatabase(BSTR dataBase, BSTR, BSTR)
{
    return run([&] { open(nullptr, com::viewOf(dataBase)); });
}

HRESULT VCardTranslator::GetDatabase(BSTR* dataBase)
{
    if (!dataBase) return E_POINTER;
    *dataBase = nullptr;
    return com::guarded([&] { com::give(dataBase, database_); });
}

HRESULT VCardTranslator::InitializeDatabaseEx(ITrServices* pServices, BSTR dataBase, BSTR, BSTR)
{
    return run([&] { open(pServices, com::viewOf(dataBase)); });
}

} // namespace mb::vcard
