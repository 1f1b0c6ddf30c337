#include "dialogs/MergeConflict.h"
#include "dialogs/CConflictDlg.h"
#include "dialogs/MergedFields.h"
#include "DialogsFixture.h"
#include "foundation/ImageValue.h"
#include "MergeFake.h"
#include "registry.h"
#include "text.h"

#include <fstream>

namespace {

using mb::ConflictQuestion;
using mb::FieldValueMap;
using mb::idOk;
using mb::MergedField;
using mbtest::told;
using testing::ElementsAre;
using testing::IsEmpty;

std::int64_t keepPath(com::Variant&, ULONG, ULONG, bool) { return -1; }

// A converter that creates a file in shownFolder, named after the value and the source form.
std::filesystem::path shownFolder;
std::int64_t nameFile(com::Variant& value, ULONG source, ULONG target, bool force)
{
    EXPECT_EQ(target, static_cast<ULONG>(capJPEGFile));
    EXPECT_FALSE(force);
    const auto file = shownFolder / (platform::utf8(value.text()) + "-" + std::to_string(source & mb::imageCaps));
    std::ofstream(file) << "picture";
    value = com::Variant(file.u16string());
    return 0;
}

class MergeConflictTest : public mbtest::DialogsTest {
protected:
    MergeConflictTest()
    {
        for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->fields.push_back({ftCategories, u"Categories"});
        id1 = s.one().add({{ftFirstName, u"Ada"}, {ftCity1, u"Paris"}, {ftPhone, u"1"}, {ftNotes, u"n"}, {ftCategories, u"a,b"}});
        id2 = s.two().add({{ftFirstName, u"Ada"}, {ftCity1, u"Rome"}, {ftPhone, u"1"}, {ftNotes, u"n"}, {ftCategories, u"a,b"}});
        question.side1 = {translator1.get(), mbtest::fakeClass1, id1};
        question.side2 = {translator2.get(), mbtest::fakeClass2, id2};
        question.ChangeMap1 = values({{ftCity1, u"Paris"}});
        question.ChangeMap2 = values({{ftCity1, u"Rome"}});
        question.FieldTypes = &types;
    }
    HRESULT merge(mb::ImageConverter convert = nullptr)
    {
        return com::guarded([&] { return MergeConflict(question, nullptr, {u"First", u"Second"}, convert); });
    }
    static void setLanguage(std::u16string_view language)
    {
        constexpr char16_t path[] = u"Software\\Zorel\\Mirabook\\Locale";
        ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, path));
        platform::RegistryKey::open(platform::Root::CurrentUser, path)->setText(u"DefaultLanguage", language);
    }
    // Merges to the given city and leaves the other fields unchanged.
    void mergeTo(const std::u16string& city)
    {
        told.merged = u"First name\tAda\tCity\t" + city + u"\tPhone\t1\tNotes\tn\tCategories\ta, b";
        EXPECT_EQ(merge(), S_OK);
    }
    std::u16string id1, id2;
    mb::FieldTypeMap types{
        {ftFirstName, ftFirstName}, {ftCity1, ftCity1}, {ftPhone, ftPhone}, {ftNotes, ftNotes}, {ftCategories, ftCategories}};
    ConflictQuestion question;

private:
    mbtest::RegisteredMerge component_;
};

} // namespace

TEST_F(MergeConflictTest, MappedFieldsAreOfferedInTheirOrderWithNotesAndCategoriesLast)
{
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.fields, ElementsAre(u"First name|Ada|Ada", u"City|Rome|Paris", u"Phone|1|1", u"Notes|n|n", u"Categories|a, b|a, b"));
    EXPECT_EQ(told.title, u"Resolve Conflict Manually");
    EXPECT_EQ(told.names, u"Second\tFirst");
    EXPECT_EQ(told.helpTopic, 7020);
    EXPECT_EQ(told.images, VARIANT_FALSE);
}

TEST_F(MergeConflictTest, AValueThatOneSideChangedIsOfferedForBoth)
{
    question.ChangeMap1[ftPhone] = u"2";
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.fields, testing::Contains(u"Phone|2|2"));
}

