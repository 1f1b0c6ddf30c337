// What the history tells a run: whether it may serve, which identifiers moved, and what two dates mean.
#include "dialogs/CConfirmationDlg.h"
#include "files.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"

#include <cmath>
#include <gmock/gmock.h>

namespace {

using mbtest::FakeValues;
using mbtest::SyncScenario;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// One contact on both sides, in step.
class HistoryAnalysis : public testing::Test {
protected:
    HistoryAnalysis() { ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}}); }
    // A field of side 1 changes, and the dates are as the test says.
    void changeCity(DATE date)
    {
        s.one().records.at(ada).values[ftCity1] = u"Paris";
        s.one().records.at(ada).modified = date;
    }
    std::string logOfARun(HRESULT expected = S_OK)
    {
        const std::size_t before = s.logText().size();
        EXPECT_EQ(s.sync(), expected);
        return s.logText().substr(before);
    }
    SyncScenario s;
    std::u16string ada;
};

constexpr GUID goldMine{0x2C0C63AE, 0x10AA, 0x4867, {0x92, 0xA5, 0x65, 0x7D, 0xBB, 0x18, 0x2E, 0x97}};
constexpr GUID goldMineCorporate{0x5C06CD02, 0x1F21, 0x46BC, {0xAC, 0x38, 0x63, 0xA9, 0xB0, 0xB7, 0x35, 0x69}};

// One of these two stores on one of the sides, and a history that knows one contact.
class GoldMineHistory : public testing::TestWithParam<std::pair<GUID, _TransIds>> {
protected:
    GoldMineHistory()
        : s(GetParam().second == idTrans1 ? GetParam().first : mbtest::fakeClass1,
            GetParam().second == idTrans2 ? GetParam().first : mbtest::fakeClass2)
    {
        s.one().options.updater = s.two().options.updater = true;
        s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
        EXPECT_EQ(s.sync(), S_OK);
    }
    // In a run with a history of that version: the questions for moved identifiers, and that for the number of records, in order.
    std::vector<std::string> questions(const std::string& version)
    {
        std::string text = s.folder.read(s.historyFile());
        text.replace(text.find("Version=\"4\""), 11, "Version=\"" + version + "\"");
        s.folder.write(std::filesystem::relative(s.historyFile(), s.folder.path()).string(), text);
        EXPECT_EQ(s.sync(), S_OK);
        std::vector<std::string> found;
        for (const std::string& line : s.log().lines)
            for (const char* method : {" GetUpdatedRecordId", " GetRecordCount"})
                if (line.substr(1).starts_with(method)) found.push_back(line.substr(0, 1) + method);
        return found;
    }
    SyncScenario s;
};

} // namespace

TEST_F(HistoryAnalysis, AnUnknownDateOfTheLastRunLeavesItToTheFields)
{
    s.one().options.dates = false;
    EXPECT_EQ(s.sync(), S_OK);
    s.one().options.dates = true;
    changeCity(s.one().records.at(ada).modified);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(s.two().order.front(), ftCity1), u"Paris");
}

TEST_F(HistoryAnalysis, DatesBeforeTheEpochAreNeverNewer)
{
    s.one().records.at(ada).modified = -20.0;
    EXPECT_EQ(s.sync(), S_OK);
    changeCity(-10.0);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(HistoryAnalysis, ADateThatIsLaterByTheSmallestStepIsAChangeAndAnEqualOneIsNone)
{
    EXPECT_EQ(s.sync(), S_OK);
    const std::u16string ada2 = s.two().order.front();
    const DATE known = s.one().records.at(ada).modified;
    for (const DATE unchanged : {known, std::nextafter(known, 0.0)}) {
        changeCity(unchanged);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    changeCity(std::nextafter(known, known + 1.0));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"Paris");
}

// A history of a former version has the database as it was given.
TEST_F(HistoryAnalysis, AnotherSpellingOfTheSameFolderIsNoOtherStore)
{
    namespace fs = std::filesystem;
    const fs::path cards = s.folder.path() / "cards";
    fs::create_directory(cards);
    for (const fs::path& spelling : {cards / "", cards / "." / "", cards / ".." / "cards"}) {
        s.one().options.database = platform::textOf(cards);
        ASSERT_EQ(s.sync(), S_OK);
        s.one().options.database = platform::textOf(spelling);
        EXPECT_THAT(logOfARun(), Not(HasSubstr("Database has been changed"))) << spelling;
        EXPECT_EQ(s.two().records.size(), 1u);
    }
    fs::create_directory(s.folder.path() / "others");
    s.one().options.database = platform::textOf(s.folder.path() / "others");
    EXPECT_THAT(logOfARun(), HasSubstr("Database has been changed"));
}

TEST_F(HistoryAnalysis, AnExchangedDatabaseBeginsAnewAfterAFailedRunToo)
{
    EXPECT_EQ(s.sync(), S_OK);
    s.log().failOn("1 GetRecordCount", s.log().count("1 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    s.one().options.database = u"another store";
    EXPECT_THAT(logOfARun(), HasSubstr("Database has been changed"));
    EXPECT_THAT(s.log().starting("1 FindRecord"), IsEmpty()) << "the old history did not serve";
}

TEST_F(HistoryAnalysis, AnExchangedDatabaseIsAFirstTimeWhereOneOfThemHadNoName)
{
    s.one().options.database.clear();
    EXPECT_EQ(s.sync(), S_OK);
    s.two().options.database = u"another store";
    EXPECT_THAT(logOfARun(), HasSubstr("First time synchronization"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("Database has been changed")));
}

TEST_F(HistoryAnalysis, AHistoryWithoutRecordsOffersNoReSync)
{
    s.one().remove(ada);
    EXPECT_EQ(s.sync(), S_OK);
    s.one().add({{ftLastName, u"Hopper"}});
    mbtest::FrontEndFake user;
    bool asked = false;
    user.script.emplace_back([&](mb::Dialog& dialog) {
        asked = true;
        EXPECT_FALSE(dialog.model().find(mb::idReSync)->enabled);
    });
    EXPECT_EQ(s.syncAsking(), E_ABORT);
    EXPECT_TRUE(asked);
}

TEST_P(GoldMineHistory, IsAskedForMovedIdentifiersOnlyOfBeforeVersionThree)
{
    const std::string other = GetParam().second == idTrans1 ? "2 GetUpdatedRecordId" : "1 GetUpdatedRecordId";
    for (const char* version : {"3", "4"})
        EXPECT_THAT(questions(version), ElementsAre(other, "1 GetRecordCount", "2 GetRecordCount")) << version;
    EXPECT_THAT(questions("2"), ElementsAre("1 GetUpdatedRecordId", "2 GetUpdatedRecordId", "1 GetRecordCount", "2 GetRecordCount"));
}

INSTANTIATE_TEST_SUITE_P(Stores, GoldMineHistory,
                         testing::Values(std::pair(goldMine, idTrans1), std::pair(goldMine, idTrans2),
                                         std::pair(goldMineCorporate, idTrans1), std::pair(goldMineCorporate, idTrans2)));
