// Details on their way through a run: what no other field of two stores carries arrives on both, line by line, and is never asked about.
#include "DetailsLines.h"
#include "FrontEndFake.h"
#include "store/CSyncHistory.h"
#include "SyncScenario.h"
#include "TextMatchers.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::Lines;
using mbtest::linesOf;
using mbtest::SyncScenario;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const FakeValues adaValues{{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}, {ftPhone, u"1"}};

class DetailsSync : public testing::Test {
protected:
    DetailsSync()
    {
        s.one().addDetailsField();
        s.two().addDetailsField();
    }
    static FakeValues withDetails(FakeValues values, const char16_t* details)
    {
        values[ftDetails] = details;
        return values;
    }
    // One contact on both sides, in step.
    void begin(const char16_t* details = u"NOTE:a\nTZ:1\nBDAY:19700101")
    {
        id1 = s.one().add(withDetails(adaValues, details));
        ASSERT_EQ(s.sync(), S_OK);
        id2 = s.two().order.back();
    }
    void sync()
    {
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.log().violations, std::vector<std::string>());
    }
    void set1(const char16_t* details) { s.one().set(id1, ftDetails, details); }
    void set2(const char16_t* details) { s.two().set(id2, ftDetails, details); }
    // Edits one after the other, by the dates of the records.
    void setLater(bool one, const char16_t* details)
    {
        FakeStore& store = one ? s.one() : s.two();
        const std::u16string& id = one ? id1 : id2;
        store.set(id, ftDetails, details);
        store.records.at(id).modified = later += 1.0;
    }
    Lines lines1() { return linesOf(s.one().get(id1, ftDetails)); }
    Lines lines2() { return linesOf(s.two().get(id2, ftDetails)); }
    void expectAtRest()
    {
        sync();
        EXPECT_THAT(s.writes(), IsEmpty()) << "a run without an edit writes nothing";
    }
    // Both sides hold these lines, and another run has nothing to do.
    void expectBoth(const Lines& lines)
    {
        EXPECT_EQ(lines1(), lines);
        EXPECT_EQ(lines2(), lines);
        expectAtRest();
    }
    SyncScenario s;
    std::u16string id1, id2;
    DATE later = 47000;
};

} // namespace

TEST_F(DetailsSync, ANewRecordTakesItsDetailsAlong)
{
    begin(u"NOTE:a\nitem1.URL:b\nitem1.X-ABLABEL:c\n@20;TYPE=cell\nUID:1\nVERSION:3.0");
    EXPECT_EQ(lines2(), lines1());
    expectAtRest();
    const auto grace = s.two().add({{ftLastName, u"Hopper"}, {ftDetails, u"X-A:1"}});
    sync();
    EXPECT_EQ(s.one().get(s.one().order.back(), ftDetails), u"X-A:1");
    expectAtRest();
}

TEST_F(DetailsSync, ANewRecordIsToldTheVersionThatTheMapDemandsAndAKnownOneIsNot)
{
    s.setOption(soCardVersion, cv30);
    begin(u"NOTE:a\nVERSION:4.0");
    EXPECT_EQ(s.two().get(id2, ftDetails), u"NOTE:a\nVERSION;PREF=1:3.0");
    s.setOption(soCardVersion, cv40);
    set1(u"NOTE:b\nVERSION:4.0");
    sync();
    EXPECT_EQ(lines2(), (Lines{u"NOTE:b", u"VERSION;PREF=1:3.0"}));
    expectAtRest();
}

TEST_F(DetailsSync, AnEditOfALineReachesTheOtherSideAndTouchesNoOtherField)
{
    begin();
    set1(u"NOTE:b\nTZ:1\nBDAY:19700101");
    sync();
    EXPECT_EQ(s.log().starting("2 WriteField").size(), 1u);
    expectBoth({u"BDAY:19700101", u"NOTE:b", u"TZ:1"});
    set2(u"NOTE:b\nBDAY:19710101\nX-NEW:1");
    sync();
    EXPECT_EQ(s.log().starting("1 WriteField").size(), 1u);
    expectBoth({u"BDAY:19710101", u"NOTE:b", u"X-NEW:1"});
}

