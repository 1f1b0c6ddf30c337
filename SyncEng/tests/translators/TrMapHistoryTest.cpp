#include "TranslatorsFixture.h"

#include "error_text.h"
#include "store/CSyncHistory.h"

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

mb::FieldValueMap values(LONG type, const char16_t* text)
{
    mb::FieldValueMap fields;
    fields[type] = text;
    return fields;
}

class TrMapHistoryTest : public TranslatorsTest {
protected:
    com::Ptr<ITrMap> map = maps();
    VARIANT_BOOL status(HRESULT expected)
    {
        VARIANT_BOOL value = 5;
        EXPECT_EQ(map->GetLastSyncStatus(mapA, &value), expected);
        return value;
    }
    struct Categories {
        HRESULT hr;
        std::vector<std::u16string> ids, names;
    };
    Categories categories(_TransIds side)
    {
        SAFEARRAY *ids = nullptr, *names = nullptr;
        Categories found{map->GetHistoryCategories(mapA, side, &ids, &names), com::textArray(ids), com::textArray(names)};
        if (ids) SafeArrayDestroy(ids);
        if (names) SafeArrayDestroy(names);
        return found;
    }
};

TEST_F(TrMapHistoryTest, AMapThatNeverRanHasASuccessfulStatusAndAFailureCode) { EXPECT_EQ(status(E_FAIL), VARIANT_TRUE); }

TEST_F(TrMapHistoryTest, TheLastStatusIsGoodOnlyIfItIsOne)
{
    writeHistory(mapA, 1);
    EXPECT_EQ(status(S_OK), VARIANT_TRUE);
    writeHistory(mapA, 0);
    EXPECT_EQ(status(S_OK), VARIANT_FALSE);
    writeHistory(mapA, 2);
    EXPECT_EQ(status(S_OK), VARIANT_FALSE);
}

TEST_F(TrMapHistoryTest, AMapThatNeverRanHasNoTimeAndNoDatabases)
{
    DATE time = 5;
    EXPECT_EQ(map->GetLastSyncTime(mapA, &time), E_FAIL);
    EXPECT_EQ(time, 0.0);
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetLastSyncDatabase(mapA, database1.put(), database2.put()), E_FAIL);
    EXPECT_NE(database1.get(), nullptr);
    EXPECT_EQ(database1.view(), u"");
    EXPECT_EQ(database2.view(), u"");
}

TEST_F(TrMapHistoryTest, TheTimeIsSetForBothSidesAndReadFromTheFirst)
{
    EXPECT_EQ(map->SetLastSyncTime(mapA, 45000.25), S_OK);
    mb::CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(mapA), S_OK);
    DATE time = 0;
    EXPECT_EQ(history.GetLastSyncTime(u"Trans2", time), S_OK);
    EXPECT_EQ(time, 45000.25);
    ASSERT_EQ(history.SetLastSyncTime(u"Trans2", 1.5), S_OK);
    EXPECT_EQ(map->GetLastSyncTime(mapA, &time), S_OK);
    EXPECT_EQ(time, 45000.25);
}

TEST_F(TrMapHistoryTest, TheDatabasesOfTheLastRunAreKept)
{
    const com::Bstr left(u"left's \"file\""), right(u"right");
    EXPECT_EQ(map->SetLastSyncDatabases(mapA, left.get(), right.get()), S_OK);
    com::Bstr database1, database2;
    EXPECT_EQ(map->GetLastSyncDatabase(mapA, database1.put(), database2.put()), S_OK);
    EXPECT_EQ(database1.view(), left.view());
    EXPECT_EQ(database2.view(), u"right");
}