TEST_F(MergeConflictTest, AValueEqualToSide1GoesOnlyToSide2)
{
    mergeTo(u"Paris");
    EXPECT_EQ(question.ChangeMap1, values({{ftCity1, u"Paris"}}));
    EXPECT_TRUE(question.ChangeMap2.empty());
}

TEST_F(MergeConflictTest, AValueEqualToSide2GoesOnlyToSide1)
{
    mergeTo(u"Rome");
    EXPECT_TRUE(question.ChangeMap1.empty());
    EXPECT_EQ(question.ChangeMap2, values({{ftCity1, u"Rome"}}));
}

TEST_F(MergeConflictTest, AValueThatTheUserTypedGoesToBothSides)
{
    mergeTo(u"Oslo");
    EXPECT_EQ(question.ChangeMap1, values({{ftCity1, u"Oslo"}}));
    EXPECT_EQ(question.ChangeMap2, values({{ftCity1, u"Oslo"}}));
}

TEST_F(MergeConflictTest, AValueEqualToBothSidesIsRemovedFromBothMaps)
{
    s.two().set(id2, ftCity1, u"Paris ");
    mergeTo(u"Paris");
    EXPECT_TRUE(question.ChangeMap1.empty());
    EXPECT_TRUE(question.ChangeMap2.empty());
}

TEST_F(MergeConflictTest, ACancelledMergeLeavesTheDialogOpenAndTheMapsUnchanged)
{
    told.result = 1;
    told.merged = u"City\tOslo";
    mb::CConflictDlg dialog(question);
    dialog.prepare();
    dialog.press(idOk);
    EXPECT_EQ(dialog.ending(), std::nullopt);
    EXPECT_THAT(user.messages, IsEmpty());
    EXPECT_EQ(question.ChangeMap1, values({{ftCity1, u"Paris"}}));
    EXPECT_EQ(question.ChangeMap2, values({{ftCity1, u"Rome"}}));
    told.result = 0;
    dialog.press(idOk);
    EXPECT_EQ(dialog.ending(), idOk);
    EXPECT_EQ(question.Resolution, croMerge);
}

TEST_F(MergeConflictTest, AFailureOfTheComponentIsShownWithItsCode)
{
    told.shown = E_OUTOFMEMORY;
    mb::CConflictDlg dialog(question);
    dialog.prepare();
    dialog.press(idOk);
    ASSERT_EQ(user.messages.size(), 1u);
    EXPECT_THAT(user.messages[0], mbtest::Holds(u"0x8007000e"));
    EXPECT_EQ(dialog.ending(), std::nullopt);
}

TEST_F(MergeConflictTest, ARecordThatCannotBeReadIsAFailureAndChangesNothing)
{
    s.two().remove(id2);
    EXPECT_EQ(merge(), E_FAIL);
    EXPECT_EQ(question.ChangeMap1.size(), 1u);
}

TEST_F(MergeConflictTest, AValueThatCannotBeReadIsNotOfferedAsEmpty)
{
    for (const char* call : {"1 ReadField", "2 ReadField"}) {
        s.log().failNext(call, E_FAIL);
        told = {};
        EXPECT_EQ(merge(), E_FAIL) << call;
        EXPECT_TRUE(told.title.empty()) << "the merge dialog was not shown";
        EXPECT_EQ(question.ChangeMap1.size(), 1u);
    }
}

TEST_F(MergeConflictTest, AFieldThatIsMissingFromTheResultIsEmptied)
{
    told.merged = u"First name\tAda\tCity\tParis\tNotes\tn\tCategories\ta, b"; // no phone
    EXPECT_EQ(merge(), S_OK);
    ASSERT_TRUE(question.ChangeMap1.contains(ftPhone));
    EXPECT_EQ(question.ChangeMap1.find(ftPhone)->second, u"");
    EXPECT_TRUE(question.ChangeMap2.contains(ftPhone));
}

