#include "PluginFake.h"

#include <algorithm>

namespace mbtest {
namespace {

using Base = com::Object<ITranslator, IFieldList, IField, com::Dual<ITranslatorInfo>, com::Dual<ITranslatorInfoEx>, com::Dual<IPIMSetUp>,
                         com::Dual<IImageSupport>, com::Dual<IFieldValidator>>;

class PluginFake final : public Base {
public:
    PluginFake(IUnknown* outer, std::shared_ptr<Plugin> plugin) : Object(outer), plugin_(std::move(plugin)) { ++plugin_->objects; }
    ~PluginFake() override { --plugin_->objects; }

    // Each of these methods leaves a mark in its settings, so that a test can see which settings it was given.
    HRESULT STDMETHODCALLTYPE Initialize(ITrServices* services, HWND, VARIANT_BOOL reconfig) override
    {
        mark(services, u"Initialized");
        return note("Initialize", reconfig == VARIANT_TRUE ? "reconfig" : "");
    }
    HRESULT STDMETHODCALLTYPE GetSyncParams(ITrServices* services, BSTR* database, BSTR* description) override
    {
        mark(services, u"Asked");
        note("GetSyncParams");
        giveText(database, plugin_->database);
        return giveText(description, plugin_->description);
    }
    HRESULT STDMETHODCALLTYPE SetDatabase(ITrServices* services, BSTR database) override
    {
        mark(services, u"Set");
        plugin_->database = com::textOf(database);
        return note("SetDatabase");
    }
    HRESULT STDMETHODCALLTYPE Cleanup() override { return note("Cleanup"); }

