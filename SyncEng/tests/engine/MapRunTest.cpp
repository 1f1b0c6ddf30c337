// One run of a map around its pipeline: how the translators are loaded and started, and what the files remember of it.
#include "People.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>
#include <regex>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// How often the text stands in the other one.
std::size_t countOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}

std::filesystem::path historyOf(SyncScenario& s) { return s.folder.data() / std::filesystem::path(com::guidText(s.map()) + u".xml"); }

} // namespace

TEST(MapRun, AFirstPluginThatIsMissingEndsTheRunWithoutAWordWhereTheSecondLoads)
{
    SyncScenario s;
    constexpr GUID nobody{0x12345678, 0, 0, {1, 2, 3, 4, 5, 6, 7, 8}};
    const GUID map = com::newGuid();
    s.makeMap();
    (void)s.maps()->CreateEx(map, nobody, mbtest::fakeClass2);
    EXPECT_EQ(s.syncMap(map), S_OK);
    EXPECT_THAT(s.log().lines, ElementsAre("2 GetLastError", "2 Cleanup"));
    EXPECT_EQ(s.lastError().first, u"");
}

TEST(MapRun, DynamicFieldsAreNumberedOnFromSideToSideAndAfreshInEachRun)
{
    SyncScenario s;
    for (auto* store : {&s.one(), &s.two()}) {
        store->options.dynamicFields = true;
        store->addDynamicField(u"Shoe size");
        store->addDynamicField(u"Hat size");
    }
    for (int run = 1; run <= 2; ++run) {
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.log().starting("1 LoadDynamicFields"), ElementsAre("1 LoadDynamicFields 3000")) << run;
        EXPECT_THAT(s.log().starting("2 LoadDynamicFields"), ElementsAre("2 LoadDynamicFields 3002")) << run;
    }
}

TEST(MapRun, AnOlderHistoryIsOneOfTodaysAfterAGoodRunAlone)
{
    SyncScenario s;
    s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto path = historyOf(s);
    const std::string old = std::regex_replace(s.folder.read(path), std::regex("Version=\"4\""), "Version=\"2\"");
    ASSERT_EQ(countOf(old, "Version=\"2\""), 1u);
    s.folder.write(std::filesystem::relative(path, s.folder.path()).string(), old);
    s.log().failOn("1 GetRecordCount", s.log().count("1 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.folder.read(path), HasSubstr("Version=\"2\""));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.folder.read(path), HasSubstr("Version=\"4\""));
}

TEST(MapRun, BothTranslatorsAreToldThatTheyMayBeConfigured)
{
    SyncScenario s;
    s.makeMap();
    const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
    EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_TRUE), S_OK);
    EXPECT_EQ(synchronizer->Synchronize(s.map(), VARIANT_TRUE), S_OK);
    EXPECT_THAT(s.log().starting("1 Initialize"), ElementsAre("1 Initialize reconfigure"));
    EXPECT_THAT(s.log().starting("2 Initialize"), ElementsAre("2 Initialize reconfigure"));
}

TEST(MapRun, TwoPassesHaveOneEndedLine)
{
    SyncScenario s;
    s.one().options.categories = s.two().options.categories = true;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(countOf(s.logText(), "Synchronization started"), 1u);
    EXPECT_EQ(countOf(s.logText(), "Synchronization ended"), 1u);
    EXPECT_EQ(countOf(s.logText(), "Copying started"), 1u);
    EXPECT_EQ(countOf(s.logText(), "Copying ended"), 1u);
}

TEST(MapRun, ACancelOnSideTwoEndsTheBatchOfSideOneToo)
{
    SyncScenario s;
    EXPECT_EQ(s.sync(), S_OK);
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Alan", u"Turing"));
    s.sink().writes = 0;
    s.sink().cancelAtWrite = 1;
    EXPECT_EQ(s.sync(), E_ABORT);
    EXPECT_THAT(s.log().starting("1 BeginUpdate"), IsEmpty());
    EXPECT_THAT(s.log().starting("1 EndUpdate"), SizeIs(1)) << "without a batch, as translators know it";
}

TEST(MapRun, AChangedFieldMapCountsAsChangedUntilAGoodRun)
{
    SyncScenario s;
    EXPECT_EQ(s.sync(), S_OK);
    GUID fieldMapId{};
    EXPECT_EQ(s.maps()->GetFieldMap(s.map(), &fieldMapId), S_OK);
    const auto fieldMap = s.create<IFieldMap>(__uuidof(FieldMap));
    EXPECT_EQ(fieldMap->SetFieldMapUpdated(fieldMapId, 1), S_OK);
    s.log().failOn("1 GetRecordCount", s.log().count("1 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    LONG updated = 0;
    EXPECT_EQ(fieldMap->GetFieldMapUpdated(fieldMapId, &updated), S_OK);
    EXPECT_EQ(updated, 1);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(fieldMap->GetFieldMapUpdated(fieldMapId, &updated), S_OK);
    EXPECT_EQ(updated, 0);
}

TEST(MapRun, AGoodRunRemembersItsTime)
{
    SyncScenario s;
    s.makeMap();
    DATE before = 0.0, time = 0.0;
    (void)s.maps()->GetLastSyncTime(s.map(), &before);
    EXPECT_EQ(before, 0.0);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.maps()->GetLastSyncTime(s.map(), &time), S_OK);
    EXPECT_GT(time, 45000.0);
}

TEST(MapRun, AFieldThatTheTargetRefusesEndsTheRunAndTheNextOneWritesTheRecord)
{
    SyncScenario s;
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
    s.log().failOn("2 WriteField", 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL) << "and the next field, which could be read, does not hide it";
    EXPECT_THAT(s.log().starting("2 SaveRecord"), IsEmpty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    s.expectInStep();
}

TEST(MapRun, AFailureOnSideOneIsToldInItsOwnWords)
{
    SyncScenario s;
    s.one().options.errorMessage1 = u"The first store is full.";
    s.two().options.errorMessage1 = u"The second store is content.";
    s.two().add(person(u"Alan", u"Turing"));
    s.log().failOn("1 SaveRecord", 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_EQ(s.lastError().first, u"The first store is full.");
}

TEST(MapRun, AfterARecordThatCannotBeWrittenNothingIsDeleted)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    s.one().remove(ada);
    s.one().add(person(u"Grace", u"Hopper"));
    s.log().failOn("2 SaveRecord", s.log().count("2 SaveRecord") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.log().starting("2 DeleteRecord"), IsEmpty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1));
    s.expectInStep();
}

TEST(MapRun, ATargetThatCannotBeReadBackKeepsTheValuesItHadInTheHistory)
{
    SyncScenario s;
    const auto ada = s.one().add(person(u"Ada", u"Lovelace"));
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back();
    s.one().set(ada, ftCity1, u"Paris");
    // Of a change of the city alone, the city alone is read back.
    s.log().failOn("2 ReadField", s.log().count("2 ReadField") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("2 ReadField"), ElementsAre("2 ReadField B000001 City"));
    s.two().touch(ada2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 WriteField"), ElementsAre("1 WriteField A000001 City=Paris")) << "the city it was given is new to it";
}