TEST_F(MergeConflictTest, AValueWhoseTabComesBackAsABlankIsNotChanged)
{
    s.one().set(id1, ftNotes, u"a\tb");
    s.two().set(id2, ftNotes, u"a\tb");
    told.merged = u"First name\tAda\tCity\tParis\tPhone\t1\tNotes\ta b\tCategories\ta, b";
    EXPECT_EQ(merge(), S_OK);
    EXPECT_FALSE(question.ChangeMap1.contains(ftNotes));
    EXPECT_FALSE(question.ChangeMap2.contains(ftNotes));
}

TEST_F(MergeConflictTest, AnImageIsMergedIfItChangedOnEitherSide)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        store->addImageFields();
        store->options.imageFolder = s.folder.path();
        types[ftImage1] = ftImage1;
    }
    question.SyncImages = true;
    EXPECT_EQ(merge(keepPath), S_OK);
    EXPECT_EQ(told.images, VARIANT_FALSE) << "no image changed";
    question.ChangeMap1[ftImageSize1] = u"5";
    EXPECT_EQ(merge(keepPath), S_OK);
    EXPECT_EQ(told.images, VARIANT_TRUE);
    EXPECT_EQ(told.frontImages, u"|");
}

TEST_F(MergeConflictTest, EachImageIsShownAsATemporaryFileOfEachSide)
{
    s.one().addImageFields(capDIBImage);
    s.two().addImageFields(capBMPFile);
    s.two().options.imageFolder = shownFolder = s.folder.path();
    for (ITranslator* translator : {translator1.get(), translator2.get()})
        ASSERT_EQ(com::Ptr<ITranslator>(translator).as<IImageSupport>()->SetAllowImage(VARIANT_TRUE), S_OK);
    s.one().set(id1, ftImage1, u"front1");
    s.one().set(id1, ftImage2, u"back1");
    types[ftImage1] = ftImage1;
    types[ftImage2] = ftImage2;
    question.SyncImages = true;
    question.ChangeMap1 = values({{ftImage1, u"1"}, {ftImage2, u"1"}});
    question.ChangeMap2 = values({{ftImage1, u"0"}, {ftImage2, u"0"}});
    const auto shown = [](const char* name) { return (shownFolder / name).u16string(); };
    told.atFrontImages = [&] { EXPECT_TRUE(std::filesystem::exists(shown("front1-512"))); };
    EXPECT_EQ(merge(nameFile), S_OK);
    EXPECT_EQ(told.frontImages, shown("-1024") + u"|" + shown("front1-512"));
    EXPECT_EQ(told.backImages, shown("-1024") + u"|" + shown("back1-512"));
    for (const char* name : {"front1-512", "back1-512", "-1024"}) EXPECT_FALSE(std::filesystem::exists(shown(name))) << name;
}

TEST_F(MergeConflictTest, AnUnreadableImageFileIsNotShownAndNotDeleted)
{
    const auto images = s.folder.path() / "images";
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        store->addImageFields(capBMPFile);
        store->options.imageFolder = images;
        types[ftImage1] = ftImage1;
    }
    s.folder.write("own.bmp", "no picture");
    std::filesystem::create_directory(images);
    s.one().set(id1, ftImage1, (s.folder.path() / "own.bmp").u16string());
    question.SyncImages = true;
    question.ChangeMap1[ftImage1] = u"1";
    EXPECT_EQ(merge(mb::ConvertImageValue), S_OK);
    EXPECT_EQ(told.images, VARIANT_TRUE);
    EXPECT_EQ(told.frontImages, u"|");
    ASSERT_EQ(std::distance(std::filesystem::directory_iterator(images), {}), 1) << "the translator's file";
    EXPECT_EQ(s.folder.read(std::filesystem::directory_iterator(images)->path()), "no picture");
}

TEST_F(MergeConflictTest, WithoutTheOptionImagesAreNotMerged)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->addImageFields();
    types[ftImage1] = ftImage1;
    question.ChangeMap1[ftImage1] = question.ChangeMap2[ftImage1] = u"1";
    told.frontImages = u"none";
    EXPECT_EQ(merge(keepPath), S_OK);
    EXPECT_EQ(told.images, VARIANT_FALSE);
    EXPECT_EQ(told.frontImages, u"none");
    EXPECT_EQ(question.ChangeMap1.size() + question.ChangeMap2.size(), 4u) << "the images stay in the change maps";
}

