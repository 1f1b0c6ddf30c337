// Names that differ only in case: different for the file system, equal for the engine.
#include "CardStoreFixture.h"

#include "Charset.h"
#include "text.h"

#include <set>

namespace mb::vcard {
namespace {

std::set<std::u16string> foldedIds(const std::vector<std::string>& ids)
{
    std::set<std::u16string> folded;
    for (const std::string& id : ids) folded.insert(platform::lowered(fromUtf8(id)));
    return folded;
}

TEST_F(VCardFolder, NamesThatDifferOnlyInCaseAreTwoCardsWithIdentifiersThatDifferInMore)
{
    for (const auto& [one, other] : {std::pair("C1.vcf", "c1.vcf"), std::pair("\xC3\x84.vcf", "\xC3\xA4.vcf")}) {
        put(one, cardText("1"));
        put(other, cardText("2"));
        auto store = open();
        const std::vector<std::string> both = ids(store);
        ASSERT_EQ(both.size(), 2u);
        EXPECT_EQ(foldedIds(both).size(), 2u);
        EXPECT_EQ(both[0], one);
        EXPECT_EQ(read(store, both[0], ftLastName), u"1");
        EXPECT_EQ(read(store, both[1], ftLastName), u"2");
        edit(store, both[1], ftTitle, u"Boss");
        EXPECT_NE(get(other).find("TITLE:Boss"), std::string::npos);
        store.remove(both[1]);
        EXPECT_FALSE(fs::exists(folder / other));
        EXPECT_EQ(get(one), cardText("1"));
        EXPECT_EQ(reports, "");
        fs::remove(folder / one);
    }
}

TEST_F(VCardFolder, UidsThatDifferOnlyInCaseAreTwoCards)
{
    put("all.vcf", cardText("1", "U1") + cardText("2", "u1"));
    for (const fs::path& database : {folder, folder / "all.vcf"}) {
        auto store = open(database);
        const std::vector<std::string> both = ids(store);
        ASSERT_EQ(both.size(), 2u);
        EXPECT_EQ(foldedIds(both).size(), 2u);
        EXPECT_EQ(read(store, both[0], ftLastName), u"1");
        EXPECT_EQ(read(store, both[1], ftLastName), u"2");
    }
}

TEST_F(VCardFolder, TheKnownOneOfTwoNamesThatDifferInCaseKeepsItsIdentifierForAsLongAsItIsKnown)
{
    put("c1.vcf", cardText("old"));
    ASSERT_EQ(ids(open()), std::vector<std::string>{"c1.vcf"});
    put("C1.vcf", cardText("new")); // listed before the known file
    std::string newcomer;
    {
        auto store = open();
        EXPECT_EQ(store.updatedId("c1.vcf"), "");
        EXPECT_EQ(read(store, "c1.vcf", ftLastName), u"old");
        ASSERT_EQ(store.count(), 2u);
        newcomer = store.idAt(0);
        EXPECT_EQ(newcomer.substr(0, 8), "C1.vcf##");
        EXPECT_EQ(read(store, newcomer, ftLastName), u"new");
    }
    for (const bool reversed : {false, true}) {
        fs::remove_all(root / "cache");
        auto store = open();
        for (const std::string& known :
             reversed ? std::vector{newcomer, std::string("c1.vcf")} : std::vector{std::string("c1.vcf"), newcomer})
            EXPECT_EQ(store.updatedId(known), "");
        EXPECT_EQ(ids(store), (std::vector<std::string>{newcomer, "c1.vcf"}));
    }
    fs::remove(folder / "c1.vcf");
    auto store = open();
    EXPECT_EQ(store.updatedId("c1.vcf"), "");
    EXPECT_EQ(store.updatedId(newcomer), "");
    EXPECT_EQ(ids(store), std::vector<std::string>{newcomer}) << "a mark stays even if it is no longer needed";
    EXPECT_FALSE(store.exists("c1.vcf"));
}

TEST_F(VCardFolder, ACardRenamedToItsNameInAnotherCaseIsFollowedByItsUid)
{
    put("ada.vcf", cardText("Ada", "u1"));
    ASSERT_EQ(ids(open()), std::vector<std::string>{"ada.vcf#u1"});
    fs::rename(folder / "ada.vcf", folder / "Ada.vcf");
    EXPECT_EQ(open().updatedId("ada.vcf#u1"), "Ada.vcf#u1");
}

} // namespace
} // namespace mb::vcard
