// The module's four exports and the table of its classes.
#include "autotest/CSyncAutoTest.h"
#include "categories.h"
#include "dialogs/CFieldMappingDlg.h"
#include "dialogs/MergeConflict.h"
#include "engine/CSynchronizer.h"
#include "foundation/ClassTable.h"
#include "foundation/CLogFile.h"
#include "foundation/LanguageModule.h"
#include "foundation/Log.h"
#include "foundation/StartUp.h"
#include "host.h"
#include "library.h"
#include "product_server.h"
#include "server_registration.h"
#include "store/CDataStream.h"
#include "store/ConfigStore.h"
#include "transfer/CSyncTransfer.h"
#include "translators/CFieldMap.h"
#include "translators/CInteropDummy.h"
#include "translators/CTranslatorBridge.h"
#include "translators/CTrManager.h"
#include "translators/CTrServices.h"
#include "translators/FieldMappingEditor.h"
#include "translators/TranslatorCategory.h"

namespace {

constexpr com::ClassEntry classTable[] = {
    {&__uuidof(TrServices), u"MBSync.TrServices", u"TrServices Class", com::create<mb::CTrServices>},
    {&__uuidof(TrManager), u"MBSync.TrManager", u"TrManager Class", com::create<mb::CTrManager>},
    {&__uuidof(TranslatorBridge), u"MBSync.TranslatorBridge", u"TranslatorBridge Class", com::create<mb::CTranslatorBridge>},
    {&__uuidof(SyncTransfer), u"MBSync.SyncTransfer", u"SyncTransfer Class", com::create<mb::CSyncTransfer>},
    {&__uuidof(Synchronizer), u"MBSync.Synchronizer", u"Synchronizer Class", com::create<mb::CSynchronizer>},
    {&__uuidof(LogFile), u"MBSync.LogFile", u"LogFile Class", com::create<mb::CLogFile>},
    {&__uuidof(InteropDummy), u"MBSync.InteropDummy", u"InteropDummy Class", com::create<mb::CInteropDummy>},
    {&__uuidof(FieldMap), u"MBSync.FieldMap", u"FieldMap Class", com::create<mb::CFieldMap>},
    {&__uuidof(DataStream), u"MBSync.DataStream", u"DataStream Class", com::create<mb::CDataStream>},
    {&__uuidof(SyncAutoTest), u"MBSync.SyncAutoTest", u"SyncAutoTest Class", com::create<mb::CSyncAutoTest>},
};

// The state of the module. Its load sets the class table and opens the language module; the first request for a class object opens the log
// and the configuration store.
class Module {
public:
    Module()
    {
        mb::SetClassTable(classTable);
        mb::SetFieldMappingEditor(mb::EditFieldMapping);
        (void)com::guarded([] { mb::LoadLocalizedModule(u"mbsync.dat"); });
        (void)mb::ConfigStore(); // constructed before this object is complete, so destroyed after it
    }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module()
    {
        (void)com::guarded([&] { start_.stop([] { (void)mb::CloseConfigStore(); }); });
        mb::FreeLocalizedModule();
    }
    void restart()
    {
        start_.stop([] { (void)mb::CloseConfigStore(); });
        mb::ResetLog();
    }
    void ensureStarted()
    {
        if (start_.started() && !mb::configStoreIsOpen()) start_.storeWasClosed();
        (void)com::guarded([&] { start_.ensureStarted(mb::OpenConfigStore); });
    }

private:
    mb::ModuleStart start_;
};

Module& module()
{
    static Module loaded;
    return loaded;
}

} // namespace

STDAPI DllGetClassObject(REFCLSID clsid, REFIID riid, void** out)
{
    module().ensureStarted();
    return com::getClassObject(classTable, clsid, riid, out);
}

// For tests, not exported: closes the log and the configuration store. The next request for a class object opens them again, with the
// folders and settings of that moment.
extern "C" void mbRestartModule() { module().restart(); }

// Called when the loader has loaded the module; false makes the load fail.
extern "C" bool mbModuleLoaded()
{
    return SUCCEEDED(com::guarded([] { (void)module(); }));
}

STDAPI DllCanUnloadNow() { return com::moduleLocks == 0 ? S_OK : S_FALSE; }

namespace {

constexpr GUID applicationId{0x90F753D0, 0xDD7F, 0x4564, {0x90, 0xCE, 0x4C, 0x72, 0xCC, 0xC3, 0x29, 0x9C}};
constexpr GUID typeLibraryId{0x33D2D523, 0x69CB, 0x4FB4, {0xA8, 0xFE, 0xAA, 0x6D, 0xDD, 0x48, 0x93, 0xC7}};

platform::ServerRegistration registration()
{
    return {classTable,
            platform::modulePathOf(reinterpret_cast<const void*>(&module)),
            nullptr,
            &applicationId,
            &typeLibraryId,
            u"MBSync",
            u"MBSync.DLL",
            &mb::translatorCategory,
            mb::translatorCategoryName};
}

// The merge component lies beside the engine and is registered with it.
std::filesystem::path mergeLibrary() { return registration().library.parent_path() / platform::pluginFileName("merge"); }

} // namespace

STDAPI DllRegisterServer()
{
    return com::guarded([] {
        const HRESULT hr = platform::registerServer(registration());
        if (SUCCEEDED(hr)) platform::registerUnlessTaken(mb::mergeProgId, mergeLibrary());
        return hr;
    });
}

STDAPI DllUnregisterServer()
{
    return com::guarded([] {
        platform::unregisterOwn(mb::mergeProgId, mergeLibrary());
        return platform::unregisterServer(registration());
    });
}
