// Part of CTrManager: loads and configures a map's translators.
#include "foundation/ClassTable.h"
#include "translators/CTrManager.h"
#include "translators/SideSettings.h"

namespace mb {
namespace {

constexpr HRESULT initializedAnew = static_cast<HRESULT>(0x80040212), silentFailure = static_cast<HRESULT>(0x80040211);

// One side of a map: its class, its services and, once loaded, its translator.
struct MapSide {
    GUID clsid{};
    com::Ptr<ITrServices> services;
    com::Ptr<ITranslator> translator;
};

HRESULT loadSide(CTrManager& manager, REFGUID map, _TransIds transId, MapSide& side)
{
    GUID id1{}, id2{};
    HRESULT hr = manager.GetTranslators(map, &id1, &id2);
    if (FAILED(hr)) return hr;
    side.clsid = transId == idTrans1 ? id1 : id2;
    hr = MakeServices(map, transId, side.services);
    return SUCCEEDED(hr) ? manager.Load(side.clsid, side.translator.put()) : hr;
}

std::u16string databaseOf(const MapSide& side, HRESULT& hr)
{
    com::Bstr database, description;
    hr = com::call(side.translator, &ITranslator::GetSyncParams, side.services.get(), database.put(), description.put());
    return SUCCEEDED(hr) ? database.text() : std::u16string();
}

// Where the translator's error goes; all null for ConfigureTranslator, which reports none.
struct ErrorOut {
    VARIANT* code = nullptr;
    BSTR *message1 = nullptr, *message2 = nullptr;
};

void fetchError(const com::Ptr<ITranslator>& translator, const ErrorOut& out)
{
    const auto info = translator.tryAs<ITranslatorInfo>();
    if (!info) return;
    com::Variant code;
    com::Bstr message1, message2;
    if (FAILED(com::call(info, &ITranslatorInfo::GetLastError, code.put(), message1.put(), message2.put()))) return;
    *out.code = code.detach();
    *out.message1 = message1.detach();
    *out.message2 = message2.detach();
}

HRESULT configure(CTrManager& manager, REFGUID map, _TransIds transId, HWND parent, BSTR* database, const ErrorOut& error)
{
    MapSide side;
    HRESULT hr = loadSide(manager, map, transId, side);
    std::u16string text;
    if (SUCCEEDED(hr)) {
        const HRESULT initialized = com::call(side.translator, &ITranslator::Initialize, side.services.get(), parent, VARIANT_TRUE);
        hr = initialized;
        if (SUCCEEDED(initialized) || initialized == initializedAnew) {
            text = databaseOf(side, hr);
            if (SUCCEEDED(hr)) hr = initialized;
        }
        if (error.code && FAILED(hr) && hr != silentFailure) fetchError(side.translator, error);
        (void)com::call(side.translator, &ITranslator::Cleanup);
    }
    com::give(database, SUCCEEDED(hr) || hr == initializedAnew ? text : u"");
    return hr;
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::ConfigureTranslator(REFGUID guid, _TransIds transId, HWND hwndParent, BSTR* ppDatabase)
{
    if (!ppDatabase) return E_POINTER;
    *ppDatabase = nullptr;
    return com::guarded([&] { return configure(*this, guid, transId, hwndParent, ppDatabase, {}); });
}

HRESULT STDMETHODCALLTYPE CTrManager::ConfigureTranslator2(REFGUID guid, _TransIds transId, HWND hwndParent, BSTR* ppDatabase,
                                                           VARIANT* lpvtErrCode, BSTR* ppErrMessage1, BSTR* ppErrMessage2)
{
    if (!ppDatabase || !lpvtErrCode || !ppErrMessage1 || !ppErrMessage2) return E_POINTER;
    *ppDatabase = *ppErrMessage1 = *ppErrMessage2 = nullptr;
    VariantInit(lpvtErrCode);
    return com::guarded([&] {
        return configure(*this, guid, transId, hwndParent, ppDatabase, {lpvtErrCode, ppErrMessage1, ppErrMessage2});
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetCurrentDatabase(REFGUID guid, BSTR* ppDatabase1, BSTR* ppDatabase2)
{
    if (!ppDatabase1 || !ppDatabase2) return E_POINTER;
    *ppDatabase1 = *ppDatabase2 = nullptr;
    return com::guarded([&] {
        GUID ids[2]{};
        com::Ptr<ITrServices> services[2];
        std::u16string databases[2];
        HRESULT hr = GetTranslators(guid, &ids[0], &ids[1]);
        for (const int i : {0, 1})
            if (SUCCEEDED(hr)) hr = MakeServices(guid, i == 0 ? idTrans1 : idTrans2, services[i]);
        for (const int i : {0, 1}) {
            MapSide side{ids[i], services[i], {}};
            HRESULT read = S_OK;
            if (SUCCEEDED(hr) && SUCCEEDED(Load(side.clsid, side.translator.put()))) databases[i] = databaseOf(side, read);
        }
        com::give(ppDatabase1, databases[0]);
        com::give(ppDatabase2, databases[1]);
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::SetDatabase(REFGUID guid, _TransIds transId, BSTR lpDatabase)
{
    return com::guarded([&] {
        MapSide side;
        const HRESULT hr = loadSide(*this, guid, transId, side);
        return SUCCEEDED(hr) ? com::call(side.translator, &ITranslator::SetDatabase, side.services.get(), lpDatabase) : hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::LoadTranslator(REFGUID guid, _TransIds transId, HWND hwndParent, VARIANT_BOOL bReconfig,
                                                     ITranslator** ppTrans)
{
    if (!ppTrans) return E_POINTER;
    *ppTrans = nullptr;
    return com::guarded([&] {
        MapSide side;
        HRESULT hr = loadSide(*this, guid, transId, side);
        if (SUCCEEDED(hr)) hr = com::call(side.translator, &ITranslator::Initialize, side.services.get(), hwndParent, bReconfig);
        if (SUCCEEDED(hr)) *ppTrans = side.translator.detach();
        return hr;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::GetConfiguredTranslator(REFGUID guid, _TransIds transId, ITranslator** ppTrans)
{
    if (!ppTrans) return E_POINTER;
    *ppTrans = nullptr;
    return com::guarded([&] {
        GUID id1{}, id2{};
        HRESULT hr = GetTranslators(guid, &id1, &id2);
        com::Ptr<ITranslator> translator;
        if (SUCCEEDED(hr)) hr = createClass(transId == idTrans1 ? id1 : id2, translator);
        if (SUCCEEDED(hr) && !translator) hr = E_FAIL; // the class reported success without an object
        if (SUCCEEDED(hr)) *ppTrans = translator.detach();
        return hr;
    });
}

} // namespace mb
