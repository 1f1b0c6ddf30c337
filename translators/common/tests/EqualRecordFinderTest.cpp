#include "EqualRecordFinder.h"

#include "FakeTranslator.h"
#include "MemoryStore.h"

#include <gmock/gmock.h>
#include <random>

namespace mb::plugin {
namespace {

using mbtest::FakeValues;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

constexpr auto anyFailure = static_cast<HRESULT>(0x80040208);

class EqualRecordFinderTest : public testing::Test {
protected:
    EqualRecordFinderTest()
    {
        other_->fields.push_back({ftEmail2, u"Second e-mail"});
        other_->addImageFields();
        com::check(mbtest::createFake({"1", other_, log_}, nullptr, __uuidof(ITranslator), translator_.putVoid()));
        com::check(translator_->Initialize(nullptr, nullptr, VARIANT_FALSE));
    }
    void TearDown() override
    {
        EXPECT_THAT(log_->violations, IsEmpty());
        EXPECT_FALSE(store_.isReading());
    }

    // Maps each of the types to itself, in this order.
    [[nodiscard]] std::vector<MappedField> map(const std::vector<LONG>& types) const
    {
        std::vector<MappedField> fields;
        for (const LONG type : types) fields.push_back({other_->guidOf(type), type, type == ftImage1});
        return fields;
    }
    [[nodiscard]] std::vector<MappedField> allTexts() const { return map({ftFirstName, ftLastName, ftTitle, ftNotes, ftPhone, ftEmail1}); }
    EqualRecordFinder finder(const std::vector<MappedField>& fields, KnownRecords known = {}) { return {store_, fields, std::move(known)}; }
    EqualRecordFinder finder() { return finder(allTexts()); }
    // Returns the record that is found for the other translator's record; "none" for none.
    std::string take(EqualRecordFinder& finder, const std::u16string& id)
    {
        return finder.take(translator_.get(), com::Bstr(id).get()).value_or("none");
    }
    std::string take(EqualRecordFinder& finder, FakeValues values) { return take(finder, other_->add(std::move(values))); }
    HRESULT failure(EqualRecordFinder& finder, const std::u16string& id)
    {
        return com::guarded([&] { (void)take(finder, id); });
    }