    HRESULT STDMETHODCALLTYPE GetCount(LONG* count) override
    {
        *count = static_cast<LONG>(plugin_->fields.size());
        return note("GetCount");
    }
    HRESULT STDMETHODCALLTYPE GetFieldByIndex(LONG index, GUID* field) override
    {
        note("GetFieldByIndex", std::to_string(index));
        *field = plugin_->fields.at(static_cast<std::size_t>(index)).id;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFieldByName(BSTR, GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetFieldType(REFGUID field, LONG* type) override
    {
        note("GetFieldType");
        const auto at = std::ranges::find(plugin_->fields, field, &PluginField::id);
        if (at == plugin_->fields.end()) return E_INVALIDARG;
        *type = at->type;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE GetInfo(BSTR* shortName, BSTR* longName, BSTR* label) override
    {
        note("GetInfo");
        giveText(shortName, plugin_->shortName);
        giveText(longName, plugin_->longName);
        return giveText(label, u"Label");
    }
    HRESULT STDMETHODCALLTYPE GetInfoEx(BSTR* shortName, BSTR* longName, BSTR* description, BSTR* label) override
    {
        note("GetInfoEx");
        giveText(shortName, plugin_->shortName);
        giveText(longName, plugin_->longName);
        giveText(description, plugin_->description);
        return giveText(label, u"Label");
    }
    HRESULT STDMETHODCALLTYPE GetLastError(VARIANT* code, BSTR* message1, BSTR* message2) override
    {
        note("GetLastError");
        *code = com::Variant(plugin_->errorCode).detach();
        giveText(message1, plugin_->errorMessage1);
        return giveText(message2, plugin_->errorMessage2);
    }
    HRESULT STDMETHODCALLTYPE IsPIMAvailable(VARIANT_BOOL* available) override
    {
        *available = plugin_->available ? VARIANT_TRUE : VARIANT_FALSE;
        return note("IsPIMAvailable");
    }
    HRESULT STDMETHODCALLTYPE ValidateFieldList(ITrServices* services) override
    {
        mark(services, u"Validated");
        if (!plugin_->validatedFields.empty()) plugin_->fields = plugin_->validatedFields;
        return note("ValidateFieldList");
    }

    // This layer never calls the methods for records, images and other properties of fields.
    HRESULT STDMETHODCALLTYPE GetTranslatorCaps(ULONG*) override { return unexpected("GetTranslatorCaps"); }
    HRESULT STDMETHODCALLTYPE GetRecordCount(LONG*) override { return unexpected("GetRecordCount"); }
    HRESULT STDMETHODCALLTYPE GetRecordID(LONG, BSTR*) override { return unexpected("GetRecordID"); }
    HRESULT STDMETHODCALLTYPE GetCreateDate(BSTR, DATE*) override { return unexpected("GetCreateDate"); }
    HRESULT STDMETHODCALLTYPE GetModifiedDate(BSTR, DATE*) override { return unexpected("GetModifiedDate"); }
    HRESULT STDMETHODCALLTYPE FindRecord(BSTR) override { return unexpected("FindRecord"); }
    HRESULT STDMETHODCALLTYPE BeginReadRecord(BSTR) override { return unexpected("BeginReadRecord"); }
    HRESULT STDMETHODCALLTYPE EndReadRecord(BSTR) override { return unexpected("EndReadRecord"); }
    HRESULT STDMETHODCALLTYPE BeginUpdate() override { return unexpected("BeginUpdate"); }
    HRESULT STDMETHODCALLTYPE BeginAddRecord(BSTR*) override { return unexpected("BeginAddRecord"); }
    HRESULT STDMETHODCALLTYPE BeginEditRecord(BSTR) override { return unexpected("BeginEditRecord"); }
    HRESULT STDMETHODCALLTYPE ReadField(BSTR, REFGUID, VARIANT*) override { return unexpected("ReadField"); }
    HRESULT STDMETHODCALLTYPE WriteField(BSTR, REFGUID, VARIANT) override { return unexpected("WriteField"); }
    HRESULT STDMETHODCALLTYPE SaveRecord(BSTR*) override { return unexpected("SaveRecord"); }
    HRESULT STDMETHODCALLTYPE DeleteRecord(BSTR) override { return unexpected("DeleteRecord"); }
    HRESULT STDMETHODCALLTYPE EndUpdate(VARIANT_BOOL) override { return unexpected("EndUpdate"); }
    HRESULT STDMETHODCALLTYPE GetName(REFGUID, BSTR*) override { return unexpected("GetName"); }
    HRESULT STDMETHODCALLTYPE SetName(REFGUID, BSTR) override { return unexpected("SetName"); }
    HRESULT STDMETHODCALLTYPE SetFieldType(REFGUID, LONG) override { return unexpected("SetFieldType"); }
    HRESULT STDMETHODCALLTYPE GetDataType(REFGUID, LONG*) override { return unexpected("GetDataType"); }
    HRESULT STDMETHODCALLTYPE SetDataType(REFGUID, LONG) override { return unexpected("SetDataType"); }
    HRESULT STDMETHODCALLTYPE GetMaxLength(REFGUID, ULONG*) override { return unexpected("GetMaxLength"); }
    HRESULT STDMETHODCALLTYPE SetMaxLength(REFGUID, ULONG) override { return unexpected("SetMaxLength"); }
    HRESULT STDMETHODCALLTYPE GetFlags(REFGUID, ULONG*) override { return unexpected("GetFlags"); }
    HRESULT STDMETHODCALLTYPE SetFlags(REFGUID, ULONG) override { return unexpected("SetFlags"); }
    HRESULT STDMETHODCALLTYPE InitializeDefault(ITrServices*, HWND) override { return unexpected("InitializeDefault"); }
    HRESULT STDMETHODCALLTYPE HasFieldValue(BSTR, REFGUID, VARIANT_BOOL*) override { return unexpected("HasFieldValue"); }
    HRESULT STDMETHODCALLTYPE SetAllowImage(VARIANT_BOOL) override { return unexpected("SetAllowImage"); }
    HRESULT STDMETHODCALLTYPE BeginReadImageData(BSTR, REFGUID) override { return unexpected("BeginReadImageData"); }
    HRESULT STDMETHODCALLTYPE EndReadImageData(BSTR, REFGUID) override { return unexpected("EndReadImageData"); }
    HRESULT STDMETHODCALLTYPE GetImageDataSize(LONGLONG*) override { return unexpected("GetImageDataSize"); }
    HRESULT STDMETHODCALLTYPE GetImageDataHash(BSTR*) override { return unexpected("GetImageDataHash"); }

private:
    [[nodiscard]] bool offers(REFIID riid) const noexcept override { return plugin_->offers(riid); }
    HRESULT note(const char* method, const std::string& more = {})
    {
        plugin_->log->note(plugin_->name, method, more);
        return S_OK;
    }
    HRESULT unexpected(const char* method)
    {
        plugin_->log->violations.push_back(plugin_->name + " " + method);
        return E_NOTIMPL;
    }
    HRESULT giveText(BSTR* out, std::u16string_view text)
    {
        if (plugin_->nullTexts)
            *out = nullptr;
        else
            com::give(out, text);
        return S_OK;
    }
    void mark(ITrServices* services, std::u16string_view key)
    {
        const auto settings = com::Ptr<ITrServices>(services).as<IDataStream>();
        const com::Bstr name(key), value(std::u16string(plugin_->name.begin(), plugin_->name.end()));
        com::check(settings->SetString(name.get(), value.get()));
    }
    std::shared_ptr<Plugin> plugin_;
};

} // namespace

bool Plugin::offers(REFIID iid) const
{
    return std::ranges::none_of(refused, [&](const IID& refusedId) { return refusedId == iid; });
}

PluginClass::PluginClass(const CLSID& clsid, std::shared_ptr<Plugin> plugin)
    : RegisteredClass(clsid, [plugin = std::move(plugin)](IUnknown*, REFIID riid, void** out) {
          *out = nullptr;
          plugin->log->note(plugin->name, "Create");
          if (plugin->givesNothing) return S_OK;
          return com::Ptr<PluginFake>::attach(new PluginFake(nullptr, plugin))->QueryInterface(riid, out);
      })
{
}

} // namespace mbtest
