#include "SyncScenario.h"

#include <algorithm>

extern "C" HRESULT DllGetClassObject(REFCLSID clsid, REFIID riid, void** out);
extern "C" void mbRestartModule();

namespace mbtest {

SyncScenario::SyncScenario(const GUID& class1, const GUID& class2) : classes_{class1, class2}
{
    mbRestartModule();
    for (const int i : {0, 1}) {
        stores_[i] = std::make_shared<FakeStore>(i == 0 ? u"A" : u"B");
        stores_[i]->options.shortName = i == 0 ? u"First" : u"Second";
        fakes_[i].emplace(classes_[i], FakeSide{i == 0 ? "1" : "2", stores_[i], log_});
    }
    sink_ = com::make<EventSinkFake>();
    synchronizer_ = create<ISynchronizer>(__uuidof(Synchronizer));
    com::check(synchronizer_.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point_.put()));
    com::check(point_->Advise(com::Ptr<ISyncEvents>(sink_).get(), &advised_));
    com::check(synchronizer_->Initialize(nullptr, VARIANT_FALSE));
}

SyncScenario::~SyncScenario()
{
    (void)synchronizer_->Cleanup();
    (void)point_->Unadvise(advised_);
    mbRestartModule(); // closes its files: the folder is removed next, and Windows cannot delete open files
}

HRESULT SyncScenario::createObject(REFCLSID clsid, REFIID riid, void** out)
{
    com::Ptr<IClassFactory> factory;
    const HRESULT hr = DllGetClassObject(clsid, __uuidof(IClassFactory), factory.putVoid());
    return SUCCEEDED(hr) ? factory->CreateInstance(nullptr, riid, out) : hr;
}

com::Ptr<ITrMap> SyncScenario::maps() { return create<ITrMap>(__uuidof(TrManager)); }

void SyncScenario::makeMap()
{
    if (map_ != GUID_NULL) return;
    ASSERT_EQ(maps()->Create(classes_[0], classes_[1], &map_), S_OK);
}

void SyncScenario::setOption(_SyncOptions option, LONG value)
{
    makeMap();
    VARIANT v;
    VariantInit(&v);
    v.vt = VT_I4;
    v.lVal = value;
    const bool flag = option != soConflictResolution && option != soDelConflictResolution && option != soSyncType;
    if (flag) {
        v.vt = VT_BOOL;
        v.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    }
    ASSERT_EQ(maps()->SetOption(map_, option, v), S_OK);
}

void SyncScenario::pairFields(const std::vector<std::pair<LONG, LONG>>& types)
{
    makeMap();
    GUID fields{};
    ASSERT_EQ(maps()->GetFieldMap(map_, &fields), S_OK);
    const auto fieldMap = create<IFieldMap>(__uuidof(FieldMap));
    ASSERT_EQ(fieldMap->DeleteMap(fields), S_OK);
    for (const auto& [type1, type2] : types) ASSERT_EQ(fieldMap->AddMapEntry(fields, one().guidOf(type1), two().guidOf(type2)), S_OK);
}

GUID SyncScenario::fieldMapId()
{
    makeMap();
    GUID id{};
    EXPECT_EQ(maps()->GetFieldMap(map_, &id), S_OK);
    return id;
}

void SyncScenario::mapFields(LONG type1, LONG type2)
{
    const auto fieldMap = create<IFieldMap>(__uuidof(FieldMap));
    ASSERT_EQ(fieldMap->AddMapEntry(fieldMapId(), one().guidOf(type1), two().guidOf(type2)), S_OK);
}

void SyncScenario::beginRun()
{
    log_->clear();
    sink_->labels.clear();
    sink_->percents.clear();
    std::error_code none;
    const auto size = std::filesystem::file_size(folder.data() / "MBSync.log", none);
    logBefore_ = none ? 0 : static_cast<std::size_t>(size);
}

HRESULT SyncScenario::run(VARIANT_BOOL silent)
{
    makeMap();
    beginRun();
    return synchronizer_->Synchronize(map_, silent);
}

HRESULT SyncScenario::sync() { return run(VARIANT_TRUE); }

HRESULT SyncScenario::syncAsking() { return run(VARIANT_FALSE); }

GUID SyncScenario::addMap()
{
    GUID made{};
    EXPECT_EQ(maps()->Create(classes_[0], classes_[1], &made), S_OK);
    return made;
}

HRESULT SyncScenario::syncMap(const GUID& map)
{
    beginRun();
    return synchronizer_->Synchronize(map, VARIANT_TRUE);
}

HRESULT SyncScenario::syncAll() { return syncMap(GUID_NULL); }

HRESULT SyncScenario::resync()
{
    makeMap();
    beginRun();
    return synchronizer_.as<IReSynchronizer>()->ReSynchronize(map_, VARIANT_TRUE);
}

std::pair<std::u16string, std::u16string> SyncScenario::lastError()
{
    com::Variant code;
    com::Bstr message1, message2;
    EXPECT_EQ(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
    return {message1.text(), message2.text()};
}

com::Variant SyncScenario::lastCode()
{
    com::Variant code;
    com::Bstr message1, message2;
    EXPECT_EQ(synchronizer_->GetLastError(code.put(), message1.put(), message2.put()), S_OK);
    return code;
}

std::u16string SyncScenario::remembered(_TransIds side, const std::u16string& id, LONG type)
{
    const auto history = create<IFidemarkSupport>(__uuidof(TrManager));
    EXPECT_EQ(history->Initialize(map_), S_OK);
    com::Bstr value;
    const bool held =
        SUCCEEDED(history->BeginGetFieldData(side, com::Bstr(id).get())) && SUCCEEDED(history->GetFieldData(type, value.put()));
    return held ? value.text() : u"<none>";
}

std::vector<std::u16string> SyncScenario::rememberedRecords(_TransIds side)
{
    const auto history = create<IFidemarkSupport>(__uuidof(TrManager));
    EXPECT_EQ(history->Initialize(map_), S_OK);
    SAFEARRAY* listed = nullptr;
    if (FAILED(history->GetHistoryRecords(side, &listed))) return {}; // the history has no records
    std::vector<std::u16string> ids = com::textArray(listed);
    SafeArrayDestroy(listed);
    return ids;
}

std::filesystem::path SyncScenario::historyFile() const { return folder.data() / std::filesystem::path(com::guidText(map_) + u".xml"); }

std::multiset<FakeValues> SyncScenario::contents(const FakeStore& store)
{
    std::multiset<FakeValues> all;
    for (const auto& [id, record] : store.records) {
        FakeValues values;
        for (const auto& [type, text] : record.values)
            if (!text.empty()) values[type] = text;
        all.insert(std::move(values));
    }
    return all;
}

std::vector<std::string> SyncScenario::writes()
{
    std::vector<std::string> found;
    for (const std::string& line : log_->lines)
        for (const char* method : {" BeginAddRecord", " BeginEditRecord", " WriteField", " SaveRecord", " DeleteRecord"})
            if (line.substr(1).starts_with(method)) found.push_back(line);
    return found;
}

void SyncScenario::expectInStep()
{
    EXPECT_EQ(contents(one()), contents(two()));
    EXPECT_EQ(log_->violations, std::vector<std::string>());
    ASSERT_EQ(sync(), S_OK);
    EXPECT_EQ(writes(), std::vector<std::string>()) << "another run must have nothing to write";
}

std::string SyncScenario::logText() const { return folder.read(folder.data() / "MBSync.log"); }

} // namespace mbtest
