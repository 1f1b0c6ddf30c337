// Maps that were made before their stores had a field: they get its pair in one run, and lose nothing by it.
#include "DetailsLines.h"
#include "FrontEndFake.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::Lines;
using mbtest::linesOf;
using mbtest::SyncScenario;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::pair<LONG, LONG> pairOfDetails{ftDetails, ftDetails}, pairOfKinds{ftKind, ftKind};

// What a record holds that no version before could read. Its date stays.
void setUnseen(FakeStore& store, const std::u16string& id, LONG type, const char16_t* value) { store.records.at(id).values[type] = value; }

class OfferedFields : public testing::Test {
protected:
    // One contact in step, and then stores with details that the run did not see.
    OfferedFields()
    {
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
        EXPECT_EQ(s.sync(), S_OK);
        id2 = s.two().order.back();
        setUnseen(s.one(), id1, ftDetails, u"NOTE:a\nTZ:1");
        setUnseen(s.two(), id2, ftDetails, u"TZ:1\nX-2:1");
    }
    void gainDetails()
    {
        s.one().addDetailsField();
        s.two().addDetailsField();
    }
    void sync()
    {
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.log().violations, std::vector<std::string>());
    }
    void expectUnited()
    {
        EXPECT_EQ(linesOf(s.one().get(id1, ftDetails)), (Lines{u"NOTE:a", u"TZ:1", u"X-2:1"}));
        EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)), (Lines{u"NOTE:a", u"TZ:1", u"X-2:1"}));
        EXPECT_THAT(s.pairedFields(), Contains(pairOfDetails));
        sync();
        EXPECT_THAT(s.writes(), IsEmpty());
        for (const std::string& line : s.log().lines) EXPECT_THAT(line, Not(HasSubstr("BeginReadRecord"))) << "the run is at rest";
    }
    void expectHome()
    {
        EXPECT_EQ(linesOf(s.one().get(id1, ftDetails)), (Lines{u"NOTE:a", u"TZ:1"}));
        EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)), (Lines{u"TZ:1", u"X-2:1"}));
    }
    LONG updated()
    {
        LONG updated = 0;
        (void)s.create<IFieldMap>(__uuidof(FieldMap))->GetFieldMapUpdated(s.fieldMapId(), &updated);
        return updated;
    }
    SyncScenario s;
    std::u16string id1, id2;
};

} // namespace

TEST_F(OfferedFields, TheNextRunUnitesDetailsAndKeepsTheirPair)
{
    gainDetails();
    sync();
    EXPECT_EQ(s.log().starting("1 WriteField").size(), 1u) << "the details alone";
    EXPECT_EQ(s.log().starting("2 WriteField").size(), 1u);
    EXPECT_NE(updated(), 1) << "its user did not change the map";
    expectUnited();
    EXPECT_EQ(s.pairedFields().size(), s.one().fields.size()) << "each pair once";
}

TEST_F(OfferedFields, APairNeedsAFieldOnBothSides)
{
    s.one().addDetailsField();
    sync();
    EXPECT_THAT(s.pairedFields(), Not(Contains(pairOfDetails)));
    EXPECT_THAT(s.writes(), IsEmpty());
    expectHome();
    s.two().addDetailsField();
    sync();
    expectUnited();
}

TEST_F(OfferedFields, AnUnmappedPairIsNotOfferedAgain)
{
    gainDetails();
    sync();
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}, {ftCity1, ftCity1}}); // another edit does not forget it
    setUnseen(s.one(), id1, ftDetails, u"X-NEW:1");
    s.one().touch(id1);
    sync();
    EXPECT_THAT(s.pairedFields(), Not(Contains(pairOfDetails)));
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(OfferedFields, APairThatItsUserMappedAndUnmappedBeforeAnyRunIsNotOffered)
{
    gainDetails();
    s.mapFields(ftDetails, ftDetails);
    s.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    sync();
    EXPECT_THAT(s.pairedFields(), Not(Contains(pairOfDetails)));
    expectHome();
}

TEST_F(OfferedFields, AFieldThatIsMappedToAnotherOneIsNotMappedTwice)
{
    gainDetails();
    s.mapFields(ftDetails, ftNotes);
    const auto before = s.pairedFields();
    sync();
    EXPECT_EQ(s.pairedFields(), before);
}

TEST_F(OfferedFields, AMapWithoutFieldsStaysWithoutFields)
{
    gainDetails();
    s.pairFieldsOfOldMap({});
    sync();
    EXPECT_THAT(s.pairedFields(), IsEmpty());
    expectHome();
}

TEST_F(OfferedFields, ARunThatFailsLeavesTheMapAsItWasAndTheNextOneDoesIt)
{
    gainDetails();
    s.two().options.unwritable = {ftDetails};
    ASSERT_TRUE(FAILED(s.sync()));
    EXPECT_THAT(s.pairedFields(), Not(Contains(pairOfDetails)));
    s.two().options.unwritable.clear();
    s.log().violations.clear(); // the run ended within a record, as it does where a field is refused
    sync();
    expectUnited();
}

TEST_F(OfferedFields, ASummaryThatIsDeclinedShowsThemAndLeavesTheMapAsItWas)
{
    gainDetails();
    {
        mbtest::FrontEndFake user;
        user.byDefault = mb::idCancel;
        EXPECT_EQ(s.syncAsking(), E_ABORT);
        EXPECT_EQ(user.captions.size(), 1u) << "there is something to confirm";
    }
    EXPECT_THAT(s.pairedFields(), Not(Contains(pairOfDetails)));
    expectHome();
    sync();
    expectUnited();
}