    std::shared_ptr<mbtest::FakeStore> other_ = std::make_shared<mbtest::FakeStore>(u"A");
    std::shared_ptr<mbtest::CallLog> log_ = std::make_shared<mbtest::CallLog>();
    com::Ptr<ITranslator> translator_;
    MemoryStore store_;
};

TEST_F(EqualRecordFinderTest, FindsTheRecordWithEqualContent)
{
    store_.add("1", {{ftLastName, u"Babbage"}, {ftFirstName, u"Charles"}});
    store_.add("2", {{ftLastName, u"Lovelace"}, {ftFirstName, u"Ada"}, {ftNotes, u"Countess\nof Lovelace"}});
    auto equal = finder();
    EXPECT_EQ(take(equal, {{ftLastName, u"Lovelace"}, {ftFirstName, u"Ada"}, {ftNotes, u"Countess\nof Lovelace"}}), "2");
    EXPECT_EQ(take(equal, {{ftLastName, u"Hopper"}, {ftFirstName, u"Grace"}}), "none");
}

TEST_F(EqualRecordFinderTest, OnlyLettersAndDigitsCountAndTheirCaseDoesNot)
{
    store_.add("1", {{ftLastName, u"O'HARA"}, {ftPhone, u"+1 (202) 555-0100"}, {ftNotes, u"\u00C9T\u00C9"}, {ftTitle, u"-"}});
    auto equal = finder();
    EXPECT_EQ(take(equal, {{ftLastName, u"o Hara"}, {ftPhone, u"12025550100"}, {ftNotes, u"\u00E9t\u00E9!\r\n"}}), "1");
}

TEST_F(EqualRecordFinderTest, ADifferenceInAnyMappedFieldIsEnough)
{
    const std::map<int, std::u16string> values{{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftTitle, u"Countess"},
                                               {ftNotes, u"Notes"},   {ftPhone, u"1"},           {ftEmail1, u"ada@example.org"}};
    store_.add("1", values);
    auto equal = finder();
    for (const auto& [changed, before] : values)
        for (const std::u16string now : {u"", u"other"}) {
            FakeValues given;
            for (const auto& [type, text] : values) given[type] = type == changed ? now : text;
            EXPECT_EQ(take(equal, given), "none") << changed;
        }
    FakeValues same;
    for (const auto& [type, text] : values) same[type] = text;
    EXPECT_EQ(take(equal, same), "1");
}

TEST_F(EqualRecordFinderTest, ATextInAnotherFieldIsADifference)
{
    store_.add("1", {{ftNotes, u"x"}});
    store_.add("2", {{ftTitle, u"xy"}, {ftNotes, u"z"}});
    auto equal = finder();
    EXPECT_EQ(take(equal, {{ftTitle, u"x"}}), "none");
    EXPECT_EQ(take(equal, {{ftTitle, u"x"}, {ftNotes, u"yz"}}), "none");
}

TEST_F(EqualRecordFinderTest, FieldsThatAreNotMappedDoNotCount)
{
    store_.add("1", {{ftLastName, u"Lovelace"}, {ftNotes, u"here"}});
    auto equal = finder(map({ftLastName, ftFirstName}));
    EXPECT_EQ(take(equal, {{ftLastName, u"Lovelace"}, {ftNotes, u"there"}, {ftTitle, u"Countess"}}), "1");
}

TEST_F(EqualRecordFinderTest, TheMapDeterminesWhichFieldsAreCompared)
{
    store_.add("1", {{ftTitle, u"first"}, {ftNotes, u"second"}});
    auto equal = finder({{other_->guidOf(ftNotes), ftTitle, false}, {other_->guidOf(ftTitle), ftNotes, false}});
    EXPECT_EQ(take(equal, {{ftTitle, u"first"}, {ftNotes, u"second"}}), "none");
    EXPECT_EQ(take(equal, {{ftNotes, u"first"}, {ftTitle, u"second"}}), "1");
}

TEST_F(EqualRecordFinderTest, TheRecordStatusIsComparedLikeAnyField)
{
    other_->fields.push_back({ftRecordStatus, u"Record status"});
    store_.add("1", {{ftLastName, u"Lovelace"}, {ftRecordStatus, u"1"}});
    auto equal = finder(map({ftLastName, ftRecordStatus}));
    EXPECT_EQ(take(equal, {{ftLastName, u"Lovelace"}, {ftRecordStatus, u"0"}}), "none");
    EXPECT_EQ(take(equal, {{ftLastName, u"Lovelace"}, {ftRecordStatus, u"1"}}), "1");
}

TEST_F(EqualRecordFinderTest, ContactsWithTheSameNameArePairedByEmail)
{
    for (const char16_t* mail : {u"c@example.org", u"a@example.org", u"b@example.org"})
        store_.add(platform::utf8(mail), {{ftLastName, u"Smith"}, {ftFirstName, u"John"}, {ftEmail1, mail}});
    auto equal = finder();
    for (const char16_t* mail : {u"a@example.org", u"b@example.org", u"c@example.org"})
        EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftFirstName, u"John"}, {ftEmail1, mail}}), platform::utf8(mail));
}

TEST_F(EqualRecordFinderTest, EachOfSeveralEqualRecordsIsNamedOnceInTheOrderOfTheStore)
{
    for (const char* id : {"9", "3", "5"}) store_.add(id, {{ftLastName, u"Smith"}});
    store_.add("4", {{ftLastName, u"Jones"}});
    auto equal = finder();
    std::vector<std::string> named;
    for (int i = 0; i < 5; ++i) named.push_back(take(equal, {{ftLastName, u"Smith"}}));
    EXPECT_THAT(named, ElementsAre("9", "3", "5", "none", "none"));
    EXPECT_EQ(take(equal, {{ftLastName, u"Jones"}}), "4");
}

