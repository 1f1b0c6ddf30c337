#include "SyncScenario.h"

#include <algorithm>

namespace mbtest {

SyncScenario::SyncScenario(const GUID& class1, const GUID& class2) : MapScenario(class1, class2)
{
    for (const int i : {0, 1}) {
        stores_[i] = std::make_shared<FakeStore>(i == 0 ? u"A" : u"B");
        stores_[i]->options.shortName = i == 0 ? u"First" : u"Second";
        fakes_[i].emplace(i == 0 ? class1 : class2, FakeSide{i == 0 ? "1" : "2", stores_[i], log_});
    }
    sink_ = com::make<EventSinkFake>();
    com::check(synchronizer_.as<IConnectionPointContainer>()->FindConnectionPoint(__uuidof(ISyncEvents), point_.put()));
    com::check(point_->Advise(com::Ptr<ISyncEvents>(sink_).get(), &advised_));
}

SyncScenario::~SyncScenario() { (void)point_->Unadvise(advised_); }

void SyncScenario::pairFields(const std::vector<std::pair<LONG, LONG>>& types)
{
    const GUID former = fieldMapId();
    const auto fieldMap = create<IFieldMap>(__uuidof(FieldMap));
    GUID id1{}, id2{}, fields{};
    ASSERT_EQ(fieldMap->GetTranslators(former, &id1, &id2), S_OK);
    ASSERT_EQ(fieldMap->Create(id1, id2, &fields), S_OK);
    for (const auto& [type1, type2] : types) ASSERT_EQ(fieldMap->AddMapEntry(fields, one().guidOf(type1), two().guidOf(type2)), S_OK);
    ASSERT_EQ(maps()->SetFieldMap(map(), fields), S_OK);
    ASSERT_EQ(fieldMap->DeleteMap(former), S_OK);
}

void SyncScenario::pairFieldsOfOldMap(const std::vector<std::pair<LONG, LONG>>& types)
{
    const GUID fields = fieldMapId();
    const auto fieldMap = create<IFieldMap>(__uuidof(FieldMap));
    ASSERT_EQ(fieldMap->DeleteMap(fields), S_OK);
    for (const auto& [type1, type2] : types) ASSERT_EQ(fieldMap->AddMapEntry(fields, one().guidOf(type1), two().guidOf(type2)), S_OK);
}

std::vector<std::pair<LONG, LONG>> SyncScenario::pairedFields()
{
    com::TaskArray<GUID> fields1, fields2;
    const auto fieldMap = create<IFieldMap>(__uuidof(FieldMap));
    EXPECT_EQ(fieldMap->EnumerateEntries(fieldMapId(), fields1.putCount(), fields1.put(), fields2.put()), S_OK);
    std::vector<std::pair<LONG, LONG>> types;
    const auto typeOf = [](const FakeStore& store, const GUID& field) {
        const FakeField* known = store.fieldOf(field);
        return known ? known->type : -1;
    };
    for (std::size_t i = 0; i < fields1.items().size(); ++i)
        types.emplace_back(typeOf(one(), fields1.data()[i]), typeOf(two(), fields2.data()[i]));
    return types;
}

GUID SyncScenario::fieldMapId()
{
    makeMap();
    GUID id{};
    EXPECT_EQ(maps()->GetFieldMap(map(), &id), S_OK);
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

std::u16string SyncScenario::remembered(_TransIds side, const std::u16string& id, LONG type)
{
    const auto history = create<IFidemarkSupport>(__uuidof(TrManager));
    EXPECT_EQ(history->Initialize(map()), S_OK);
    com::Bstr value;
    const bool held =
        SUCCEEDED(history->BeginGetFieldData(side, com::Bstr(id).get())) && SUCCEEDED(history->GetFieldData(type, value.put()));
    return held ? value.text() : u"<none>";
}

std::vector<std::u16string> SyncScenario::rememberedRecords(_TransIds side)
{
    const auto history = create<IFidemarkSupport>(__uuidof(TrManager));
    EXPECT_EQ(history->Initialize(map()), S_OK);
    SAFEARRAY* listed = nullptr;
    if (FAILED(history->GetHistoryRecords(side, &listed))) return {}; // the history has no records
    std::vector<std::u16string> ids = com::textArray(listed);
    SafeArrayDestroy(listed);
    return ids;
}

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
