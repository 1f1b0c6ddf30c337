// A run with something of everything to do, for tests that let it fail on the way: what must stand on both sides after the next run.
#pragma once
#include "SyncScenario.h"

#include <gtest/gtest.h>
#include <map>
#include <set>

namespace mbtest {

// Six contacts in step; then an addition and a change on each side, a deletion on each, and a conflict.
class Story {
public:
    Story()
    {
        for (FakeStore* store : {&s.one(), &s.two()}) store->fields = {{ftFirstName, u"First"}, {ftLastName, u"Last"}, {ftCity1, u"City"}};
        s.setOption(soConflictResolution, croTrans1Wins);
        for (const char16_t* last : {u"changed on one", u"changed on two", u"deleted on one", u"deleted on two", u"conflict", u"untouched"})
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
    SyncScenario s;

private:
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
    std::map<std::u16string, std::u16string> ids_;
};

inline const std::set<std::u16string> survivors{u"changed on one", u"changed on two", u"conflict",
                                                u"untouched",      u"new on one",     u"new on two"};

// Both sides hold what they should, and a further run has nothing to do.
inline void expectHappyEnd(Story& story)
{
    EXPECT_EQ(Story::told(story.s.one()), Story::told(story.s.two()));
    const auto names = Story::names(story.s.one());
    for (const std::u16string& name : survivors) EXPECT_EQ(names.count(name), 1u) << "lost: " << std::string(name.begin(), name.end());
    for (const auto& [name, count] : names) EXPECT_EQ(count, 1) << "doubled: " << std::string(name.begin(), name.end());
    EXPECT_EQ(names.size(), survivors.size());
    EXPECT_EQ(story.s.sync(), S_OK);
    EXPECT_EQ(story.s.writes(), std::vector<std::string>()) << "the run after that has nothing to do";
}

} // namespace mbtest