TEST_F(MergeConflictTest, AValueThatBothSidesChangedIsReadAgain)
{
    question.ChangeMap1[ftCity1] = u"stale 1";
    question.ChangeMap2[ftCity1] = u"stale 2";
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.fields, testing::Contains(u"City|Rome|Paris"));
}

TEST_F(MergeConflictTest, CategoriesAreShownAsAListOnEachSideThatHasThem)
{
    s.one().set(id1, ftPhone, u"1,2");
    types = {{ftPhone, ftCategories}};
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.fields, ElementsAre(u"Phone|a, b|1,2"));
}

TEST_F(MergeConflictTest, TheHelpFileIsPassedIfTheHostIsKnown)
{
    EXPECT_EQ(merge(), S_OK);
    EXPECT_EQ(told.help, u"");
    constexpr char16_t path[] = u"Software\\Zorel\\Mirabook\\Main";
    const auto native = [](const char16_t* name) { return std::filesystem::path(name).make_preferred().u16string(); };
    ASSERT_TRUE(platform::createKeyPath(platform::Root::CurrentUser, path));
    platform::RegistryKey::open(platform::Root::CurrentUser, path)->setText(u"Path", native(u"/opt/mb"));
    EXPECT_EQ(merge(), S_OK);
    EXPECT_TRUE(told.help.starts_with(native(u"/opt/Locale"))) << platform::utf8(told.help);
    EXPECT_TRUE(told.help.ends_with(u"Mirabook.chm")) << platform::utf8(told.help);
}

TEST_F(MergeConflictTest, ImagesArePassedWhileBothRecordsAreOpen)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) {
        store->addImageFields();
        store->options.imageFolder = s.folder.path();
    }
    types[ftImage1] = ftImage1;
    question.SyncImages = true;
    question.ChangeMap1[ftImageSize1] = u"5";
    int ended = -1;
    told.atFrontImages = [&] { ended = s.log().count("EndReadRecord"); };
    EXPECT_EQ(merge(keepPath), S_OK);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(s.log().count("EndReadRecord"), 2);
}

TEST_F(MergeConflictTest, TheLanguageIsPassedUnlessItIsEnglish)
{
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.languages, IsEmpty());
    setLanguage(u"de");
    EXPECT_EQ(merge(), S_OK);
    EXPECT_THAT(told.languages, ElementsAre(u"de"));
}

TEST_F(MergeConflictTest, AFailureAfterTheUserAcceptedLeavesBothMapsUnchanged)
{
    for (mbtest::FakeStore* store : {&s.one(), &s.two()}) store->addImageFields();
    types[ftImage1] = ftImage1;
    question.SyncImages = true;
    question.ChangeMap1[ftImage1] = question.ChangeMap2[ftImage1] = u"1";
    const auto before1 = question.ChangeMap1, before2 = question.ChangeMap2;
    told.merged = u"First name\tAda\tCity\tOslo\tPhone\t1\tNotes\tn\tCategories\ta, b";
    told.imageGiven = E_OUTOFMEMORY;
    EXPECT_EQ(merge(keepPath), E_OUTOFMEMORY);
    EXPECT_EQ(question.ChangeMap1, before1);
    EXPECT_EQ(question.ChangeMap2, before2);
}

TEST_F(MergeConflictTest, AComponentThatRefusesAFieldIsAFailureAndBothReadsEnd)
{
    told.fieldTaken = E_OUTOFMEMORY;
    EXPECT_EQ(merge(), E_OUTOFMEMORY);
    EXPECT_EQ(told.title, u"") << "nothing is shown";
    EXPECT_EQ(s.log().count("EndReadRecord"), 2);
}

TEST_F(MergeConflictTest, AComponentThatRefusesTheLanguageIsAFailureAndReadsNothing)
{
    setLanguage(u"de");
    told.languageTaken = E_OUTOFMEMORY;
    EXPECT_EQ(merge(), E_OUTOFMEMORY);
    EXPECT_EQ(s.log().count("BeginReadRecord"), 0);
    EXPECT_EQ(question.ChangeMap1.size() + question.ChangeMap2.size(), 2u);
}

