// What the history tells a run: whether it may serve, which identifiers moved, and what two dates mean.
#include "dialogs/CConfirmationDlg.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeValues;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// One contact on both sides, in step.
class HistoryAnalysis : public testing::Test {
protected:
    HistoryAnalysis() : HistoryAnalysis(mbtest::fakeClass1) {}
    explicit HistoryAnalysis(const GUID& class1) : s(class1) { ada = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}}); }
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
    std::filesystem::path historyFile() { return s.folder.data() / std::filesystem::path(com::guidText(s.map()) + u".xml"); }
    SyncScenario s;
    std::u16string ada;
};

constexpr GUID goldMine{0x2C0C63AE, 0x10AA, 0x4867, {0x92, 0xA5, 0x65, 0x7D, 0xBB, 0x18, 0x2E, 0x97}};

class GoldMineHistory : public HistoryAnalysis {
protected:
    GoldMineHistory() : HistoryAnalysis(goldMine) {}
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

TEST_F(HistoryAnalysis, AnExchangedDatabaseAfterAFailedRunIsNoReasonToBeginAnew)
{
    EXPECT_EQ(s.sync(), S_OK);
    s.log().failOn("1 GetRecordCount", s.log().count("1 GetRecordCount") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    s.one().options.database = u"another store";
    EXPECT_THAT(logOfARun(), Not(HasSubstr("Database has been changed")));
    EXPECT_THAT(s.log().starting("1 FindRecord"), SizeIs(2)) << "the old history served";
}

TEST_F(HistoryAnalysis, AnExchangedDatabaseIsAFirstTimeWhereOneOfThemHadNoName)
{
    s.one().options.database.clear();
    EXPECT_EQ(s.sync(), S_OK);
    s.two().options.database = u"another store";
    EXPECT_THAT(logOfARun(), HasSubstr("First time synchronization"));
    EXPECT_THAT(s.logText(), Not(HasSubstr("Database has been changed")));
}

TEST_F(HistoryAnalysis, FollowedIdentifiersMakeTheHistoryOneOfVersionThreeUntilTheNextGoodRun)
{
    EXPECT_EQ(s.sync(), S_OK);
    s.one().options.updater = true;
    s.one().rename(false, ada, u"A999999");
    s.one().options.changedIds[ada] = u"A999999";
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.folder.read(historyFile()), HasSubstr("Version=\"3\""));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.folder.read(historyFile()), HasSubstr("Version=\"4\""));
    EXPECT_THAT(s.two().records, SizeIs(1));
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

TEST_F(GoldMineHistory, OfVersionThreeAndLaterAsksForNoMovedIdentifiers)
{
    s.one().options.updater = s.two().options.updater = true;
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 GetUpdatedRecordId"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 GetUpdatedRecordId"), SizeIs(1));
    const std::string bytes = s.folder.read(historyFile());
    std::string old = bytes;
    old.replace(old.find("Version=\"4\""), 11, "Version=\"2\"");
    s.folder.write(std::filesystem::relative(historyFile(), s.folder.path()).string(), old);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 GetUpdatedRecordId"), SizeIs(1));
}