TEST_F(DetailsSync, EditsOfDifferentLinesOnBothSidesMergeWithoutAQuestion)
{
    for (const bool asking : {false, true}) {
        mbtest::FrontEndFake user;
        user.byDefault = mb::idOk;
        begin();
        set1(u"NOTE:b\nTZ:1\nBDAY:19700101");
        set2(u"NOTE:a\nBDAY:19700101\nX-NEW:1");
        ASSERT_EQ(asking ? s.syncAsking() : s.sync(), S_OK);
        EXPECT_THAT(user.captions, Not(Contains(mbtest::Holds(u"Conflict"))));
        EXPECT_EQ(user.captions.size(), asking ? 1u : 0u) << "the summary alone";
        expectBoth({u"BDAY:19700101", u"NOTE:b", u"X-NEW:1"});
    }
}

TEST_F(DetailsSync, DetailsOfOneSideAndAFieldOfTheOtherBothArrive)
{
    begin();
    set1(u"NOTE:b\nTZ:1\nBDAY:19700101");
    s.two().set(id2, ftCity1, u"Paris");
    sync();
    EXPECT_EQ(s.one().get(id1, ftCity1), u"Paris");
    expectBoth({u"BDAY:19700101", u"NOTE:b", u"TZ:1"});
}

TEST_F(DetailsSync, AConflictOfAFieldIsSettledAndDetailsMergeWhateverItsAnswer)
{
    for (const LONG answer : {croTrans1Wins, croTrans2Wins}) {
        s.setOption(soConflictResolution, answer);
        begin();
        set1(u"NOTE:a\nTZ:1\nBDAY:19700101\nX-1:1");
        set2(u"NOTE:a\nTZ:1\nBDAY:19700101\nX-2:1");
        s.one().set(id1, ftCity1, u"Paris");
        s.two().set(id2, ftCity1, u"Rome");
        sync();
        EXPECT_EQ(s.one().get(id1, ftCity1), answer == croTrans1Wins ? u"Paris" : u"Rome");
        EXPECT_EQ(s.two().get(id2, ftCity1), s.one().get(id1, ftCity1));
        expectBoth({u"BDAY:19700101", u"NOTE:a", u"TZ:1", u"X-1:1", u"X-2:1"});
    }
}

TEST_F(DetailsSync, TheQuestionAboutAConflictDoesNotShowDetails)
{
    begin(u"NOTE:a");
    set1(u"NOTE:a\nX-1:1");
    set2(u"NOTE:a\nX-2:1");
    s.one().set(id1, ftCity1, u"Paris");
    s.two().set(id2, ftCity1, u"Rome");
    mbtest::FrontEndFake user;
    user.byDefault = mb::idOk;
    std::vector<mb::ListRow> rows;
    user.script.emplace_back([&](mb::Dialog& dialog) {
        for (const mb::Control& control : dialog.model().controls())
            if (control.kind == mb::ControlKind::List) rows.insert(rows.end(), control.rows.begin(), control.rows.end());
        dialog.closeUnanswered();
    });
    ASSERT_EQ(s.syncAsking(), E_ABORT);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].cells[0], u"City");
}

TEST_F(DetailsSync, AMergeThatLeavesNoFieldToWriteKeepsTheDetails)
{
    s.setOption(soConflictResolution, croMerge); // without a dialog the fields stay as they are
    begin(u"NOTE:a");
    set1(u"NOTE:a\nX-1:1");
    s.one().set(id1, ftCity1, u"Paris");
    s.two().set(id2, ftCity1, u"Rome");
    sync();
    EXPECT_EQ(lines2(), (Lines{u"NOTE:a", u"X-1:1"}));
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Rome");
}

