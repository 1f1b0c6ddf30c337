#include "MapScenario.h"

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** out);
extern "C" void mbRestartModule();

namespace mbtest {

MapScenario::MapScenario(const GUID& class1, const GUID& class2) : classes_{class1, class2}
{
    mbRestartModule();
    synchronizer_ = create<ISynchronizer>(__uuidof(Synchronizer));
    com::check(synchronizer_->Initialize(nullptr, VARIANT_FALSE));
}

MapScenario::~MapScenario()
{
    (void)synchronizer_->Cleanup();
    mbRestartModule(); // closes its files: the folder is removed next, and Windows cannot delete open files
}

HRESULT MapScenario::createObject(REFCLSID clsid, REFIID riid, void** out)
{
    com::Ptr<IClassFactory> factory;
    const HRESULT hr = DllGetClassObject(clsid, __uuidof(IClassFactory), factory.putVoid());
    return SUCCEEDED(hr) ? factory->CreateInstance(nullptr, riid, out) : hr;
}

com::Ptr<ITrMap> MapScenario::maps() { return create<ITrMap>(__uuidof(TrManager)); }

void MapScenario::makeMap()
{
    if (map_ != GUID_NULL) return;
    ASSERT_EQ(maps()->Create(classes_[0], classes_[1], &map_), S_OK);
}

void MapScenario::setOption(_SyncOptions option, LONG value)
{
    makeMap();
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_I4;
    v.lVal = value;
    const bool flag =
        option != soConflictResolution && option != soDelConflictResolution && option != soSyncType && option != soCardVersion;
    if (flag) {
        v.vt = VT_BOOL;
        v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }
    ASSERT_EQ(maps()->SetOption(map_, option, v), S_OK);
}

HRESULT MapScenario::run(VARIANT_BOOL silent)
{
    makeMap();
    beginRun();
    return synchronizer_->Synchronize(map_, silent);
}

HRESULT MapScenario::sync() { return run(VARIANT_TRUE); }

HRESULT MapScenario::syncAsking() { return run(VARIANT_FALSE); }

GUID MapScenario::addMap()
{
    GUID made{};
    EXPECT_EQ(maps()->Create(classes_[0], classes_[1], &made), S_OK);
    return made;
}

HRESULT MapScenario::syncMap(const GUID& map)
{
    beginRun();
    return synchronizer_->Synchronize(map, VARIANT_TRUE);
}

HRESULT MapScenario::syncAll() { return syncMap(GUID_NULL); }

HRESULT MapScenario::resync()
{
    makeMap();
    beginRun();
    return synchronizer_.as<IReSynchronizer>()->ReSynchronize(map_, VARIANT_TRUE);
}

std::pair<std::u16string, std::u16string> MapScenario::lastError()
{
    com::Variant code;
    com::Bstr message1, message2;
    EXPECT_EQ(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
    return {message1.text(), message2.text()};
}

com::Variant MapScenario::lastCode()
{
    com::Variant code;
    com::Bstr message1, message2;
    EXPECT_EQ(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
    return code;
}

std::filesystem::path MapScenario::historyFile() const { return folder.data() / std::filesystem::path(com::guidText(map_) + u".xml"); }

} // namespace mbtest
