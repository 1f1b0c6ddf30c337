// The rules for a translator that offers IDuplicateFinder. The engine links the records that it names without a further check.
#include "ConformanceTest.h"
#include "FakeTranslator.h"
#include "RegisteredMap.h"

namespace mbtest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class DuplicateFinders : public Conformance {
protected:
    void SetUp() override
    {
        Conformance::SetUp();
        com::check(createFake({"1", other_, log_}, nullptr, __uuidof(ITranslator), translator1_.putVoid()));
        com::check(translator1_->Initialize(nullptr, nullptr, VARIANT_FALSE));
        std::vector<std::pair<GUID, GUID>> pairs;
        for (const LONG type : {ftFirstName, ftLastName, ftTitle, ftNotes, ftEmail1})
            pairs.emplace_back(other_->guidOf(type), fields_.at(fieldOf(type)).guid);
        map_.emplace(subject().folder.path(), pairs);
    }
    void TearDown() override
    {
        EXPECT_THAT(log_->violations, IsEmpty());
        Conformance::TearDown();
    }
    [[nodiscard]] Values values(const FakeValues& byType) const
    {
        Values values;
        for (const auto& [type, text] : byType) values[fieldOf(type)] = text;
        return values;
    }
    // Returns the record that the translator names for each record of the other store, in their order.
    std::vector<std::u16string> named(const Translator& translator, const std::vector<std::u16string>& known = {})
    {
        const auto finder = translator.as<IDuplicateFinder>();
        SAFEARRAY* const array = known.empty() ? nullptr : com::makeTextArray(known);
        EXPECT_EQ(finder->BeginFindDuplicate(map_->id(), translator1_.get(), array), S_OK);
        std::vector<std::u16string> all;
        for (const std::u16string& id : other_->order) {
            com::Bstr found;
            EXPECT_EQ(finder->FindDuplicate(translator1_.get(), bstr(id).get(), array, found.put()), S_OK);
            all.push_back(found.text());
        }
        EXPECT_EQ(finder->EndFindDuplicate(), S_OK);
        if (array) SafeArrayDestroy(array);
        return all;
    }

    const FakeValues smith_{{ftFirstName, u"John"}, {ftLastName, u"Smith"}, {ftEmail1, u"john@example.org"}, {ftNotes, u"One\nTwo"}};
    std::shared_ptr<FakeStore> other_ = std::make_shared<FakeStore>(u"A");
    std::shared_ptr<CallLog> log_ = std::make_shared<CallLog>();
    Translator translator1_;
    std::optional<RegisteredMap> map_;
};

TEST_P(DuplicateFinders, OnlyARecordThatIsEqualInEveryMappedFieldIsNamed)
{
    Translator translator = open();
    begin(translator);
    for (const LONG type : {ftFirstName, ftLastName, ftTitle, ftNotes, ftEmail1}) {
        FakeValues other = smith_;
        other[type] = u"Another";
        (void)add(translator, values(other));
    }
    const std::u16string equal = add(translator, values(smith_));
    end(translator);
    other_->add({{ftLastName, u"Jones"}});
    other_->add(smith_);
    FakeValues same = smith_;
    same[ftFirstName] = u"JOHN";
    same[ftCompany] = u"Not mapped";
    other_->add(same);
    EXPECT_THAT(named(translator), ElementsAre(u"", equal, u""));
    EXPECT_EQ(read(translator, equal).at(fieldOf(ftFirstName)), u"John") << "the search writes nothing";
    close(translator);
}

TEST_P(DuplicateFinders, ContactsWithOneNameArePairedByTheirMailInAnyOrder)
{
    Translator translator = open();
    std::vector<std::u16string> partners;
    begin(translator);
    for (const char16_t* mail : {u"a@example.org", u"b@example.org", u"c@example.org"}) {
        FakeValues one = smith_;
        one[ftEmail1] = mail;
        partners.insert(partners.begin(), add(translator, values(one)));
    }
    end(translator);
    for (const char16_t* mail : {u"c@example.org", u"b@example.org", u"a@example.org"}) {
        FakeValues one = smith_;
        one[ftEmail1] = mail;
        other_->add(one);
    }
    EXPECT_EQ(named(translator), partners);
    close(translator);
}

TEST_P(DuplicateFinders, EachRecordIsNamedOnlyOnceAndALinkedOneNever)
{
    Translator translator = open();
    begin(translator);
    std::vector<std::u16string> equal;
    for (int i = 0; i < 3; ++i) equal.push_back(add(translator, values(smith_)));
    end(translator);
    for (int i = 0; i < 4; ++i) other_->add(smith_);
    EXPECT_THAT(named(translator), UnorderedElementsAre(equal[0], equal[1], equal[2], u""));
    EXPECT_EQ(named(translator), named(translator)) << "repeated searches have the same result";
    EXPECT_THAT(named(translator, {equal[1]}), UnorderedElementsAre(equal[0], equal[2], u"", u""));
    EXPECT_THAT(named(translator, equal), ElementsAre(u"", u"", u"", u""));
    close(translator);
}

TEST_P(DuplicateFinders, AnAbortIsReturnedAndEveryOpenRecordIsClosed)
{
    Translator translator = open();
    const std::u16string equal = addAlone(translator, values(smith_));
    const auto finder = translator.as<IDuplicateFinder>();
    const com::Bstr id(other_->add(smith_));
    com::Bstr found;
    ASSERT_EQ(finder->BeginFindDuplicate(map_->id(), translator1_.get(), nullptr), S_OK);
    for (const char* method : {"1 BeginReadRecord", "1 ReadField"}) {
        log_->failOn(method, log_->count(method) + 1, E_ABORT);
        EXPECT_EQ(finder->FindDuplicate(translator1_.get(), id.get(), nullptr, found.put()), E_ABORT) << method;
        EXPECT_TRUE(found.empty());
    }
    EXPECT_EQ(finder->FindDuplicate(translator1_.get(), id.get(), nullptr, found.put()), S_OK);
    EXPECT_EQ(found.view(), equal);
    EXPECT_EQ(finder->EndFindDuplicate(), S_OK);
    close(translator);
}

TEST_P(DuplicateFinders, CategoriesHaveNoDuplicateFinder)
{
    Translator translator = subject().create();
    ASSERT_EQ(translator.as<ICategories>()->InitializeCategories(subject().services.get(), nullptr, VARIANT_FALSE), S_OK);
    EXPECT_FALSE(translator.tryAs<IDuplicateFinder>());
    close(translator);
}

INSTANTIATE_TEST_SUITE_P(All, DuplicateFinders, testing::ValuesIn(pluginsWithPictures()), nameOf);

} // namespace
} // namespace mbtest
