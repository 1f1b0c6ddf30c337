// A run with something of everything to do, for tests that let it fail on the way: what must stand on both sides after the next run.
#pragma once
#include "SyncScenario.h"
#include "TestImages.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace mbtest {

// What the translators of a story have: the least that a run needs, or all that one may offer, with something to do for each, with or
// without lists of categories.
enum class Offers { Least, WithoutCategories, All };

// Seven contacts in step; then an addition and a change on each side, a deletion on each, a contact that both sides changed in different
// fields, one that both changed in the same field, and a new contact that both sides entered.
class Story {
public:
    explicit Story(Offers offers = Offers::Least) : offers_(offers)
    {
        for (FakeStore* store : {&s.one(), &s.two()})
            store->fields = {{ftFirstName, u"First"}, {ftLastName, u"Last"}, {ftCity1, u"City"}, {ftTitle, u"Title"}};
        s.one().options.errorMessage1 = u"Side 1 tells.";
        s.two().options.errorMessage1 = u"Side 2 tells.";
        if (offers != Offers::Least) offerAll();
        s.setOption(soConflictResolution, croTrans1Wins);
        for (const char16_t* last :
             {u"changed on one", u"changed on two", u"deleted on one", u"deleted on two", u"conflict", u"untouched", u"changed on both"})
            ids_[last] = s.one().add(contact(last, u"old"));
        EXPECT_EQ(s.sync(), S_OK);
        s.one().add(contact(u"new on one", u"new"));
        s.two().add(contact(u"new on two", u"new"));
        s.one().set(ids_[u"changed on one"], ftCity1, u"new");
        s.two().set(partner(u"changed on two"), ftCity1, u"new");
        s.one().remove(ids_[u"deleted on one"]);
        s.two().remove(partner(u"deleted on two"));
        s.one().set(ids_[u"conflict"], ftCity1, u"from one");
        s.two().set(partner(u"conflict"), ftCity1, u"from two");
        s.one().set(ids_[u"changed on both"], ftCity1, u"from one");
        s.two().set(partner(u"changed on both"), ftTitle, u"from two");
        for (FakeStore* store : {&s.one(), &s.two()}) store->add(contact(u"entered twice", u"same"));
        if (offers != Offers::Least) giveWorkForAll();
    }
    static std::multiset<std::string> told(const FakeStore& store)
    {
        std::multiset<std::string> all;
        for (const FakeValues& values : SyncScenario::contents(store)) {
            std::string line;
            for (const auto& [type, text] : values) line += std::string(text.begin(), text.end()) + "; ";
            all.insert(line);
        }
        return all;
    }
    // How often each name stands on a side.
    static std::map<std::u16string, int> names(const FakeStore& store)
    {
        std::map<std::u16string, int> found;
        for (const auto& [id, record] : store.records) {
            const auto at = record.values.find(ftLastName);
            ++found[at == record.values.end() ? std::u16string() : at->second];
        }
        return found;
    }
    [[nodiscard]] Offers offers() const noexcept { return offers_; }
    SyncScenario s;

private:
    void offerAll()
    {
        for (FakeStore* store : {&s.one(), &s.two()}) {
            FakeOptions& o = store->options;
            o.categories = offers_ == Offers::All;
            o.infoEx = o.updater = o.validator = o.userAccess = o.duplicates = true;
            store->addImageFields();
            store->addDynamicField(u"Nickname");
            if (o.categories) store->addCategory(u"Friends");
        }
        s.setOption(soSyncVerified, 1);
    }
    // A picture and a category that are new, and a contact that only the translator knows to be on both sides.
    void giveWorkForAll()
    {
        s.one().set(ids_[u"changed on one"], ftImage1, makePicture(4, 3));
        s.two().set(partner(u"changed on two"), ftImage2, makePicture(5, 3));
        if (offers_ == Offers::All) {
            s.one().addCategory(u"Work");
            s.two().addCategory(u"Club");
        }
        const std::u16string own = s.one().add(contact(u"twin", u"same"));
        s.two().options.duplicateOf[own] = s.two().add(contact(u"twin", u"same"));
        // A store that gave a contact another identifier since the last run.
        const std::u16string former = partner(u"untouched"), now = s.two().newId();
        s.two().rename(false, former, now);
        s.two().options.changedIds[former] = now;
    }
    static FakeValues contact(const char16_t* last, const char16_t* city)
    {
        return {{ftFirstName, u"F"}, {ftLastName, last}, {ftCity1, city}};
    }
    std::u16string partner(const std::u16string& last)
    {
        for (const auto& [id, record] : s.two().records)
            if (record.values.find(ftLastName)->second == last) return id;
        ADD_FAILURE() << "no partner";
        return {};
    }
    Offers offers_;
    std::map<std::u16string, std::u16string> ids_;
};

inline std::set<std::u16string> survivors(Offers offers = Offers::Least)
{
    std::set<std::u16string> all{u"changed on both", u"entered twice", u"changed on one", u"changed on two",
                                 u"conflict",        u"untouched",     u"new on one",     u"new on two"};
    if (offers != Offers::Least) all.insert(u"twin");
    return all;
}

// Both sides hold what they should, and a further run has nothing to do.
inline void expectHappyEnd(Story& story)
{
    EXPECT_EQ(Story::told(story.s.one()), Story::told(story.s.two()));
    const auto names = Story::names(story.s.one());
    for (const std::u16string& name : survivors(story.offers()))
        EXPECT_EQ(names.count(name), 1u) << "lost: " << std::string(name.begin(), name.end());
    for (const auto& [name, count] : names) EXPECT_EQ(count, 1) << "doubled: " << std::string(name.begin(), name.end());
    EXPECT_EQ(names.size(), survivors(story.offers()).size());
    EXPECT_EQ(story.s.sync(), S_OK);
    EXPECT_EQ(story.s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
}

} // namespace mbtest