TEST_F(EqualRecordFinderTest, KnownRecordsAreNeitherReadNorNamed)
{
    store_.add("Known", {{ftLastName, u"Smith"}});
    store_.add("b\xC3\x84", {{ftLastName, u"Smith"}});
    store_.add("new", {{ftLastName, u"Smith"}});
    auto equal = finder(allTexts(), {u"KNOWN", u"B\u00E4"});
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "new");
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "none");
    EXPECT_THAT(store_.begun, ElementsAre(Pair("new", 1)));
}

TEST_F(EqualRecordFinderTest, ARecordOfTheStoreThatCannotBeReadIsNotNamed)
{
    for (const char* id : {"1", "2", "3"}) store_.add(id, {{ftLastName, u"Smith"}});
    store_.unreadable.insert("1");
    store_.unreadableField["2"] = ftEmail1;
    auto equal = finder();
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "3");
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "none");
}

TEST_F(EqualRecordFinderTest, AFailureOfTheOtherTranslatorIsReturnedAndUsesUpNoRecord)
{
    store_.add("1", {{ftLastName, u"Lovelace"}});
    const std::u16string id = other_->add({{ftLastName, u"Lovelace"}});
    auto equal = finder();
    for (const HRESULT code : {E_ABORT, anyFailure}) {
        log_->failOn("1 BeginReadRecord", log_->count("1 BeginReadRecord") + 1, code);
        EXPECT_EQ(failure(equal, id), code);
        EXPECT_EQ(log_->lines.back(), "1 BeginReadRecord A000001") << "a record whose reading did not begin must not be ended";
        for (int field = 1; field <= 6; ++field) {
            log_->failOn("1 ReadField", log_->count("1 ReadField") + field, code);
            EXPECT_EQ(failure(equal, id), code) << "field " << field;
            EXPECT_EQ(log_->lines.back(), "1 EndReadRecord A000001") << "field " << field;
        }
        log_->failOn("1 EndReadRecord", log_->count("1 EndReadRecord") + 1, code);
        EXPECT_EQ(failure(equal, id), code);
        ASSERT_EQ(translator_->EndReadRecord(com::Bstr(id).get()), S_OK) << "the fake did not end it";
    }
    EXPECT_EQ(take(equal, id), "1");
}

TEST_F(EqualRecordFinderTest, ImagesAreEqualIfBothAreAbsentOrOfTheSameSize)
{
    store_.add("none", {{ftLastName, u"Smith"}});
    store_.add("small", {{ftLastName, u"Smith"}}, {{ftImage1, "1234"}});
    store_.add("large", {{ftLastName, u"Smith"}}, {{ftImage1, "12345678"}});
    auto equal = finder(map({ftLastName, ftImage1}));
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftImage1, u"abcd"}}), "large") << "four units are eight bytes";
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftImage1, u"abcd"}}), "none");
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftImage1, u"ab"}}), "small");
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "none") << "a record named none, not the absence of a record";
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftImage1, u"abc"}}), "none");
}

TEST_F(EqualRecordFinderTest, AnImageThatCannotBeMeasuredIsAFailure)
{
    store_.add("1", {{ftLastName, u"Smith"}}, {{ftImage1, "1234"}});
    store_.add("2", {{ftLastName, u"Smith"}});
    const std::u16string id = other_->add({{ftLastName, u"Smith"}, {ftImage1, u"ab"}});
    auto equal = finder(map({ftLastName, ftImage1}));
    for (const char* method : {"1 HasFieldValue", "1 BeginReadImageData", "1 GetImageDataSize", "1 EndReadImageData"}) {
        log_->failOn(method, log_->count(method) + 1, anyFailure);
        EXPECT_EQ(failure(equal, id), anyFailure) << method;
    }
    ASSERT_EQ(translator_.as<IImageSupport>()->EndReadImageData(com::Bstr(id).get(), other_->guidOf(ftImage1)), S_OK)
        << "the fake did not end the last one";
    EXPECT_EQ(take(equal, id), "1");
}

