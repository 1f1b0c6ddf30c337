#include "FakeTranslator.h"

#include "text.h"
#include <algorithm>
#include <functional>

namespace mbtest {
namespace {

using com::guarded;

std::string ascii(std::u16string_view text) { return platform::utf8(text); }
std::string ascii(BSTR text) { return ascii(com::viewOf(text)); }

class FakeTranslator final
    : public com::Object<ITranslator, IFieldList, IField, com::Dual<ITranslatorInfo>, com::Dual<IRecordUpdater>, com::Dual<ICategories>,
                         com::Dual<IDynamicFieldLoader>, com::Dual<IFieldValidator>, com::Dual<IImageSupport>, com::Dual<IPIMUserAccess>,
                         com::Dual<IPIMSetUp>, com::Dual<IRecordVerifier>> {
public:
    explicit FakeTranslator(IUnknown* outer) noexcept : Object(outer) {}
    FakeSide side;

    // ---- Opening
    HRESULT STDMETHODCALLTYPE Initialize(ITrServices*, HWND, VARIANT_BOOL) override
    {
        return guarded([&] {
            note("Initialize");
            initialized_ = true;
        });
    }
    HRESULT STDMETHODCALLTYPE InitializeWithProgress(ISyncEvents*, ITrServices*, HWND, VARIANT_BOOL) override
    {
        return guarded([&] {
            note("InitializeWithProgress");
            initialized_ = true;
        });
    }
    HRESULT STDMETHODCALLTYPE InitializeCategories(ITrServices*, HWND, VARIANT_BOOL) override
    {
        return guarded([&] {
            note("InitializeCategories");
            initialized_ = categoryMode_ = true;
        });
    }
    HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices*, BSTR* database, BSTR* description) override
    {
        return guarded([&] {
            note("GetSyncParams");
            com::give(database, options().database);
            com::give(description, u"a store of the tests");
        });
    }
    HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG* caps) override
    {
        return guarded([&] {
            note("GetTranslatorCaps");
            *caps = options().caps;
        });
    }
    HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices*, BSTR database) override
    {
        return guarded([&] {
            note("SetDatabase");
            options().database = com::textOf(database);
        });
    }
    HRESULT STDMETHODCALLTYPE Cleanup() override
    {
        return guarded([&] {
            note("Cleanup");
            initialized_ = false;
        });
    }

    // ---- Listing
    HRESULT STDMETHODCALLTYPE GetRecordCount(LONG* count) override
    {
        return guarded([&] {
            noteOpen("GetRecordCount");
            *count = static_cast<LONG>(order().size());
        });
    }
    HRESULT STDMETHODCALLTYPE GetRecordID(LONG index, BSTR* id) override
    {
        return guarded([&] {
            noteOpen("GetRecordID");
            com::give(id, order().at(static_cast<std::size_t>(index)));
        });
    }
    HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR id, DATE* date) override
    {
        return guarded([&] {
            noteOpen("GetCreateDate", id);
            *date = record(id).created;
        });
    }
    HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR id, DATE* date) override
    {
        return guarded([&] {
            noteOpen("GetModifiedDate", id);
            *date = options().dates ? record(id).modified : 0.0;
        });
    }
    HRESULT STDMETHODCALLTYPE FindRecord(BSTR id) override
    {
        return guarded([&] {
            noteOpen("FindRecord", id);
            (void)record(id);
        });
    }

    // ---- Reading and writing
    HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR id) override
    {
        return guarded([&] {
            noteOpen("BeginReadRecord", id);
            (void)record(id);
            if (reading_) violation("BeginReadRecord while a record is being read");
            reading_ = com::textOf(id);
        });
    }
    HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR id) override
    {
        return guarded([&] {
            noteOpen("EndReadRecord", id);
            if (!reading_) violation("EndReadRecord without BeginReadRecord");
            reading_.reset();
        });
    }
    HRESULT STDMETHODCALLTYPE BeginUpdate() override
    {
        return guarded([&] {
            noteOpen("BeginUpdate");
            if (!options().batches) throw com::Error(E_NOTIMPL);
            if (batch_) violation("BeginUpdate twice");
            batch_ = true;
        });
    }
    HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR* id) override
    {
        return guarded([&] {
            noteOpen("BeginAddRecord");
            checkBatch("BeginAddRecord");
            const std::u16string made = (categoryMode_ ? u"C" : u"") + side.store->newId();
            writing_ = {made, true, {}};
            com::give(id, made);
        });
    }
    HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR id) override
    {
        return guarded([&] {
            noteOpen("BeginEditRecord", id);
            checkBatch("BeginEditRecord");
            (void)record(id);
            writing_ = {com::textOf(id), false, {}};
        });
    }
    HRESULT STDMETHODCALLTYPE ReadField(BSTR id, REFGUID field, VARIANT* value) override
    {
        VariantInit(value);
        return guarded([&] {
            const FakeField& f = fieldOf(field);
            if (side.log->enabled) noteOpen("ReadField", id, ascii(f.name));
            if (reading_ != com::textOf(id)) violation("ReadField of a record that is not being read");
            const auto& values = record(id).values;
            const auto at = values.find(f.type);
            if (at != values.end()) *value = com::Variant(at->second).detach(); // else VT_EMPTY: the empty text
        });
    }
    HRESULT STDMETHODCALLTYPE WriteField(BSTR id, REFGUID field, VARIANT value) override
    {
        return guarded([&] {
            const FakeField& f = fieldOf(field);
            const auto text = value.vt == VT_BSTR ? com::textOf(value.bstrVal) : std::u16string();
            if (side.log->enabled) noteOpen("WriteField", id, ascii(f.name) + "=" + ascii(text));
            if (!writing_ || writing_->id != com::viewOf(id)) violation("WriteField of a record that is not being written");
            if (isImage(f.type) && !imagesAllowed_) return;
            writing_->values[f.type] = text;
        });
    }
    HRESULT STDMETHODCALLTYPE SaveRecord(BSTR* id) override
    {
        return guarded([&] {
            noteOpen("SaveRecord", *id);
            if (!writing_ || writing_->id != com::viewOf(*id)) {
                violation("SaveRecord without a record being written");
                throw com::Error(E_FAIL);
            }
            store(id);
        });
    }
    HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR id) override
    {
        return guarded([&] {
            noteOpen("DeleteRecord", id);
            checkBatch("DeleteRecord");
            (void)record(id);
            records().erase(com::textOf(id));
            std::erase(order(), com::viewOf(id));
        });
    }
    HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL abort) override
    {
        return guarded([&] {
            noteOpen("EndUpdate", nullptr, abort ? "abort" : "");
            if (!options().batches) throw com::Error(E_NOTIMPL);
            batch_ = false;
        });
    }

    // ---- Fields
    HRESULT STDMETHODCALLTYPE GetCount(LONG* count) override
    {
        return guarded([&] { *count = static_cast<LONG>(side.store->fields.size()); });
    }
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, GUID* field) override
    {
        return guarded([&] { *field = side.store->guidOf(side.store->fields.at(static_cast<std::size_t>(index)).type); });
    }
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR name, GUID* field) override
    {
        return guarded([&] {
            for (const FakeField& f : side.store->fields)
                if (f.name == com::viewOf(name)) {
                    *field = side.store->guidOf(f.type);
                    return S_OK;
                }
            return E_FAIL;
        });
    }
    HRESULT STDMETHODCALLTYPE GetName(REFGUID field, BSTR* name) override
    {
        return guarded([&] { com::give(name, fieldOf(field).name); });
    }
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID field, LONG* type) override
    {
        return guarded([&] { *type = fieldOf(field).type; });
    }
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID field, LONG* type) override
    {
        return guarded([&] { *type = isImage(fieldOf(field).type) ? dtImage : dtString; });
    }
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID field, ULONG* length) override
    {
        return guarded([&] { *length = fieldOf(field).maxLength; });
    }
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID field, ULONG* flags) override
    {
        return guarded([&] { *flags = fieldOf(field).flags; });
    }
    HRESULT STDMETHODCALLTYPE SetName(REFGUID, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID, ULONG) override { return E_NOTIMPL; }

    // ---- What is optional
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* shortName, BSTR* longName, BSTR* label) override
    {
        return guarded([&] {
            com::give(shortName, options().shortName);
            com::give(longName, options().longName);
            com::give(label, u"Store:");
        });
    }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* code, BSTR* message1, BSTR* message2) override
    {
        return guarded([&] {
            note("GetLastError");
            VariantInit(code);
            if (options().errorCode) *code = com::Variant(*options().errorCode).detach();
            com::give(message1, options().errorMessage1);
            com::give(message2, options().errorMessage2);
        });
    }
    HRESULT STDMETHODCALLTYPE GetUpdatedRecordId(BSTR id, BSTR* updated) override
    {
        return guarded([&] {
            noteOpen("GetUpdatedRecordId", id);
            const auto at = options().changedIds.find(com::textOf(id));
            com::give(updated, at == options().changedIds.end() ? std::u16string_view() : std::u16string_view(at->second));
        });
    }
    HRESULT STDMETHODCALLTYPE SaveUpdatedRecordIds() override
    {
        return guarded([&] {
            noteOpen("SaveUpdatedRecordIds");
            options().changedIds.clear();
        });
    }
    HRESULT STDMETHODCALLTYPE LoadDynamicFields(ITrServices*, LONG available, LONG* next) override
    {
        return guarded([&] {
            note("LoadDynamicFields", nullptr, std::to_string(available));
            *next = available;
        });
    }
    HRESULT STDMETHODCALLTYPE ValidateFieldList(ITrServices*) override
    {
        return guarded([&] { note("ValidateFieldList"); });
    }
    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR id, REFGUID field, VARIANT_BOOL* has) override
    {
        return guarded([&] {
            noteOpen("HasFieldValue", id);
            *has = imageOf(id, field).empty() ? VARIANT_FALSE : VARIANT_TRUE;
        });
    }
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL allow) override
    {
        return guarded([&] {
            note("SetAllowImage", nullptr, allow ? "yes" : "no");
            imagesAllowed_ = allow != VARIANT_FALSE;
        });
    }
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR id, REFGUID field) override
    {
        return guarded([&] {
            noteOpen("BeginReadImageData", id);
            imageSize_ = static_cast<LONGLONG>(imageOf(id, field).size());
        });
    }
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR id, REFGUID) override
    {
        return guarded([&] { noteOpen("EndReadImageData", id); });
    }
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG* size) override
    {
        return guarded([&] {
            noteOpen("GetImageDataSize");
            *size = imageSize_;
        });
    }
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR* hash) override
    {
        return guarded([&] { com::give(hash, u""); });
    }
    HRESULT STDMETHODCALLTYPE CanRead(ITrServices*, HWND, VARIANT_BOOL, VARIANT_BOOL* can) override
    {
        *can = VARIANT_TRUE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE CanWrite(ITrServices*, HWND, VARIANT_BOOL, VARIANT_BOOL* can) override
    {
        return guarded([&] {
            noteOpen("CanWrite");
            *can = options().canWrite ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }
    HRESULT STDMETHODCALLTYPE IsPIMAvailable(VARIANT_BOOL* available) override
    {
        *available = VARIANT_TRUE;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE InitializeDefault(ITrServices*, HWND) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE RecordVerified(BSTR id, VARIANT_BOOL* verified) override
    {
        return guarded([&] {
            noteOpen("RecordVerified", id);
            *verified = record(id).verified ? VARIANT_TRUE : VARIANT_FALSE;
        });
    }

    [[nodiscard]] bool offers(REFIID riid) const noexcept override
    {
        const FakeOptions& o = side.store->options;
        const std::pair<IID, bool> switches[] = {
            {__uuidof(IFieldList), o.fieldList},      {__uuidof(IField), o.field},
            {__uuidof(ITranslatorInfo), o.info},      {__uuidof(IRecordUpdater), o.updater},
            {__uuidof(ICategories), o.categories},    {__uuidof(IDynamicFieldLoader), o.dynamicFields},
            {__uuidof(IFieldValidator), o.validator}, {__uuidof(IImageSupport), o.images},
            {__uuidof(IPIMUserAccess), o.userAccess}, {__uuidof(IPIMSetUp), o.setUp},
            {__uuidof(IRecordVerifier), o.verifier},
        };
        for (const auto& [iid, on] : switches)
            if (iid == riid) return on;
        return true;
    }

private:
    struct Writing {
        std::u16string id;
        bool isNew = false;
        FakeValues values;
    };

    FakeOptions& options() { return side.store->options; }
    static bool isImage(LONG type) { return type == ftImage1 || type == ftImage2; }
    std::vector<std::u16string>& order() { return categoryMode_ ? side.store->categoryOrder : side.store->order; }
    std::unordered_map<std::u16string, FakeRecord>& records() { return categoryMode_ ? side.store->categories : side.store->records; }
    FakeRecord& record(BSTR id)
    {
        const auto at = records().find(com::textOf(id));
        if (at == records().end()) throw com::Error(static_cast<HRESULT>(0x80040207));
        return at->second;
    }
    const FakeField& fieldOf(REFGUID guid)
    {
        const FakeField* field = side.store->fieldOf(guid);
        if (!field) throw com::Error(E_INVALIDARG);
        return *field;
    }
    std::u16string imageOf(BSTR id, REFGUID field)
    {
        const auto& values = record(id).values;
        const auto at = values.find(fieldOf(field).type);
        return at == values.end() ? std::u16string() : at->second;
    }
    void store(BSTR* id)
    {
        std::u16string final = writing_->id;
        FakeRecord& saved = records()[final];
        if (writing_->isNew) {
            order().push_back(final);
            saved.created = side.store->tick();
        }
        for (auto& [type, text] : writing_->values) saved.values[type] = options().rewrite ? options().rewrite(type, text) : text;
        saved.modified = side.store->tick();
        if (!writing_->isNew && options().newIdOnSave) {
            const std::u16string renamed = side.store->newId();
            auto node = records().extract(final);
            node.key() = renamed;
            records().insert(std::move(node));
            std::ranges::replace(order(), final, renamed);
            SysFreeString(*id);
            com::give(id, renamed);
        }
        writing_.reset();
    }
    void note(const char* method, BSTR id = nullptr, const std::string& more = {})
    {
        if (!side.log->enabled) return;
        const std::string first = id ? ascii(id) : std::string();
        side.log->note(side.name, method, first.empty() || more.empty() ? first + more : first + " " + more);
    }
    void noteOpen(const char* method, BSTR id = nullptr, const std::string& more = {})
    {
        if (!initialized_) violation(std::string(method) + " on a translator that is not open");
        note(method, id, more);
    }
    void violation(const std::string& text) { side.log->violations.push_back(side.name + " " + text); }
    void checkBatch(const char* method)
    {
        if (!batch_ && options().batches) violation(std::string(method) + " outside of a batch");
    }

    bool initialized_ = false, categoryMode_ = false, batch_ = false, imagesAllowed_ = true;
    LONGLONG imageSize_ = 0;
    std::optional<std::u16string> reading_;
    std::optional<Writing> writing_;
};

} // namespace

HRESULT createFake(const FakeSide& side, IUnknown* outer, REFIID riid, void** out) noexcept
{
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return guarded([&] {
        auto translator = com::make<FakeTranslator>();
        translator->side = side;
        return translator->QueryInterface(riid, out);
    });
}

HRESULT STDMETHODCALLTYPE EventSinkFake::OnProgress(_SyncProgress, DOUBLE fPercent)
{
    lastPercent = fPercent;
    ++calls;
    return ++writes == cancelAtWrite || calls == cancelAt ? E_ABORT : S_OK;
}

HRESULT STDMETHODCALLTYPE EventSinkFake::OnProgress2(BSTR progressLabel, DOUBLE fPercent)
{
    return guarded([&] {
        if (labels.empty() || labels.back() != com::viewOf(progressLabel)) labels.push_back(com::textOf(progressLabel));
        lastPercent = fPercent;
        return ++calls == cancelAt ? E_ABORT : S_OK;
    });
}

} // namespace mbtest