TEST_F(DetailsSync, EqualNewRecordsWithDifferentDetailsAreLinkedAndUnited)
{
    for (const bool asking : {false, true}) {
        SCOPED_TRACE(asking);
        mbtest::FrontEndFake user;
        user.byDefault = mb::idOk;
        const FakeValues values{{ftFirstName, u"Grace"}, {ftLastName, asking ? u"Hopper" : u"Murray"}};
        id1 = s.one().add(withDetails(values, u"NOTE:a\nTZ:1"));
        id2 = s.two().add(withDetails(values, u"TZ:1\nX-2:1"));
        ASSERT_EQ(asking ? s.syncAsking() : s.sync(), S_OK);
        EXPECT_EQ(s.one().records.size(), s.two().records.size());
        EXPECT_EQ(s.one().records.size(), asking ? 2u : 1u);
        EXPECT_EQ(user.captions.size(), asking ? 1u : 0u) << "the summary alone";
        EXPECT_EQ(s.log().starting("2 WriteField").size(), 1u);
        EXPECT_EQ(s.log().starting("1 WriteField").size(), 1u);
        expectBoth({u"NOTE:a", u"TZ:1", u"X-2:1"});
        set1(u"NOTE:a\nTZ:1");
        sync();
        expectBoth({u"NOTE:a", u"TZ:1"});
    }
}

TEST_F(DetailsSync, EqualNewRecordsWithEqualDetailsAreLinkedAndNotWritten)
{
    id1 = s.one().add(withDetails(adaValues, u"NOTE:a\nTZ:1"));
    id2 = s.two().add(withDetails(adaValues, u"TZ:1\nNOTE:a"));
    sync();
    EXPECT_THAT(s.log().starting("1 WriteField"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 WriteField"), IsEmpty());
    set2(u"TZ:1");
    sync();
    expectBoth({u"TZ:1"});
}

TEST_F(DetailsSync, OneOfTwoEqualNewRecordsMayHaveDetailsAlone)
{
    id1 = s.one().add(adaValues);
    id2 = s.two().add(withDetails(adaValues, u"NOTE:a"));
    sync();
    expectBoth({u"NOTE:a"});
}

TEST_F(DetailsSync, OfALineThatStandsOnceTheLaterEditWinsAndTheOtherIsTold)
{
    for (const bool oneLater : {true, false}) {
        begin();
        setLater(!oneLater, oneLater ? u"BDAY:19720101" : u"BDAY:19710101");
        setLater(oneLater, oneLater ? u"BDAY:19710101" : u"BDAY:19720101");
        sync();
        expectBoth({oneLater ? u"BDAY:19710101" : u"BDAY:19720101"});
        EXPECT_THAT(s.logText(), HasSubstr(oneLater ? "Both sides changed a detail of Ada Lovelace. Second had: BDAY:19720101"
                                                    : "Both sides changed a detail of Ada Lovelace. First had: BDAY:19710101"));
        s.one().remove(id1);
        sync();
    }
}

TEST_F(DetailsSync, OfALineThatStandsOnceSideOneWinsWhereDatesAreUnknown)
{
    s.one().options.dates = s.two().options.dates = false;
    begin();
    set1(u"BDAY:19710101");
    set2(u"BDAY:19720101");
    sync();
    expectBoth({u"BDAY:19710101"});
}

TEST_F(DetailsSync, InAOneWayMapTheTargetsOwnLinesStayAndARemovedLineIsRemoved)
{
    s.setOption(soSyncType, stExportFromTrans1);
    begin();
    set2(u"NOTE:a\nTZ:1\nBDAY:19720101\nX-OWN:1");
    sync();
    EXPECT_EQ(lines1(), (Lines{u"BDAY:19700101", u"NOTE:a", u"TZ:1"}));
    set1(u"NOTE:a\nBDAY:19710101");
    sync();
    EXPECT_EQ(lines2(), (Lines{u"BDAY:19710101", u"NOTE:a", u"X-OWN:1"}));
    EXPECT_EQ(lines1(), (Lines{u"BDAY:19710101", u"NOTE:a"}));
    EXPECT_THAT(s.logText(), HasSubstr("Second had: BDAY:19720101"));
    expectAtRest();
    s.setOption(soSyncType, stSynchronize); // now the target's lines travel
    s.two().touch(id2);
    sync();
    expectBoth({u"BDAY:19710101", u"NOTE:a", u"X-OWN:1"});
}

TEST_F(DetailsSync, AStoreThatDropsOrSpellsLinesAnewIsAtRest)
{
    s.two().options.rewrite = [](LONG type, const std::u16string& text) {
        if (type != ftDetails) return text;
        Lines kept;
        for (const std::u16string& line : linesOf(text))
            if (!line.starts_with(u"X-")) kept.insert(line.starts_with(u"TZ") ? line + u"00" : line);
        return mbtest::textOfLines(kept);
    };
    begin(u"NOTE:a\nTZ:1\nX-LOST:1");
    EXPECT_EQ(lines2(), (Lines{u"NOTE:a", u"TZ:100"}));
    expectAtRest();
    s.one().touch(id1);
    s.two().touch(id2);
    expectAtRest();
    EXPECT_EQ(lines1(), (Lines{u"NOTE:a", u"TZ:1", u"X-LOST:1"}));
    set2(u"TZ:100"); // an edit beside them travels, and takes nothing along
    sync();
    EXPECT_EQ(lines1(), (Lines{u"TZ:1", u"X-LOST:1"}));
    expectAtRest();
}

TEST_F(DetailsSync, AHistoryWithoutABaseUnitesThemOnceAndRemovesNothing)
{
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftCity1, ftCity1}});
    begin(u"NOTE:a\nTZ:1");
    s.two().records.at(id2).values[ftDetails] = u"TZ:1\nX-2:1"; // its date does not tell
    expectAtRest();
    s.mapFields(ftDetails, ftDetails);
    sync();
    expectBoth({u"NOTE:a", u"TZ:1", u"X-2:1"});
    EXPECT_THAT(s.log().starting("1 ReadField"), IsEmpty()) << "all records are compared once";
    set1(u"NOTE:a\nTZ:1");
    sync();
    expectBoth({u"NOTE:a", u"TZ:1"});
}

