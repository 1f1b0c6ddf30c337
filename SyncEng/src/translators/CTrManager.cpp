#include "translators/CTrManager.h"

#include "categories.h"
#include "error_text.h"
#include "foundation/ClassTable.h"
#include "foundation/Log.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "translators/CTranslatorBridge.h"
#include "translators/SideSettings.h"
#include "translators/TranslatorCategory.h"
#include "translators/TrMapKeys.h"
#include "ui.h"

namespace mb {

CTrManager::CTrManager(IUnknown* outer) noexcept : Object(outer) { platform::silenceSystemErrorBoxes(); }

CTrManager::~CTrManager()
{
    (void)Cleanup();
    (void)CloseStore();
}

HRESULT STDMETHODCALLTYPE CTrManager::EnumerateTranslators(LONG* pCount, GUID** ppIds)
{
    if (!pCount || !ppIds) return E_POINTER;
    *pCount = 0;
    *ppIds = nullptr;
    return com::guarded([&] {
        platform::CategoryClasses classes;
        const HRESULT opened = classes.open(translatorCategory);
        if (FAILED(opened)) {
            WriteLogResource(logFailures, Text::ModuleEnumerationFailed, opened);
            return opened;
        }
        std::vector<GUID> ids;
        for (LONG number = 0;; ++number) {
            CLSID clsid{};
            const HRESULT hr = classes.next(&clsid);
            if (FAILED(hr)) {
                WriteLogText(logEnumeration, u"pEnum->Next failed. Error code 0x%x. Enum number: %d", hr, number);
                break;
            }
            if (hr == S_FALSE) {
                WriteLogText(logEnumeration, u"pEnum->Next returns S_FALSE. Enum number: %d", number);
                break;
            }
            WriteLogText(logEnumeration, u"pEnum->Next succeeded. Enum number: %d. Class id: %s", number, com::guidText(clsid));
            ids.push_back(clsid);
        }
        return com::giveArray<GUID>(ids, pCount, ppIds);
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::EnumerateMaps(LONG* pCount, GUID** ppGuids)
{
    if (!pCount || !ppGuids) return E_POINTER;
    *pCount = 0;
    *ppGuids = nullptr;
    return com::guarded([&] {
        std::vector<std::u16string> sections;
        (void)ConfigStore().Refresh(); // other processes may have created maps
        const HRESULT hr = ConfigStore().ListSections(trMapType, sections);
        if (FAILED(hr)) {
            platform::leaveErrorText(ConfigStore().openFailure()); // the start-up step does not report it
            return hr;
        }
        std::vector<GUID> maps(sections.size());
        for (std::size_t i = 0; i < sections.size(); ++i)
            if (FAILED(com::parseGuid(sections[i], &maps[i]))) maps[i] = GUID_NULL;
        return com::giveArray<GUID>(maps, pCount, ppGuids);
    });
}

// Quirk kept on purpose: it lists maps, not translators. A published method does not change its meaning.
HRESULT STDMETHODCALLTYPE CTrManager::EnumerateTranslatorsEx(LONG* pCount, GUID** ppIds) { return EnumerateMaps(pCount, ppIds); }
HRESULT STDMETHODCALLTYPE CTrManager::EnumerateMapsEx(LONG* pCount, GUID** ppGuids) { return EnumerateMaps(pCount, ppGuids); }

HRESULT STDMETHODCALLTYPE CTrManager::DeleteMap(REFGUID guid)
{
    return com::guarded([&] {
        StoreLock lock;
        if (const HRESULT locked = lock.takeMap(guid); FAILED(locked)) {
            platform::leaveErrorText(lock.failure());
            return locked;
        }
        GUID fieldMapId{};
        com::Ptr<IFieldMap> fieldMap;
        if (SUCCEEDED(GetFieldMap(guid, &fieldMapId)) && SUCCEEDED(createClass(__uuidof(FieldMap), fieldMap)))
            (void)com::call(fieldMap, &IFieldMap::DeleteMap, fieldMapId);
        for (const _TransIds side : {idTrans1, idTrans2}) {
            com::Ptr<IDataStream> settings;
            if (SUCCEEDED(MakeSettings(guid, side, settings))) (void)com::call(settings, &IDataStream::Clear);
        }
        (void)ConfigStore().RemoveSection(trMapType, com::guidText(guid), true);
        CSyncHistory history(nullptr);
        const HRESULT opened = history.Open(guid);
        if (FAILED(opened)) platform::leaveErrorText(history.openFailure());
        if (SUCCEEDED(opened) && SUCCEEDED(history.Clear())) (void)history.DeleteFile();
        return opened;
    });
}

HRESULT STDMETHODCALLTYPE CTrManager::Install(REFGUID rClsId) { return platform::registerClassInCategory(rClsId, translatorCategory); }
HRESULT STDMETHODCALLTYPE CTrManager::UnInstall(REFGUID rClsId) { return platform::unregisterClassInCategory(rClsId, translatorCategory); }

namespace {

// Loads a class without ITranslator as a translator of the older contract. Its settings lie in a section named after the class.
HRESULT loadOldTranslator(REFCLSID clsid, com::Ptr<ITranslator>& translator)
{
    com::Ptr<ITrServices> services;
    HRESULT hr = MakeServices(clsid, idTrans1, services);
    if (FAILED(hr)) return hr;
    const auto bridge = com::make<CTranslatorBridge>();
    hr = bridge->start(clsid, services);
    if (SUCCEEDED(hr)) translator = bridge;
    return hr;
}

} // namespace

HRESULT STDMETHODCALLTYPE CTrManager::Load(REFGUID rClsId, ITranslator** ppTrans)
{
    if (!ppTrans) return E_POINTER;
    *ppTrans = nullptr;
    return com::guarded([&] {
        com::Ptr<ITranslator> translator;
        HRESULT hr = createClass(rClsId, translator);
        if (FAILED(hr)) {
            (void)translator.detach(); // after a failed creation the pointer may be invalid
            hr = loadOldTranslator(rClsId, translator);
        } else if (!translator) {
            hr = E_FAIL; // the class reported success without an object
        }
        if (SUCCEEDED(hr))
            *ppTrans = translator.detach();
        else
            WriteLogResource(logFailures, Text::ModuleLoadFailed, hr, com::guidText(rClsId));
        return hr;
    });
}

} // namespace mb
