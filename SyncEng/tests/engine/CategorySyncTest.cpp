#include "dialogs/CConfirmationDlg.h"
#include "FrontEndFake.h"
#include "store/CSyncHistory.h"
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::SyncScenario;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class CategorySync : public testing::Test {
protected:
    CategorySync() { s.one().options.categories = s.two().options.categories = true; }
    static std::vector<std::u16string> names(const FakeStore& store)
    {
        std::vector<std::u16string> all;
        for (const auto& [id, record] : store.categories) all.push_back(record.values.find(ftLastName)->second);
        return all;
    }
    GUID categoryGuid()
    {
        GUID guid{};
        EXPECT_EQ(s.maps()->GetCategoryGuid(s.map(), &guid), S_OK);
        return guid;
    }
    // The names that the map remembers for a side.
    std::vector<std::u16string> remembered(_TransIds translator)
    {
        SAFEARRAY *guids = nullptr, *found = nullptr;
        EXPECT_EQ(s.maps()->GetHistoryCategories(s.map(), translator, &guids, &found), S_OK);
        std::vector<std::u16string> all = com::textArray(found);
        EXPECT_EQ(com::textArray(guids).size(), all.size());
        SafeArrayDestroy(guids);
        SafeArrayDestroy(found);
        return all;
    }
    std::size_t inLog(std::string_view text) const
    {
        const std::string log = s.logText();
        std::size_t found = 0;
        for (std::size_t at = 0; (at = log.find(text, at)) != log.npos; at += text.size()) ++found;
        return found;
    }
    SyncScenario s;
};

} // namespace

TEST_F(CategorySync, NewCategoriesOfBothSidesReachTheOther)
{
    s.one().addCategory(u"Friends");
    s.two().addCategory(u"Work");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"Friends", u"Work"));
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Friends", u"Work"));
    s.expectInStep();
}

TEST_F(CategorySync, OneNameOnBothSidesIsOneCategoryWhateverItsCase)
{
    s.one().addCategory(u"Friends");
    s.two().addCategory(u"friends");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().categories, SizeIs(1));
    EXPECT_THAT(s.two().categories, SizeIs(1));
    s.expectInStep();
}