TEST_F(TrMapHistoryTest, AllRecordsOfASideAreMarkedAndSaved)
{
    {
        mb::CSyncHistory history(nullptr);
        ASSERT_EQ(history.Open(mapA), S_OK);
        for (const char16_t* side : {u"Trans1", u"Trans2"})
            for (const char16_t* id : {u"a", u"b"}) ASSERT_EQ(history.WriteEntry(side, {id, 1.0, id, false}), S_OK);
        ASSERT_EQ(history.SetLastSyncStatus(u"Trans1", 1), S_OK);
    }
    const com::Bstr side(u"Trans2");
    EXPECT_EQ(map->SetFieldMapStatusForHistRecs(mapA, side.get(), VARIANT_TRUE), S_OK);
    mb::CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(mapA), S_OK);
    for (const char16_t* id : {u"a", u"b"}) {
        mb::HistoryEntry unmarked{id, 0, {}, false}, marked{id, 0, {}, false};
        EXPECT_EQ(history.ReadEntry(u"Trans2", marked, true), S_OK);
        EXPECT_TRUE(marked.FieldMapChanged);
        (void)history.ReadEntry(u"Trans1", unmarked, true); // this entry never had the flag
        EXPECT_FALSE(unmarked.FieldMapChanged);
    }
}

TEST_F(TrMapHistoryTest, CategoriesWithANameAreListedForASide)
{
    ASSERT_EQ(map->SetCategoryGuid(mapA, mapB), S_OK);
    {
        mb::CSyncHistory history(nullptr);
        ASSERT_EQ(history.Open(mapB), S_OK);
        ASSERT_EQ(history.WriteFieldData(u"Trans1", u"id1", values(ftLastName, u"Friends"), false, false), S_OK);
        ASSERT_EQ(history.WriteFieldData(u"Trans1", u"id2", values(ftFirstName, u"no name"), false, false), S_OK);
        ASSERT_EQ(history.WriteFieldData(u"Trans1", u"id3", values(ftLastName, u""), false, false), S_OK);
        ASSERT_EQ(history.WriteEntry(u"Trans1", {u"id4", 1.0, u"x", false}), S_OK);
        ASSERT_EQ(history.WriteFieldData(u"Trans1", u"id5", values(ftLastName, u"Work"), false, false), S_OK);
        ASSERT_EQ(history.WriteFieldData(u"Trans2", u"id6", values(ftLastName, u"Other"), false, false), S_OK);
        ASSERT_EQ(history.SetLastSyncStatus(u"Trans1", 1), S_OK);
    }
    const Categories side1 = categories(idTrans1), side2 = categories(idTrans2);
    EXPECT_EQ(side1.hr, S_OK);
    EXPECT_THAT(side1.ids, ElementsAre(u"id1", u"id5"));
    EXPECT_THAT(side1.names, ElementsAre(u"Friends", u"Work"));
    EXPECT_THAT(side2.ids, ElementsAre(u"id6"));
    EXPECT_THAT(side2.names, ElementsAre(u"Other"));
}

TEST_F(TrMapHistoryTest, WithoutACategoryPassThereAreNoCategories)
{
    const Categories none = categories(idTrans1);
    EXPECT_EQ(none.hr, E_FAIL);
    EXPECT_THAT(none.ids, IsEmpty());
}

TEST_F(TrMapHistoryTest, AHistoryThatCannotBeOpenedFailsAndIsNamed)
{
    std::filesystem::create_directories(historyFile(mapA)); // a folder where the file should be
    DATE time = 5;
    EXPECT_TRUE(FAILED(map->GetLastSyncTime(mapA, &time)));
    EXPECT_TRUE(FAILED(map->SetLastSyncTime(mapA, 1.0)));
    VARIANT_BOOL good = VARIANT_FALSE;
    EXPECT_TRUE(FAILED(map->GetLastSyncStatus(mapA, &good)));
    EXPECT_EQ(good, VARIANT_TRUE);
    EXPECT_NE(platform::takeErrorText().find(com::guidText(mapA)), std::u16string::npos);
}

TEST_F(TrMapHistoryTest, MissingOutParametersAreRefused)
{
    com::Bstr text;
    SAFEARRAY* array = nullptr;
    EXPECT_EQ(map->GetLastSyncTime(mapA, nullptr), E_POINTER);
    EXPECT_EQ(map->GetLastSyncStatus(mapA, nullptr), E_POINTER);
    EXPECT_EQ(map->GetLastSyncDatabase(mapA, text.put(), nullptr), E_POINTER);
    EXPECT_EQ(map->GetHistoryCategories(mapA, idTrans1, &array, nullptr), E_POINTER);
}

} // namespace