TEST(OfferedFieldsSweep, WhateverCallFailsTheNextRunsUniteThem)
{
    for (const char* call :
         {"1 ReadField", "2 ReadField", "1 GetFieldByIndex", "2 GetFieldType", "2 WriteField", "1 SaveRecord", "2 EndUpdate"})
        for (const HRESULT way : {E_FAIL, E_ABORT})
            for (int n = 1;; ++n) {
                SCOPED_TRACE(std::string(call) + " " + std::to_string(n));
                SyncScenario own;
                const auto one = own.one().add({{ftLastName, u"Lovelace"}, {ftDetails, u"X-1:1"}});
                ASSERT_EQ(own.sync(), S_OK);
                const auto two = own.two().order.back();
                setUnseen(own.two(), two, ftDetails, u"X-2:1");
                own.one().addDetailsField();
                own.two().addDetailsField();
                own.log().failOn(call, own.log().count(call) + n, way);
                (void)own.sync();
                if (!own.log().failed()) break;
                ASSERT_EQ(own.sync(), S_OK);
                ASSERT_EQ(own.sync(), S_OK);
                ASSERT_EQ(linesOf(own.one().get(one, ftDetails)), (Lines{u"X-1:1", u"X-2:1"}));
                ASSERT_EQ(linesOf(own.two().get(two, ftDetails)), (Lines{u"X-1:1", u"X-2:1"}));
                ASSERT_THAT(own.pairedFields(), Contains(pairOfDetails));
                ASSERT_THAT(own.writes(), IsEmpty());
            }
}

TEST_F(OfferedFields, ATextThatIsReadAnewIsNoEdit)
{
    gainDetails();
    setUnseen(s.one(), id1, ftCity1, u"London, read anew");
    setUnseen(s.two(), id2, ftCity1, u"London, read in a third way");
    sync();
    EXPECT_EQ(s.one().get(id1, ftCity1), u"London, read anew");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"London, read in a third way");
    EXPECT_EQ(s.remembered(idTrans1, id1, ftCity1), u"London, read anew");
    EXPECT_EQ(s.remembered(idTrans2, id2, ftCity1), u"London, read in a third way");
    expectUnited();
    s.one().set(id1, ftFirstName, u"Augusta Ada");
    sync();
    EXPECT_EQ(s.two().get(id2, ftFirstName), u"Augusta Ada");
    EXPECT_EQ(s.two().get(id2, ftCity1), u"London, read in a third way");
}

TEST_F(OfferedFields, ARecordWithALaterDateIsComparedAsEver)
{
    gainDetails();
    s.one().set(id1, ftCity1, u"Paris");
    sync();
    EXPECT_EQ(s.two().get(id2, ftCity1), u"Paris");
    expectUnited();
}

TEST(OfferedFieldsOfAnEditedMap, AFieldThatWasMappedSinceTravelsWithTheNextEditOfItsRecord)
{
    SyncScenario own;
    own.pairFields({{ftFirstName, ftFirstName}, {ftLastName, ftLastName}});
    const auto one = own.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}, {ftCity1, u"Arlington"}});
    ASSERT_EQ(own.sync(), S_OK);
    const auto two = own.two().order.back();
    own.mapFields(ftCity1, ftCity1);
    own.one().addDetailsField();
    own.two().addDetailsField();
    ASSERT_EQ(own.sync(), S_OK);
    EXPECT_THAT(own.writes(), IsEmpty()) << "neither has details";
    EXPECT_EQ(own.remembered(idTrans1, one, ftCity1), u"<none>");
    own.one().set(one, ftFirstName, u"Grace B.");
    ASSERT_EQ(own.sync(), S_OK);
    EXPECT_EQ(own.two().get(two, ftCity1), u"Arlington");
}

TEST_F(OfferedFields, ThatARecordHasDetailsDoesNotKeepItWhereItsPartnerWasDeleted)
{
    gainDetails();
    setUnseen(s.one(), id1, ftCity1, u"London, read anew");
    s.two().remove(id2);
    sync();
    EXPECT_THAT(s.one().records, IsEmpty());
}

TEST_F(OfferedFields, KindsTravelWithTheirPair)
{
    for (FakeStore* store : {&s.one(), &s.two()}) store->fields.push_back({ftKind, u"Kind"});
    setUnseen(s.one(), id1, ftKind, u"org");
    sync();
    EXPECT_EQ(s.two().get(id2, ftKind), u"org");
    EXPECT_THAT(s.pairedFields(), Contains(pairOfKinds));
    sync();
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(OfferedFields, AKindDoesNotKeepARecordWhosePartnerWasDeleted)
{
    for (FakeStore* store : {&s.one(), &s.two()}) store->fields.push_back({ftKind, u"Kind"});
    setUnseen(s.one(), id1, ftKind, u"org");
    s.two().remove(id2);
    sync();
    EXPECT_THAT(s.one().records, IsEmpty());
}

TEST_F(OfferedFields, AOneWayMapGetsThePairAndWritesItsTargetAlone)
{
    s.setOption(soSyncType, stExportFromTrans1);
    gainDetails();
    sync();
    EXPECT_EQ(linesOf(s.one().get(id1, ftDetails)), (Lines{u"NOTE:a", u"TZ:1"}));
    EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)), (Lines{u"NOTE:a", u"TZ:1", u"X-2:1"}));
    EXPECT_THAT(s.pairedFields(), Contains(pairOfDetails));
}
