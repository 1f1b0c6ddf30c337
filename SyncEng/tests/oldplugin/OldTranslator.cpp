// A plug-in of the older translator contract. Its three classes use the same kind of file: one identifies fields by number, one by text,
// and one has no fields.
#include "OldStore.h"
#include "PluginExports.h"
#include "text.h"
#include "translators/OldContract.h"

namespace {

using namespace mb;
using oldplugin::Record;

constexpr CLSID CLSID_OldNumbers{0x01D00001, 0x1111, 0x4111, {0x81, 0x11, 0x01, 0xD0, 0, 0, 0, 0x01}};
constexpr CLSID CLSID_OldTexts{0x01D00002, 0x2222, 0x4222, {0x82, 0x22, 0x01, 0xD0, 0, 0, 0, 0x02}};
constexpr CLSID CLSID_OldBare{0x01D00003, 0x3333, 0x4333, {0x83, 0x33, 0x01, 0xD0, 0, 0, 0, 0x03}};

constexpr HRESULT notOpen = static_cast<HRESULT>(0x80040202), notFound = static_cast<HRESULT>(0x80040207);

struct Field {
    LONG number;
    const char16_t *id, *name;
    LONG type;
    ULONG flags;
};

constexpr Field fields[] = {
    {101, u"given", u"Given name", ftFirstName, 0},
    {102, u"family", u"Family name", ftLastName, 0},
    {103, u"firm", u"Firm", ftCompany, 0},
    {104, u"mail}2", u"Mail", ftEmail1, 0},
    {105, u"phone", u"Phone", ftPhone, ffPhoneNumber},
    {106, u"notes", u"Notes", ftNotes, 0},
};

enum class Ids { Numbers, Texts, None };

class OldTranslator
    : public com::Object<com::Dual<IOldTranslator>, com::Dual<ITranslatorInfo>, IOldFieldList, IOldField, com::Dual<ITranslatorTest>> {
public:
    OldTranslator(IUnknown* outer, Ids ids) noexcept : Object(outer), ids_(ids) {}

    // IOldTranslator
    HRESULT STDMETHODCALLTYPE Initialize(ITrServices* services, HWND, VARIANT_BOOL, VARIANT_BOOL silent) override
    {
        return com::guarded([&] {
            const auto settings = com::Ptr<ITrServices>(services).as<IDataStream>();
            com::check(settings->SetInt(com::Bstr(u"Silent").get(), silent));
            return open(databaseOf(services));
        });
    }
    HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices* services, BSTR* database, BSTR* description) override
    {
        return com::guarded([&] {
            com::give(database, databaseOf(services));
            com::give(description, u"A store of long ago");
        });
    }
    HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG* caps) override
    {
        *caps = capImport | capExport | capSynchronize | capTimestamps | capRecordGUIDs;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices* services, BSTR database) override
    {
        return com::guarded(
            [&] { return com::Ptr<ITrServices>(services).as<IDataStream>()->SetString(com::Bstr(u"Database").get(), database); });
    }
    HRESULT STDMETHODCALLTYPE Cleanup() override
    {
        const bool saved = !open_ || store_.save();
        open_ = false;
        return saved ? S_OK : notOpen;
    }
    HRESULT STDMETHODCALLTYPE GetRecordCount(LONG* count) override
    {
        *count = static_cast<LONG>(store_.records.size());
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetRecordID(LONG index, BSTR* id) override
    {
        if (index < 0 || static_cast<std::size_t>(index) >= store_.records.size()) return notFound;
        return com::guarded([&] { com::give(id, platform::utf16(store_.records[static_cast<std::size_t>(index)].id)); });
    }
    HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR id, VARIANT* date) override { return dateOf(id, &Record::created, date); }
    HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR id, VARIANT* date) override { return dateOf(id, &Record::modified, date); }
    HRESULT STDMETHODCALLTYPE FindRecord(BSTR id) override { return find(id) ? S_OK : notFound; }
    HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR id) override { return FindRecord(id); }
    HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE BeginUpdate() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR* id) override
    {
        return com::guarded([&] { com::give(id, platform::utf16(store_.add().id)); });
    }
    HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR id) override { return FindRecord(id); }
    HRESULT STDMETHODCALLTYPE ReadField(BSTR id, VARIANT field, VARIANT* value) override
    {
        return com::guarded([&]() -> HRESULT {
            const Record* record = find(id);
            const Field* known = fieldOf(field);
            if (!record || !known) return E_INVALIDARG;
            const auto at = record->values.find(known->number);
            *value = com::Variant(at == record->values.end() ? std::u16string_view() : std::u16string_view(at->second)).detach();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE WriteField(BSTR id, VARIANT field, VARIANT value) override
    {
        return com::guarded([&]() -> HRESULT {
            Record* record = find(id);
            const Field* known = fieldOf(field);
            if (!record || !known || value.vt != VT_BSTR) return E_INVALIDARG;
            record->values[known->number] = com::textOf(value.bstrVal);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE SaveRecord(BSTR* id) override
    {
        return com::guarded([&]() -> HRESULT {
            Record* record = find(*id);
            if (!record) return notFound;
            record->modified = store_.nextDate();
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR id) override
    {
        return com::guarded([&]() -> HRESULT {
            if (!find(id)) return notFound;
            store_.remove(platform::utf8(com::viewOf(id)));
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL) override { return E_NOTIMPL; }

    // ITranslatorInfo
    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* shortName, BSTR* longName, BSTR* label) override
    {
        return com::guarded([&] {
            com::give(shortName, ids_ == Ids::Numbers ? u"OldNumbers" : ids_ == Ids::Texts ? u"OldTexts" : u"OldBare");
            com::give(longName, u"Contacts of long ago");
            com::give(label, u"File:");
        });
    }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* code, BSTR* message1, BSTR* message2) override
    {
        return com::guarded([&] {
            *code = com::Variant(static_cast<LONG>(error_.empty() ? 0 : 5)).detach();
            com::give(message1, error_);
            com::give(message2, {});
        });
    }

    // IOldFieldList, IOldField
    HRESULT STDMETHODCALLTYPE GetCount(LONG* count) override
    {
        *count = static_cast<LONG>(std::size(fields));
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, VARIANT* field) override
    {
        if (index < 0 || static_cast<std::size_t>(index) >= std::size(fields)) return E_INVALIDARG;
        return com::guarded([&] {
            const Field& known = fields[index];
            *field = (ids_ == Ids::Numbers ? com::Variant(known.number) : com::Variant(known.id)).detach();
        });
    }
    HRESULT STDMETHODCALLTYPE GetName(VARIANT field, BSTR* name) override
    {
        return com::guarded([&]() -> HRESULT {
            const Field* known = fieldOf(field);
            if (!known) return E_INVALIDARG;
            com::give(name, known->name);
            return S_OK;
        });
    }
    HRESULT STDMETHODCALLTYPE GetFieldType(VARIANT field, LONG* type) override { return tell(field, &Field::type, type); }
    HRESULT STDMETHODCALLTYPE GetFlags(VARIANT field, ULONG* flags) override { return tell(field, &Field::flags, flags); }
    HRESULT STDMETHODCALLTYPE GetDataType(VARIANT field, LONG* type) override
    {
        *type = dtString;
        return fieldOf(field) ? S_OK : E_INVALIDARG;
    }
    HRESULT STDMETHODCALLTYPE GetMaxLength(VARIANT field, ULONG* length) override
    {
        *length = 0;
        return fieldOf(field) ? S_OK : E_INVALIDARG;
    }
    HRESULT STDMETHODCALLTYPE SetName(VARIANT, BSTR) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFieldType(VARIANT, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetDataType(VARIANT, LONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetMaxLength(VARIANT, ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetFlags(VARIANT, ULONG) override { return E_NOTIMPL; }

    // ITranslatorTest
    HRESULT STDMETHODCALLTYPE InitializeDatabase(BSTR database, BSTR, BSTR) override
    {
        return com::guarded([&] { return open(com::textOf(database)); });
    }
    HRESULT STDMETHODCALLTYPE GetDatabase(BSTR* database) override
    {
        return com::guarded([&] { com::give(database, database_); });
    }
    HRESULT STDMETHODCALLTYPE InitializeDatabaseEx(ITrServices*, BSTR database, BSTR user, BSTR password) override
    {
        return InitializeDatabase(database, user, password);
    }

private:
    [[nodiscard]] bool offers(REFIID riid) const noexcept override { return ids_ != Ids::None || riid == __uuidof(IOldTranslator); }

    static std::u16string databaseOf(ITrServices* services)
    {
        com::Bstr database;
        (void)com::Ptr<ITrServices>(services).as<IDataStream>()->GetString(com::Bstr(u"Database").get(), database.put());
        return database.text();
    }
    HRESULT open(const std::u16string& database)
    {
        database_ = database;
        open_ = !database.empty() && store_.open(std::filesystem::path(database));
        error_ = open_ ? u"" : u"The old file \"" + database + u"\" does not open.";
        return open_ ? S_OK : notOpen;
    }
    Record* find(BSTR id) { return store_.find(platform::utf8(com::viewOf(id))); }
    const Field* fieldOf(const VARIANT& field) const
    {
        for (const Field& known : fields) {
            if (ids_ == Ids::Numbers && field.vt == VT_I4 && field.lVal == known.number) return &known;
            if (ids_ == Ids::Texts && field.vt == VT_BSTR && com::viewOf(field.bstrVal) == known.id) return &known;
        }
        return nullptr;
    }
    template <class T> HRESULT tell(const VARIANT& field, T Field::*property, T* out) const
    {
        const Field* known = fieldOf(field);
        if (!known) return E_INVALIDARG;
        *out = known->*property;
        return S_OK;
    }
    HRESULT dateOf(BSTR id, std::string Record::*which, VARIANT* date)
    {
        return com::guarded([&]() -> HRESULT {
            const Record* record = find(id);
            if (!record) return notFound;
            const std::string& text = record->*which;
            com::Variant value;
            if (text.starts_with("date:")) {
                value.vt = VT_DATE;
                value.date = std::stod(text.substr(5));
            } else if (text.starts_with("text:")) {
                value = com::Variant(std::u16string_view(platform::utf16(text.substr(5))));
            } else if (text == "null") {
                value.vt = VT_BSTR;
                value.bstrVal = nullptr;
            } else {
                value = com::Variant(static_cast<LONG>(1));
            }
            *date = value.detach();
            return S_OK;
        });
    }

    Ids ids_;
    oldplugin::Store store_;
    std::u16string database_, error_;
    bool open_ = false;
};

template <Ids ids> class OldClass final : public OldTranslator {
public:
    explicit OldClass(IUnknown* outer) noexcept : OldTranslator(outer, ids) {}
};

constexpr com::ClassEntry classes[] = {
    {&CLSID_OldNumbers, u"Old.Numbers", u"Old translator with numbers", com::create<OldClass<Ids::Numbers>>},
    {&CLSID_OldTexts, u"Old.Texts", u"Old translator with texts", com::create<OldClass<Ids::Texts>>},
    {&CLSID_OldBare, u"Old.Bare", u"Old translator without fields", com::create<OldClass<Ids::None>>},
};

} // namespace

PLUGIN_EXPORTS(classes)
