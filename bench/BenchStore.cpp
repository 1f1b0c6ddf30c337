#include "BenchStore.h"

#include <algorithm>
#include <array>

namespace mbbench {
namespace {

constexpr std::array fieldTable = std::to_array<BenchStore::Field>({{ftNamePrefix, u"Prefix", 0},
                                                                    {ftFirstName, u"First name", 0},
                                                                    {ftMiddleName, u"Middle name", 0},
                                                                    {ftLastName, u"Last name", 0},
                                                                    {ftNameSuffix, u"Suffix", 0},
                                                                    {ftTitle, u"Title", 0},
                                                                    {ftCompany, u"Company", 0},
                                                                    {ftStreet1, u"Street", 0},
                                                                    {ftCity1, u"City", 0},
                                                                    {ftState1, u"State", 0},
                                                                    {ftZipCode1, u"Zip", 0},
                                                                    {ftCountry1, u"Country", 0},
                                                                    {ftNotes, u"Notes", 0},
                                                                    {ftPhone, u"Phone", ffPhoneNumber},
                                                                    {ftEmail1, u"E-mail", 0}});

std::size_t placeOfType(LONG type)
{
    const auto at = std::ranges::find(fieldTable, type, &BenchStore::Field::type);
    if (at == fieldTable.end()) throw com::Error(E_INVALIDARG);
    return static_cast<std::size_t>(at - fieldTable.begin());
}

} // namespace

std::size_t BenchStore::fieldCount() noexcept { return fieldTable.size(); }

const BenchStore::Field& BenchStore::fieldAt(std::size_t place) { return fieldTable.at(place); }

GUID BenchStore::guidAt(std::size_t place) const
{
    return {
        0x7A120000, static_cast<std::uint16_t>(place), 0x4C0D, {0x9E, 0x55, 0x2F, 0, 0, 0, 0, static_cast<std::uint8_t>(prefix_.front())}};
}

std::size_t BenchStore::placeOf(const GUID& field) const
{
    if (field.Data2 >= fieldTable.size() || guidAt(field.Data2) != field) throw com::Error(E_INVALIDARG);
    return field.Data2;
}

std::u16string BenchStore::newId()
{
    const std::string digits = std::to_string(next_++);
    return prefix_ + std::u16string(digits.begin(), digits.end());
}

void BenchStore::add(const Values& values)
{
    std::vector<std::pair<std::size_t, std::u16string>> places;
    for (const auto& [type, text] : values) places.emplace_back(placeOfType(type), text);
    put(newId(), places);
}

void BenchStore::set(const std::u16string& id, LONG type, std::u16string text) { put(id, {{placeOfType(type), std::move(text)}}); }

const BenchRecord* BenchStore::find(std::u16string_view id) const
{
    const auto at = records_.find(id);
    return at == records_.end() ? nullptr : &at->second;
}

void BenchStore::put(const std::u16string& id, const std::vector<std::pair<std::size_t, std::u16string>>& changes)
{
    const auto [at, isNew] = records_.try_emplace(id);
    BenchRecord& record = at->second;
    if (isNew) {
        order.push_back(id);
        record.values.resize(fieldCount());
        record.created = tick();
    }
    for (const auto& [place, text] : changes) record.values[place] = text;
    record.modified = tick();
}

bool BenchStore::erase(std::u16string_view id)
{
    const auto at = records_.find(id);
    if (at == records_.end()) return false;
    std::erase(order, at->first);
    records_.erase(at);
    return true;
}

namespace {

using com::guarded;

class BenchTranslator final : public com::Object<ITranslator, IFieldList, IField, com::Dual<ITranslatorInfo>> {
public:
    explicit BenchTranslator(IUnknown* outer) noexcept : Object(outer) {}
    BenchStore* store = nullptr;

    HRESULT STDMETHODCALLTYPE Initialize(ITrServices*, HWND, VARIANT_BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices*, BSTR* lpDatabase, BSTR* lpDescription) override
    {
        return guarded([&] {
            com::give(lpDatabase, store->database);
            com::give(lpDescription, u"A store of the benchmarks");
        });
    }
    HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG* pCaps) override
    {
        *pCaps = capTimestamps | capRecordGUIDs;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices*, BSTR lpDatabase) override
    {
        return guarded([&] { store->database = com::textOf(lpDatabase); });
    }
    HRESULT STDMETHODCALLTYPE Cleanup() override { return S_OK; }

    HRESULT STDMETHODCALLTYPE GetRecordCount(LONG* pCount) override
    {
        *pCount = static_cast<LONG>(store->order.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetRecordID(LONG nIndex, BSTR* lpRecID) override
    {
        return guarded([&] { com::give(lpRecID, store->order.at(static_cast<std::size_t>(nIndex))); });
    }
    HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR lpRecID, DATE* lpCreateDate) override
    {
        return guarded([&] { *lpCreateDate = record(lpRecID).created; });
    }
    HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR lpRecID, DATE* lpModDate) override
    {
        return guarded([&] { *lpModDate = record(lpRecID).modified; });
    }
    HRESULT STDMETHODCALLTYPE FindRecord(BSTR strRecID) override
    {
        return guarded([&] { (void)record(strRecID); });
    }

    HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR lpRecID) override
    {
        return guarded([&] { reading_ = &record(lpRecID); });
    }
    HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR) override
    {
        reading_ = nullptr;
        return S_OK;
    }
    // Requires: the record is the one that BeginReadRecord named, or the one that is being written.
    HRESULT STDMETHODCALLTYPE ReadField(BSTR, REFGUID rField, VARIANT* lpvarValue) override
    {
        VariantInit(lpvarValue);
        return guarded([&] {
            const std::size_t place = store->placeOf(rField);
            const BenchRecord* const source = reading_ ? reading_ : store->find(writtenId_);
            const std::u16string* text = source ? &source->values[place] : nullptr;
            if (!reading_)
                for (const auto& [writtenPlace, written] : written_)
                    if (writtenPlace == place) text = &written;
            if (text && !text->empty()) *lpvarValue = com::Variant(*text).detach();
        });
    }

    HRESULT STDMETHODCALLTYPE BeginUpdate() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR* lpRecID) override
    {
        return guarded([&] {
            beginWrite(store->newId());
            com::give(lpRecID, writtenId_);
        });
    }
    HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR lpRecID) override
    {
        return guarded([&] {
            (void)record(lpRecID);
            beginWrite(com::textOf(lpRecID));
        });
    }
    HRESULT STDMETHODCALLTYPE WriteField(BSTR, REFGUID rField, VARIANT varValue) override
    {
        return guarded([&] {
            const std::u16string_view text = varValue.vt == VT_BSTR ? com::viewOf(varValue.bstrVal) : std::u16string_view{};
            written_.emplace_back(store->placeOf(rField), text);
        });
    }
    HRESULT STDMETHODCALLTYPE SaveRecord(BSTR*) override
    {
        return guarded([&] {
            store->put(writtenId_, written_);
            beginWrite({});
        });
    }
    HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR lpRecID) override
    {
        return guarded([&] { return store->erase(com::viewOf(lpRecID)) ? S_OK : E_FAIL; });
    }

    HRESULT STDMETHODCALLTYPE GetCount(LONG* pCount) override
    {
        *pCount = static_cast<LONG>(BenchStore::fieldCount());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, GUID* pGuid) override
    {
        *pGuid = store->guidAt(static_cast<std::size_t>(index));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR lpName, GUID* pGuid) override
    {
        for (std::size_t place = 0; place < BenchStore::fieldCount(); ++place)
            if (BenchStore::fieldAt(place).name == com::viewOf(lpName)) {
                *pGuid = store->guidAt(place);
                return S_OK;
            }
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE GetName(REFGUID rField, BSTR* ppName) override
    {
        return guarded([&] { com::give(ppName, field(rField).name); });
    }
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID rField, LONG* pType) override
    {
        return guarded([&] { *pType = field(rField).type; });
    }
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID rField, LONG* pType) override
    {
        return guarded([&] {
            (void)field(rField);
            *pType = dtString;
        });
    }
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID rField, ULONG* pLength) override
    {
        return guarded([&] {
            (void)field(rField);
            *pLength = 0;
        });
    }
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID rField, ULONG* pFlags) override
    {
        return guarded([&] { *pFlags = field(rField).flags; });
    }
    HRESULT STDMETHODCALLTYPE SetName(REFGUID, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID, ULONG) override { return E_NOTIMPL; }

    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* ppShortName, BSTR* ppLongName, BSTR* ppDBType) override
    {
        return guarded([&] {
            com::give(ppShortName, store->database);
            com::give(ppLongName, store->database);
            com::give(ppDBType, u"Store:");
        });
    }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* lpvtCode, BSTR* ppMessage1, BSTR* ppMessage2) override
    {
        VariantInit(lpvtCode);
        *ppMessage1 = *ppMessage2 = nullptr;
        return S_OK;
    }

private:
    const BenchRecord& record(BSTR id) const
    {
        const BenchRecord* const found = store->find(com::viewOf(id));
        if (!found) throw com::Error(static_cast<HRESULT>(0x80040207));
        return *found;
    }
    const BenchStore::Field& field(REFGUID guid) const { return BenchStore::fieldAt(store->placeOf(guid)); }
    void beginWrite(std::u16string id)
    {
        writtenId_ = std::move(id);
        written_.clear();
    }

    const BenchRecord* reading_ = nullptr;
    std::u16string writtenId_;
    std::vector<std::pair<std::size_t, std::u16string>> written_;
};

} // namespace

HRESULT createTranslator(BenchStore& store, IUnknown* outer, REFIID riid, void** out) noexcept
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return guarded([&] {
        auto translator = com::make<BenchTranslator>();
        translator->store = &store;
        return translator->QueryInterface(riid, out);
    });
}

} // namespace mbbench