TEST_F(CategorySync, ARenamedCategoryIsRenamedOnTheOtherSide)
{
    const std::u16string id = s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    s.one().put(true, id, {{ftLastName, u"Good friends"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(names(s.two()), ElementsAre(u"Good friends"));
    s.expectInStep();
}

TEST_F(CategorySync, ADeletedCategoryIsDeletedOnTheOtherSide)
{
    const std::u16string id = s.two().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    s.two().erase(true, id);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().categories, IsEmpty());
    s.expectInStep();
}

TEST_F(CategorySync, AChangeAgainstADeletionKeepsTheCategory)
{
    const std::u16string id = s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    const std::u16string id2 = s.two().categoryOrder.back();
    s.one().put(true, id, {{ftLastName, u"Good friends"}});
    s.two().erase(true, id2);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(names(s.one()), ElementsAre(u"Good friends"));
    EXPECT_THAT(names(s.two()), ElementsAre(u"Good friends"));
}

TEST_F(CategorySync, TwoChangedNamesAreBothKept)
{
    const std::u16string id = s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    const std::u16string id2 = s.two().categoryOrder.back();
    s.one().put(true, id, {{ftLastName, u"Good friends"}});
    s.two().put(true, id2, {{ftLastName, u"Old friends"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(names(s.one()), UnorderedElementsAre(u"Good friends", u"Old friends"));
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Good friends", u"Old friends"));
}

TEST_F(CategorySync, TheHistoryOfTheCategoriesHasAFileOfItsOwnThatTheMapNames)
{
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    const GUID guid = categoryGuid();
    EXPECT_NE(guid, GUID_NULL);
    EXPECT_TRUE(std::filesystem::exists(s.folder.data() / (com::guidText(guid) + u".xml")));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(categoryGuid(), guid) << "the same one ever after";
}

TEST_F(CategorySync, AGuidThatIsSetBeforehandNamesTheHistory)
{
    s.makeMap();
    const GUID guid = com::newGuid();
    ASSERT_EQ(s.maps()->SetCategoryGuid(s.map(), guid), S_OK);
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(categoryGuid(), guid);
    mb::CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(guid), S_OK);
    std::vector<std::u16string> ids;
    EXPECT_EQ(history.ListRecords(u"Trans1", ids), S_OK);
    EXPECT_THAT(ids, SizeIs(1));
}

TEST_F(CategorySync, AMapWithoutACategoryPassHasNoGuid)
{
    s.two().options.categories = false;
    EXPECT_EQ(s.sync(), S_OK);
    GUID guid{};
    EXPECT_NE(s.maps()->GetCategoryGuid(s.map(), &guid), S_OK);
}

TEST_F(CategorySync, TheMapTellsTheNamesItRemembersOfEachSide)
{
    s.one().addCategory(u"Friends");
    s.two().addCategory(u"Work");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(remembered(idTrans1), UnorderedElementsAre(u"Friends", u"Work"));
    EXPECT_THAT(remembered(idTrans2), UnorderedElementsAre(u"Friends", u"Work"));
}

TEST_F(CategorySync, ThePassStartsCategoriesOnlyAndAsksForNothingElse)
{
    s.one().options.dynamicFields = s.two().options.dynamicFields = true;
    s.setOption(soConfirmAdds, true);
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    const auto& lines = s.log().lines;
    const auto contacts = std::ranges::find_if(lines, [](const std::string& line) { return line.starts_with("1 Initialize "); });
    std::vector<std::string> pass(lines.begin(), contacts == lines.end() ? std::ranges::find(lines, "1 Initialize") : contacts);
    ASSERT_LT(pass.size(), lines.size());
    EXPECT_THAT(pass, Contains(testing::StartsWith("1 InitializeCategories")));
    EXPECT_THAT(pass, Contains(testing::StartsWith("2 InitializeCategories")));
    EXPECT_THAT(pass, Not(Contains(HasSubstr("LoadDynamicFields"))));
    EXPECT_THAT(pass, Contains(HasSubstr("1 Cleanup")));
    EXPECT_THAT(pass, Contains(HasSubstr("2 Cleanup")));
}

TEST_F(CategorySync, ThePassHasLinesLabelsAndProgressOfItsOwn)
{
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    const std::string log = s.logText();
    const std::string pass = log.substr(0, log.find("Start synchronizing contacts."));
    EXPECT_THAT(pass, HasSubstr("Start synchronizing category list."));
    EXPECT_THAT(pass, HasSubstr("End synchronizing category list."));
    EXPECT_THAT(pass, HasSubstr("First has 1 categories"));
    EXPECT_THAT(pass, Not(HasSubstr("records")));
    EXPECT_THAT(s.sink().labels, Contains(u"Loading synchronization tasks (categories)."));
    EXPECT_THAT(s.sink().labels, Contains(u"Analyzing synchronization history (categories)."));
    EXPECT_THAT(s.sink().progress, Contains(spSyncCategory));
}

TEST_F(CategorySync, ASideWithoutALastNameIsPairedByTheFieldsOfTheMap)
{
    for (FakeStore* store : {&s.one(), &s.two()}) {
        std::erase_if(store->fields, [](const mbtest::FakeField& field) { return field.type == ftLastName; });
        store->fields.insert(store->fields.begin(), {ftCompany, u"Firm"});
        std::erase_if(store->fields, [first = true](const mbtest::FakeField& field) mutable {
            return field.type == ftCompany && !std::exchange(first, false);
        });
    }
    s.one().put(true, u"C1", {{ftCompany, u"Friends"}});
    EXPECT_EQ(s.sync(), S_OK);
    ASSERT_THAT(s.two().categories, SizeIs(1));
    EXPECT_EQ(s.two().categories.begin()->second.values[ftCompany], u"Friends");
}

TEST_F(CategorySync, TheNamesGoTogetherWhateverFieldsTheMapPairs)
{
    s.pairFields({{ftFirstName, ftFirstName}});
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(names(s.two()), ElementsAre(u"Friends"));
}

TEST_F(CategorySync, AFailedPassEndsTheMapBeforeTheContacts)
{
    s.one().addCategory(u"Friends");
    s.one().add({{ftLastName, u"Lovelace"}});
    s.log().failOn("2 SaveRecord", 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_THAT(s.two().records, IsEmpty());
    EXPECT_THAT(s.log().starting("1 Cleanup"), SizeIs(1));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().categories, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
}

TEST_F(CategorySync, ACategoryHistoryThatCannotBeOpenedEndsTheMapAtOnce)
{
    s.makeMap();
    const GUID guid = com::newGuid();
    ASSERT_EQ(s.maps()->SetCategoryGuid(s.map(), guid), S_OK);
    std::filesystem::create_directories(s.folder.data() / (com::guidText(guid) + u".xml"));
    EXPECT_TRUE(FAILED(s.sync()));
    EXPECT_THAT(s.log().starting("1 Initialize"), IsEmpty());
    EXPECT_THAT(s.log().starting("1 Cleanup"), IsEmpty());
    EXPECT_THAT(s.logText(), Not(HasSubstr("Synchronization ended")));
}

TEST_F(CategorySync, AResyncClearsBothHistories)
{
    s.one().addCategory(u"Friends");
    s.one().add({{ftLastName, u"Lovelace"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.resync(), S_OK);
    EXPECT_THAT(s.one().categories, SizeIs(1));
    EXPECT_THAT(s.two().categories, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
    EXPECT_EQ(inLog("First time synchronization"), 4u) << "categories and contacts, in both runs";
}

TEST_F(CategorySync, WhatIsDoneToACategoryHasALineOfItsOwn)
{
    const std::u16string id = s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(inLog("\tCREATED category in Second: Friends"), 1u);
    s.one().put(true, id, {{ftLastName, u"Good friends"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(inLog("\tUPDATED category in Second: Good friends"), 1u);
    s.one().erase(true, id);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(inLog("\tDELETED category in Second: Good friends"), 1u);
    for (const char* line : {"CREATED in", "UPDATED in", "DELETED in"}) EXPECT_EQ(inLog(line), 0u);
}

TEST_F(CategorySync, OnlyTheContactsTellOfTheCopyingAndTheEndOfTheRun)
{
    s.one().addCategory(u"Friends");
    s.one().add({{ftLastName, u"Lovelace"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(inLog("Copying started at"), 1u);
    EXPECT_EQ(inLog("Copying ended at"), 1u);
    EXPECT_EQ(inLog("Synchronization started at"), 1u);
    EXPECT_EQ(inLog("Synchronization ended at"), 1u);
}

TEST_F(CategorySync, TheLoadingOfTheHistoryHasALabelOfItsOwn)
{
    s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.sink().labels, Contains(u"Loading synchronization history (categories)."));
}

TEST_F(CategorySync, ThePassAsksTheUserNothing)
{
    const std::u16string id = s.one().addCategory(u"Friends");
    EXPECT_EQ(s.sync(), S_OK);
    s.one().put(true, id, {{ftLastName, u"Good friends"}});
    s.two().put(true, s.two().categoryOrder.back(), {{ftLastName, u"Old friends"}});
    s.one().addCategory(u"Work");
    mbtest::FrontEndFake user;
    const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
    ASSERT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
    EXPECT_EQ(synchronizer->Synchronize(s.map(), VARIANT_FALSE), S_OK);
    EXPECT_THAT(user.captions, IsEmpty());
    EXPECT_THAT(names(s.two()), UnorderedElementsAre(u"Good friends", u"Old friends", u"Work"));
}

TEST_F(CategorySync, AReSyncInTheSummaryBeginsWithTheCategoriesAgain)
{
    s.one().addCategory(u"Friends");
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    ASSERT_EQ(s.sync(), S_OK);
    s.one().add({{ftFirstName, u"Grace"}, {ftLastName, u"Hopper"}});
    mbtest::FrontEndFake user;
    user.press(mb::idReSync);
    user.press(mb::idOk);
    EXPECT_EQ(s.syncAsking(), S_OK);
    EXPECT_THAT(user.captions, ElementsAre(u"Confirm Changes", u"Confirm Changes"));
    EXPECT_THAT(s.log().starting("1 Initialize"),
                ElementsAre("1 InitializeCategories", "1 Initialize", "1 InitializeCategories", "1 Initialize"));
    EXPECT_THAT(s.log().starting("2 Initialize"),
                ElementsAre("2 InitializeCategories", "2 Initialize", "2 InitializeCategories", "2 Initialize"));
    const std::string log = s.lastLog();
    const std::size_t again = log.rfind("Start synchronizing category list.");
    EXPECT_EQ(log.substr(0, again).find("First time synchronization"), log.npos);
    std::size_t anew = 0;
    for (std::size_t at = again; (at = log.find("First time synchronization", at)) != log.npos; ++at) ++anew;
    EXPECT_EQ(anew, 2u) << "both histories were cleared";
    EXPECT_THAT(s.one().categories, SizeIs(1));
    EXPECT_THAT(s.two().categories, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(2));
}