TEST(MergedFieldsTest, LabelsAndValuesAreSplitAtTabs)
{
    EXPECT_THAT(mb::ParseMergedFields(u"A\t1\tB\t\tC\tlast"),
                ElementsAre(std::pair(u"A", u"1"), std::pair(u"B", u""), std::pair(u"C", u"last")));
    EXPECT_THAT(mb::ParseMergedFields(u"A"), ElementsAre(std::pair(u"A", u"")));
    EXPECT_THAT(mb::ParseMergedFields(u""), IsEmpty());
}

namespace {

struct Flags {
    std::u16string one, two;
};

Flags settle(const char16_t* flag1, const char16_t* flag2, const char16_t* chosen, std::u16string file1 = {})
{
    FieldValueMap a, b;
    a[ftImage1] = flag1;
    b[ftImage1] = flag2;
    a[ftImageSize1] = b[ftImageSize1] = u"9";
    mb::SettleMergedImage({ftImage1, ftImage1, ftImageSize1, ftImageSize1, chosen, std::move(file1)}, a, b);
    const auto flag = [](const FieldValueMap& map) { return map.contains(ftImage1) ? map.find(ftImage1)->second : std::u16string(u"-"); };
    return {flag(a), flag(b)};
}

} // namespace

TEST(MergedImageTest, AnImageThatWasChosenChangesNothing)
{
    const Flags flags = settle(u"1", u"0", u"/some/file");
    EXPECT_EQ(flags.one + flags.two, u"10");
}

TEST(MergedImageTest, WithNoImageChosenTheFlagsDecide)
{
    EXPECT_EQ(settle(u"0", u"0", u"").one + settle(u"0", u"0", u"").two, u"--");
    EXPECT_EQ(settle(u"1", u"0", u"").one + settle(u"1", u"0", u"").two, u"1-");
    EXPECT_EQ(settle(u"0", u"1", u"").one, u"-");
    EXPECT_EQ(settle(u"1", u"1", u"").one + settle(u"1", u"1", u"").two, u"--") << "neither image file has a size";
}

TEST(MergedImageTest, TheSizesGoWithTheImagesOfBothSides)
{
    FieldValueMap a, b;
    a[ftImage2] = b[ftImage1] = u"1";
    a[ftImageSize2] = b[ftImageSize1] = u"9";
    mb::SettleMergedImage({ftImage2, ftImage1, ftImageSize2, ftImageSize1, u"", u""}, a, b);
    EXPECT_TRUE(a.empty());
    EXPECT_TRUE(b.empty());
}

TEST(MergedImageTest, AnImageInOnlyOneMapStays)
{
    FieldValueMap a, b;
    a[ftImage1] = u"0";
    mb::SettleMergedImage({ftImage1, ftImage1, ftImageSize1, ftImageSize1, u"", u""}, a, b);
    EXPECT_EQ(a.size(), 1u);
    mb::SettleMergedImage({ftImage1, ftImage1, ftImageSize1, ftImageSize1, u"", u""}, b, a);
    EXPECT_EQ(a.size(), 1u);
}

TEST(MergedImageTest, AnImageOfSide1ThatHasASizeStays)
{
    mbtest::TestFolder folder;
    folder.write("image", "bytes");
    EXPECT_EQ(settle(u"1", u"1", u"", (folder.path() / "image").u16string()).one, u"1");
}

TEST(MergedFieldTest, OnlyTheValueOfSide2IsComparedUntrimmed)
{
    FieldValueMap a, b;
    const auto apply = [&](const char16_t* merged, const char16_t* value2) {
        a = b = FieldValueMap();
        a[ftCity1] = b[ftCity1] = u"before";
        mb::ApplyMergedField({ftCity1, ftCity1, u"Paris", value2, merged}, a, b);
    };
    apply(u"Rome ", u"Rome");
    EXPECT_FALSE(a.contains(ftCity1));
    EXPECT_EQ(b[ftCity1], u"Rome ");
    apply(u"Rome", u"Rome ");
    EXPECT_EQ(a[ftCity1], u"Rome") << "neither side has the merged value";
    EXPECT_EQ(b[ftCity1], u"Rome");
}