TEST_F(DetailsSync, ARecordThatCouldNotBeReadInThatRunIsComparedInTheNext)
{
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    begin(u"NOTE:a");
    s.mapFields(ftDetails, ftDetails);
    for (FakeStore* broken : {&s.two(), &s.one()}) {
        broken->options.unreadable = {ftDetails};
        sync();
        EXPECT_EQ(lines2(), Lines{});
        broken->options.unreadable.clear();
    }
    sync();
    expectBoth({u"NOTE:a"});
}

TEST_F(DetailsSync, AHistoryWithoutABaseDoesNotKeepARecordThatTheOtherSideDeleted)
{
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    begin(u"NOTE:a");
    s.mapFields(ftDetails, ftDetails);
    s.two().remove(id2);
    sync();
    EXPECT_THAT(s.one().records, IsEmpty());
}

TEST_F(DetailsSync, AnEditOfDetailsKeepsARecordThatTheOtherSideDeleted)
{
    begin();
    set1(u"NOTE:b");
    s.two().remove(id2);
    sync();
    ASSERT_EQ(s.two().records.size(), 1u);
    id2 = s.two().order.back();
    expectBoth({u"NOTE:b"});
}

TEST_F(DetailsSync, DetailsThatCannotBeReadAreNeitherChangedNorRemoved)
{
    for (FakeStore* broken : {&s.one(), &s.two()}) {
        begin();
        set1(u"NOTE:b\nTZ:1\nBDAY:19700101");
        set2(u"NOTE:a\nTZ:1");
        s.one().set(id1, ftCity1, u"Paris");
        broken->options.unreadable = {ftDetails};
        sync();
        EXPECT_EQ(lines1(), (Lines{u"BDAY:19700101", u"NOTE:b", u"TZ:1"}));
        EXPECT_EQ(lines2(), (Lines{u"NOTE:a", u"TZ:1"}));
        EXPECT_EQ(s.two().get(id2, ftCity1), u"Paris") << "its fields travel";
        broken->options.unreadable.clear();
        sync();
        expectBoth({u"NOTE:b", u"TZ:1"});
    }
}

