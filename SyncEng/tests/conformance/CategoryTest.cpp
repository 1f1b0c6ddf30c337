#include "ConformanceTest.h"

namespace mbtest {
namespace {

class Categories : public Conformance {
protected:
    Translator openCategories()
    {
        Translator translator = subject().create();
        EXPECT_EQ(translator.as<ICategories>()->InitializeCategories(subject().services.get(), nullptr, VARIANT_FALSE), S_OK);
        return translator;
    }
    // Returns the names in the list of categories.
    std::vector<std::u16string> names(const Translator& translator)
    {
        std::vector<std::u16string> all;
        for (const std::u16string& id : ids(translator)) all.push_back(read(translator, id)[fieldOf(ftLastName)]);
        return all;
    }
    std::vector<std::u16string> storedNames()
    {
        Translator translator = openCategories();
        std::vector<std::u16string> all = names(translator);
        close(translator);
        return all;
    }
    Values named(const char16_t* name) { return {{fieldOf(ftLastName), name}}; }
};

// Rules of real stores. The fake keeps its list of categories independent of its contacts.
class PluginCategories : public Categories {};

} // namespace

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST_P(Categories, AddedNamesKeepTheirIdentifiersAfterReopening)
{
    Translator translator = openCategories();
    EXPECT_THAT(ids(translator), IsEmpty());
    begin(translator);
    const std::u16string friends = add(translator, named(u"Friends")), work = add(translator, named(u"Büro & Co., Nr. 1"));
    end(translator);
    const DATE date = modified(translator, friends);
    close(translator);
    translator = openCategories();
    EXPECT_THAT(ids(translator), UnorderedElementsAre(friends, work));
    EXPECT_THAT(names(translator), UnorderedElementsAre(u"Friends", u"Büro & Co., Nr. 1"));
    EXPECT_EQ(modified(translator, friends), date);
    close(translator);
}

TEST_P(Categories, ANameIsChanged)
{
    Translator translator = openCategories();
    const std::u16string id = addAlone(translator, named(u"Friends"));
    const std::u16string now = editAlone(translator, id, named(u"Good friends"));
    EXPECT_THAT(ids(translator), ElementsAre(now));
    EXPECT_THAT(names(translator), ElementsAre(u"Good friends"));
    close(translator);
    EXPECT_THAT(storedNames(), ElementsAre(u"Good friends"));
}

TEST_P(Categories, ANameIsDeleted)
{
    Translator translator = openCategories();
    std::vector<std::u16string> added;
    for (const char16_t* name : {u"One", u"Two", u"Three"}) added.push_back(addAlone(translator, named(name)));
    removeAlone(translator, added[0]);
    EXPECT_NE(translator->FindRecord(bstr(added[0]).get()), S_OK);
    EXPECT_EQ(translator->FindRecord(bstr(added[2]).get()), S_OK);
    close(translator);
    EXPECT_THAT(storedNames(), UnorderedElementsAre(u"Two", u"Three"));
}

TEST_P(Categories, CategoriesAndContactsAreSeparate)
{
    Translator translator = openCategories();
    (void)addAlone(translator, named(u"Friends"));
    close(translator);
    translator = open();
    EXPECT_THAT(ids(translator), IsEmpty());
    const std::u16string id = addAlone(translator, named(u"Lovelace"));
    close(translator);
    EXPECT_THAT(storedNames(), ElementsAre(u"Friends"));
    translator = open();
    EXPECT_THAT(ids(translator), ElementsAre(id));
    close(translator);
}

TEST_P(PluginCategories, TheListHasTheCategoriesThatContactsUse)
{
    Translator translator = open();
    const std::size_t categories = fieldOf(ftCategories);
    begin(translator);
    const std::u16string id = add(translator, {{fieldOf(ftLastName), u"Lovelace"}, {categories, u"Friends, Work"}});
    (void)add(translator, {{fieldOf(ftLastName), u"Babbage"}, {categories, u"work,Büro"}});
    end(translator);
    close(translator);
    EXPECT_THAT(storedNames(), testing::SizeIs(3)) << "names that differ only in case are one category";
    EXPECT_THAT(storedNames(), testing::IsSupersetOf({u"Friends", u"Büro"}));
    translator = open();
    (void)editAlone(translator, id, {{categories, u"Work"}});
    close(translator);
    EXPECT_THAT(storedNames(), testing::Not(testing::Contains(u"Friends")));
}

TEST_P(PluginCategories, AnExistingNameIsNotAddedTwice)
{
    Translator translator = openCategories();
    const std::u16string id = addAlone(translator, named(u"Friends"));
    EXPECT_EQ(addAlone(translator, named(u"FRIENDS")), id);
    const std::u16string other = addAlone(translator, named(u"Work"));
    EXPECT_EQ(editAlone(translator, other, named(u"Friends")), id) << "two categories that get the same name become one";
    close(translator);
    EXPECT_THAT(storedNames(), ElementsAre(u"Friends"));
}

TEST_P(PluginCategories, AnAbortedBatchLeavesTheListUnchanged)
{
    Translator translator = openCategories();
    (void)addAlone(translator, named(u"Friends"));
    begin(translator);
    (void)add(translator, named(u"Work"));
    EXPECT_EQ(translator->EndUpdate(VARIANT_TRUE), S_OK);
    EXPECT_THAT(names(translator), ElementsAre(u"Friends"));
    close(translator);
    EXPECT_THAT(storedNames(), ElementsAre(u"Friends"));
}

INSTANTIATE_TEST_SUITE_P(All, Categories, testing::ValuesIn(contendersWithPictures()), nameOf);
INSTANTIATE_TEST_SUITE_P(All, PluginCategories, testing::ValuesIn(pluginsWithPictures()), nameOf);

} // namespace mbtest