TEST_F(EqualRecordFinderTest, AMapWithoutATextFieldIsRefused)
{
    store_.add("1", {});
    EXPECT_EQ(com::guarded([&] { (void)finder({}); }), E_FAIL);
    EXPECT_EQ(com::guarded([&] { (void)finder(map({ftImage1})); }), E_FAIL);
}

TEST_F(EqualRecordFinderTest, EachRecordOfTheStoreIsReadOnce)
{
    for (int i = 0; i < 50; ++i) store_.add(std::to_string(i), {{ftLastName, u"Smith"}, {ftTitle, platform::utf16(std::to_string(i))}});
    auto equal = finder();
    EXPECT_THAT(store_.begun, IsEmpty()) << "nothing is read before the first question";
    for (int i = 49; i >= 0; --i)
        EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}, {ftTitle, platform::utf16(std::to_string(i))}}), std::to_string(i));
    EXPECT_THAT(store_.begun, SizeIs(50));
    EXPECT_THAT(store_.begun, Each(Pair(testing::_, 1)));
    EXPECT_EQ(log_->count("1 BeginReadRecord"), 50);
    EXPECT_EQ(take(equal, {{ftLastName, u"Smith"}}), "none");
    EXPECT_EQ(log_->count("1 BeginReadRecord"), 50) << "nothing is read after all records were found";
}

TEST_F(EqualRecordFinderTest, OnlyTheKeyFieldsOfARecordWithoutAPartnerAreRead)
{
    store_.add("1", {{ftLastName, u"Smith"}, {ftTitle, u"Dr."}});
    auto equal = finder();
    EXPECT_EQ(take(equal, {{ftLastName, u"Jones"}, {ftTitle, u"Dr."}}), "none");
    EXPECT_THAT(log_->starting("1 ReadField"),
                ElementsAre("1 ReadField A000001 First name", "1 ReadField A000001 Last name", "1 ReadField A000001 E-mail"));
}

// The engine must find no difference between the records of a found pair, and no equal pair that was not found.
TEST_F(EqualRecordFinderTest, RandomRecordsArePairedExactlyIfTheEngineFindsNoDifference)
{
    const auto reduced = [](std::u16string_view text) {
        std::u16string kept;
        for (const char16_t c : text)
            if (platform::isAlnum(c)) kept += c;
        return kept;
    };
    const std::vector<LONG> types{ftFirstName, ftLastName, ftNotes, ftEmail2};
    std::mt19937 random(testing::UnitTest::GetInstance()->random_seed());
    const std::u16string_view alphabet = u"aA1 \u00E9\u00C9.\n";
    const auto randomText = [&] {
        std::u16string text(random() % 3, u'\0');
        for (char16_t& c : text) c = alphabet[random() % alphabet.size()];
        return text;
    };
    for (int i = 0; i < 300; ++i) {
        std::map<int, std::u16string> values;
        for (const LONG type : types) values[type] = randomText();
        store_.add(std::to_string(i), values);
    }
    std::set<std::string> taken;
    auto equal = finder(map(types));
    for (int i = 0; i < 300; ++i) {
        FakeValues values;
        for (const LONG type : types) values[type] = randomText();
        const auto sameAsGiven = [&](const MemoryRecord& record) {
            return !taken.contains(record.id) && std::ranges::all_of(types, [&](LONG type) {
                return platform::compareNoCase(reduced(record.values.at(type)), reduced(values[type])) == 0;
            });
        };
        const auto expected = std::ranges::find_if(store_.records, sameAsGiven);
        const std::string found = take(equal, values);
        ASSERT_EQ(found, expected == store_.records.end() ? "none" : expected->id);
        taken.insert(found);
    }
    EXPECT_GT(taken.size(), 50u) << "the alphabet makes equal records likely";
}

} // namespace
} // namespace mb::plugin