TEST_F(DetailsSync, DetailsAloneThatCannotBeReadWaitForTheNextRun)
{
    for (FakeStore* broken : {&s.one(), &s.two()}) {
        begin();
        set1(u"NOTE:b\nTZ:1");
        broken->options.unreadable = {ftDetails};
        sync();
        EXPECT_THAT(s.writes(), IsEmpty());
        broken->options.unreadable.clear();
        sync();
        expectBoth({u"NOTE:b", u"TZ:1"});
    }
}

TEST_F(DetailsSync, ANewRecordWhoseDetailsCannotBeReadGetsThemInTheNextRun)
{
    s.one().options.unreadable = {ftDetails};
    begin();
    EXPECT_EQ(lines2(), Lines{});
    s.one().options.unreadable.clear();
    sync();
    expectBoth({u"BDAY:19700101", u"NOTE:a", u"TZ:1"});
}

TEST_F(DetailsSync, ARefusedTextFailsTheRecordAsARefusedFieldDoes)
{
    begin();
    set1(u"NOTE:b");
    s.two().options.unwritable = {ftDetails};
    EXPECT_EQ(s.sync(), static_cast<HRESULT>(0x8004020C));
    s.two().options.unwritable.clear();
    ASSERT_EQ(s.sync(), S_OK);
    EXPECT_EQ(lines2(), Lines{u"NOTE:b"});
}

TEST_F(DetailsSync, AnAnnotationTravelsWithTheMapsPairsAndOneOfAnUnmappedFieldStaysHome)
{
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftPhone, ftNotes}, {ftDetails, ftDetails}});
    begin(u"@20;TYPE=cell\n@28;TYPE=x");
    ASSERT_EQ(LONG{ftPhone}, 20);
    const std::u16string notes = u"@" + std::u16string(1, u'0' + ftNotes / 10) + std::u16string(1, u'0' + ftNotes % 10);
    EXPECT_EQ(lines2(), Lines{notes + u";TYPE=cell"});
    EXPECT_EQ(lines1(), (Lines{u"@20;TYPE=cell", u"@28;TYPE=x"}));
    expectAtRest();
    s.two().set(id2, ftDetails, notes + u";TYPE=work\n@20;TYPE=y");
    sync();
    EXPECT_EQ(lines1(), (Lines{u"@20;TYPE=work", u"@28;TYPE=x"}));
    expectAtRest();
}

TEST_F(DetailsSync, AnAnnotationThatBothChangedFollowsTheSideWhoseFieldWins)
{
    for (const bool one : {true, false}) {
        begin(u"@20;TYPE=cell");
        if (one)
            s.one().set(id1, ftPhone, u"2");
        else
            s.two().set(id2, ftPhone, u"3");
        setLater(one, one ? u"@20;TYPE=one" : u"@20;TYPE=two");
        setLater(!one, one ? u"@20;TYPE=two" : u"@20;TYPE=one"); // the later edit does not count here
        sync();
        expectBoth({one ? u"@20;TYPE=one" : u"@20;TYPE=two"});
        s.one().remove(id1);
        sync();
    }
}

