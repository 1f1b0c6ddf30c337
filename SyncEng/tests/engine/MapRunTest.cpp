// One run of a map around its pipeline: how the translators are loaded and started, and what the files remember of it.
#include "People.h"
#include "RegistryValues.h"
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

constexpr GUID outlookExpress{0xA268D411, 0x2A98, 0x40B8, {0x80, 0x71, 0xB9, 0x48, 0x9A, 0x5D, 0xE4, 0xB2}};

// The address book that the registry names for the helper program of that mail client.
std::optional<std::u16string> addressBook()
{
    const auto key = platform::RegistryKey::open(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng");
    return key ? key->text(u"OutlookExpressDB") : std::nullopt;
}

void registerName(const GUID& clsid, std::u16string_view name)
{
    mbtest::setText(platform::Root::ClassesRoot, u"CLSID\\" + com::guidText(clsid), u"", name);
}

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
    const auto path = s.historyFile();
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

TEST(MapRun, TheAddressBookOfAMapIsLeftInTheRegistryAlsoByARunThatFails)
{
    SyncScenario s(mbtest::fakeClass1, outlookExpress);
    s.makeMap();
    s.two().options.database = u"C:\\Book.wab";
    ASSERT_TRUE(platform::RegistryKey::remove(platform::Root::CurrentUser, u"Software\\Zorel\\MBSyncEng"));
    s.log().failOn("1 Initialize", 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_EQ(addressBook(), u"C:\\Book.wab");
    s.two().options.database = u"C:\\Other.wab";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(addressBook(), u"C:\\Other.wab");
    s.two().options.database.clear();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(addressBook(), u"C:\\Other.wab") << "an empty name replaces none";
}

TEST(MapRun, OnlyTheAddressBookOfTranslatorTwoIsLeftInTheRegistry)
{
    for (const auto& [class1, class2] :
         {std::pair(outlookExpress, mbtest::fakeClass2), std::pair(mbtest::fakeClass1, mbtest::fakeClass2)}) {
        SyncScenario s(class1, class2);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_EQ(addressBook(), std::nullopt);
    }
}

TEST(MapRun, ATranslatorThatTellsNoNameIsCalledByThatOfItsClass)
{
    SyncScenario s;
    s.one().options.info = s.two().options.info = false;
    registerName(mbtest::fakeClass1, u"A Registered Class");
    s.one().add(person(u"Ada", u"Lovelace"));
    s.two().add(person(u"Alan", u"Turing"));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.logText(), HasSubstr("\nA Registered Class: store of A\r\n: store of B\r\n")) << "the second class has no name";
    EXPECT_THAT(s.logText(), HasSubstr("A Registered Class has 1 records\r\n has 1 records\r\n"));
    EXPECT_THAT(s.logText(), HasSubstr("\tCREATED in A Registered Class: Alan Turing\r\n"));
}
