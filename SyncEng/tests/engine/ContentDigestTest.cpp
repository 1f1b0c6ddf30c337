// What the search for duplicates takes for the same content. The contacts' last names hold a quote, by which the rules turn every
// candidate away: so it is the content alone that makes a pair of them, or does not.
#include "SyncScenario.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::SyncScenario;

enum class Outcome { OneContact, Conflict, TwoContacts };

struct Pair {
    const char* what;
    FakeValues one, two;
    Outcome outcome;
};

std::vector<Pair> pairs()
{
    using enum Outcome;
    return {
        {"nothing but the name", {}, {}, OneContact},
        {"equal values", {{ftCompany, u"Analytical Engines"}}, {{ftCompany, u"Analytical Engines"}}, OneContact},
        {"another letter case", {{ftCompany, u"Analytical Engines"}}, {{ftCompany, u"ANALYTICAL engines"}}, OneContact},
        {"other punctuation", {{ftStreet1, u"12, St. James's Sq."}}, {{ftStreet1, u"12 St James s Sq"}}, OneContact},
        {"another value", {{ftCompany, u"Analytical Engines"}}, {{ftCompany, u"Difference Engines"}}, TwoContacts},
        {"one text in two different fields", {{ftCompany, u"Countess"}}, {{ftTitle, u"Countess"}}, TwoContacts},
        {"a field that one side lacks", {{ftCompany, u"Analytical Engines"}}, {}, TwoContacts},
        {"a field with the empty text against one that tells nothing", {{ftCompany, u""}}, {}, TwoContacts},
        {"a web page without its scheme", {{ftWebPage, u"a.example"}}, {{ftWebPage, u"http://a.example"}}, OneContact},
        {"a web page with the other scheme", {{ftWebPage, u"a.example"}}, {{ftWebPage, u"https://a.example"}}, TwoContacts},
        {"longer than the field of side 2", {{ftTitle, u"0123456789 and more"}}, {{ftTitle, u"0123456789"}}, OneContact},
        {"longer than the field of side 1", {{ftCity1, u"Londo"}}, {{ftCity1, u"Londonium"}}, OneContact},
        {"other notes", {{ftNotes, u"first"}}, {{ftNotes, u"second"}}, Conflict},
        {"other categories", {{ftCategories, u"Friends"}}, {{ftCategories, u"Work"}}, Conflict},
        {"another e-mail", {{ftEmail1, u"a@x.example"}}, {{ftEmail1, u"b@x.example"}}, Conflict},
        {"another status", {{ftRecordStatus, u"0"}}, {{ftRecordStatus, u"1"}}, OneContact},
    };
}

FakeValues named(FakeValues values, const std::u16string& lastName)
{
    values[ftFirstName] = u"F";
    values[ftLastName] = lastName;
    return values;
}

std::ptrdiff_t countNamed(const FakeStore& store, const std::u16string& lastName)
{
    return std::ranges::count_if(store.records,
                                 [&](const auto& entry) { return entry.second.values.find(ftLastName)->second == lastName; });
}

} // namespace

TEST(ContentDigest, TellsWhichContactsHoldTheSame)
{
    SyncScenario s;
    for (FakeStore* store : {&s.one(), &s.two()})
        for (const LONG type : {ftWebPage, ftCategories, ftRecordStatus}) store->fields.push_back({type, u"More"});
    const auto limit = [](FakeStore& store, LONG type, ULONG length) {
        std::ranges::find(store.fields, type, &mbtest::FakeField::type)->maxLength = length;
    };
    limit(s.one(), ftCity1, 5);
    limit(s.two(), ftTitle, 10);
    const auto all = pairs();
    const auto lastName = [](std::size_t i) { return std::u16string(u"\"") + static_cast<char16_t>(u'a' + i) + u"\""; };
    for (std::size_t i = 0; i < all.size(); ++i) {
        s.one().add(named(all[i].one, lastName(i)));
        s.two().add(named(all[i].two, lastName(i)));
    }
    EXPECT_EQ(s.sync(), S_OK);
    const std::string log = s.logText();
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string conflict = "CONFLICT: F \"" + std::string(1, static_cast<char>('a' + i)) + "\"";
        EXPECT_EQ(log.find(conflict) != std::string::npos, all[i].outcome == Outcome::Conflict) << all[i].what;
        const std::ptrdiff_t expected = all[i].outcome == Outcome::OneContact ? 1 : 2;
        EXPECT_EQ(countNamed(s.one(), lastName(i)), expected) << all[i].what;
        EXPECT_EQ(countNamed(s.two(), lastName(i)), expected) << all[i].what;
    }
}

// A value is given its scheme by what the field means on side 1, whatever it means on side 2.
TEST(ContentDigest, GoesByTheFieldTypeOfSideOne)
{
    SyncScenario s;
    s.one().fields.push_back({ftCustom1, u"Custom"});
    s.two().fields.push_back({ftWebPage, u"Page"});
    s.makeMap();
    GUID fields{};
    ASSERT_EQ(s.maps()->GetFieldMap(s.map(), &fields), S_OK);
    const auto fieldMap = s.create<IFieldMap>(__uuidof(FieldMap));
    ASSERT_EQ(fieldMap->AddMapEntry(fields, s.one().guidOf(ftCustom1), s.two().guidOf(ftWebPage)), S_OK);
    s.one().add(named({{ftCustom1, u"a.example"}}, u"\"a\""));
    s.two().add(named({{ftWebPage, u"a.example"}}, u"\"a\""));
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().records.size(), 1u);
    EXPECT_EQ(s.two().records.size(), 1u);
}

// The keys of a record of side 2 are in the fields that go with the keys of side 1.
TEST(ContentDigest, LeavesTheKeysToTheFieldsThatTheMapNames)
{
    SyncScenario s;
    s.two().fields.push_back({ftCustom1, u"Family"});
    s.makeMap();
    GUID fields{};
    ASSERT_EQ(s.maps()->GetFieldMap(s.map(), &fields), S_OK);
    const auto fieldMap = s.create<IFieldMap>(__uuidof(FieldMap));
    ASSERT_EQ(fieldMap->DeleteMap(fields), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(fields, s.one().guidOf(ftFirstName), s.two().guidOf(ftFirstName)), S_OK);
    ASSERT_EQ(fieldMap->AddMapEntry(fields, s.one().guidOf(ftLastName), s.two().guidOf(ftCustom1)), S_OK);
    s.one().add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}});
    s.two().add({{ftFirstName, u"Ada"}, {ftCustom1, u"Lovelace"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().records.size(), 1u);
    EXPECT_EQ(s.two().records.size(), 1u);
}