// The plug-in drops the annotation at the write. Where nothing is written, a PO box would stay without its address.
TEST_F(DetailsSync, ATextWithTheAnnotationOfAnEmptiedFieldIsWritten)
{
    for (const bool emptied : {false, true}) {
        begin(u"@20;TYPE=cell");
        s.one().set(id1, ftPhone, emptied ? u"" : u"2");
        set1(u"");
        set2(u"@20;TYPE=work");
        sync();
        const auto written = Contains("2 WriteField " + std::string(id2.begin(), id2.end()) + " Details=@20;TYPE=work");
        if (emptied)
            EXPECT_THAT(s.log().lines, written);
        else
            EXPECT_THAT(s.log().lines, Not(written));
        s.one().remove(id1);
        sync();
    }
}

TEST_F(DetailsSync, TheAnnotationOfAnAddressFollowsAnyOfItsFields)
{
    ASSERT_EQ(LONG{ftStreet1}, 8);
    begin(u"@8;TYPE=home");
    s.one().set(id1, ftCity1, u"Paris");
    setLater(true, u"@8;TYPE=one");
    setLater(false, u"@8;TYPE=two");
    sync();
    expectBoth({u"@8;TYPE=one"});
}

TEST_F(DetailsSync, TheHistoryHoldsHashesOfTheLinesAndNoLine)
{
    begin(u"NOTE:aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa");
    const std::u16string base = s.remembered(idTrans1, id1, ftDetails);
    EXPECT_EQ(base.size(), 35u);
    EXPECT_THAT(base, Not(mbtest::Holds(u"aaaa")));
    s.one().set(id1, ftDetails, u"");
    sync();
    EXPECT_EQ(s.remembered(idTrans1, id1, ftDetails), u"");
}

TEST_F(DetailsSync, ADamagedBaseIsAFirstMeetingAndRemovesNothing)
{
    using Damage = std::u16string (*)(std::u16string);
    constexpr Damage damages[] = {[](std::u16string base) {
                                      base[14] = base[14] == u'A' ? u'B' : u'A';
                                      return base;
                                  },
                                  [](std::u16string) { return std::u16string(); }}; // readable, and not what the other side has
    for (const char16_t* side : {u"Trans1", u"Trans2"})
        for (const Damage damage : damages) {
            begin();
            mb::CSyncHistory history(nullptr);
            ASSERT_EQ(history.Open(s.map()), S_OK);
            mb::FieldValueMap values;
            const std::u16string& id = side[5] == u'1' ? id1 : id2;
            ASSERT_EQ(history.ReadFieldData(side, id, values), S_OK);
            ASSERT_FALSE(values[ftDetails].empty());
            values[ftDetails] = damage(values[ftDetails]);
            ASSERT_EQ(history.WriteFieldData(side, id, values, false, true), S_OK);
            set1(u"NOTE:b\nTZ:1");
            s.two().touch(id2);
            sync();
            expectBoth({u"BDAY:19700101", u"NOTE:a", u"NOTE:b", u"TZ:1"});
            s.one().remove(id1);
            sync();
        }
}

TEST_F(DetailsSync, TheBaseOfAnExchangedStoreSaysNothingAboutTheNewOne)
{
    begin(u"NOTE:a");
    s.two().records.at(id2).values[ftDetails] = u"";
    s.two().options.database = u"another store, with a record of the same identifier";
    sync();
    expectBoth({u"NOTE:a"});
}

TEST_F(DetailsSync, WithoutThePairInTheMapDetailsStayHome)
{
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    begin();
    EXPECT_EQ(lines2(), Lines{});
    for (const std::string& line : s.log().lines) EXPECT_THAT(line, Not(HasSubstr("Details")));
}

TEST_F(DetailsSync, ARecordThatDidNotChangeIsNotRead)
{
    begin();
    sync();
    EXPECT_THAT(s.log().starting("1 BeginReadRecord"), IsEmpty());
    EXPECT_THAT(s.log().starting("2 BeginReadRecord"), IsEmpty());
}
