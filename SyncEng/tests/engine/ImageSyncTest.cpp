#include "image.h"
#include "JpegLoss.h"
#include "store/ConfigStore.h"
#include "store/CSyncHistory.h"
#include "SyncScenario.h"
#include "TestImages.h"
#include "text.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::FakeValues;
using mbtest::makePicture;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
namespace fs = std::filesystem;

const std::u16string small = makePicture(20, 10), large = makePicture(40, 30);

std::u16string bytesText(const std::u16string& picture) { return platform::utf16(std::to_string(picture.size() * 2)); }

class ImageSync : public testing::Test {
protected:
    // Both sides hold pictures as bitmaps, and one card is on both.
    void begin(ULONG form1 = capDIBImage, ULONG form2 = capDIBImage)
    {
        s.one().addImageFields(form1);
        s.two().addImageFields(form2);
        s.one().options.imageFolder = made("one");
        s.two().options.imageFolder = made("two");
    }
    void addAda(FakeValues more = {})
    {
        more[ftFirstName] = u"Ada";
        more[ftLastName] = u"Lovelace";
        ada = s.one().add(std::move(more));
        ASSERT_EQ(s.sync(), S_OK);
        ASSERT_THAT(s.two().order, SizeIs(1));
        ada2 = s.two().order.back();
    }
    fs::path made(const char* name)
    {
        fs::create_directories(s.folder.path() / name);
        return s.folder.path() / name;
    }
    mb::FieldValueMap stored(const std::u16string& id, const char16_t* side = u"Trans1", GUID map = {})
    {
        mb::CSyncHistory history(nullptr);
        EXPECT_EQ(history.Open(map == GUID_NULL ? s.map() : map), S_OK);
        mb::FieldValueMap fields;
        EXPECT_EQ(history.ReadFieldData(side, id, fields), S_OK);
        return fields;
    }
    static std::u16string at(const mb::FieldValueMap& fields, LONG type)
    {
        const auto found = fields.find(type);
        return found == fields.end() ? u"<none>" : found->second;
    }
    bool optionChanged()
    {
        com::Variant value;
        return SUCCEEDED(s.maps()->GetOption(s.map(), soSyncImageOptionChanged, value.put())) && value.boolVal != VARIANT_FALSE;
    }
    std::size_t imageCalls() const
    {
        std::size_t calls = 0;
        for (const std::string& line : const_cast<SyncScenario&>(s).log().lines)
            calls += line.find("HasFieldValue") != line.npos || line.find("ImageData") != line.npos;
        return calls;
    }
    SyncScenario s;
    std::u16string ada, ada2;
};

// A picture on side 1 as the form has it.
std::u16string asForm(ULONG form, const std::u16string& picture, const fs::path& folder)
{
    if (form == capDIBImage) return picture;
    const bool bmp = form == capBMPFile;
    const fs::path file = folder / (bmp ? "own.bmp" : "own.jpg");
    EXPECT_TRUE(platform::saveImage(picture, file, bmp ? platform::ImageFormat::Bmp : platform::ImageFormat::Jpeg));
    return file.u16string();
}

class ImageForms : public ImageSync, public testing::WithParamInterface<std::tuple<ULONG, ULONG>> {};

std::size_t filesIn(const fs::path& folder)
{
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

// As an earlier version left the history of a map: it knew of no images.
void forgetImages(const GUID& map, const std::u16string& id1, const std::u16string& id2)
{
    mb::CSyncHistory history(nullptr);
    ASSERT_EQ(history.Open(map), S_OK);
    for (const auto& [side, id] : {std::pair{u"Trans1", id1}, {u"Trans2", id2}}) {
        mb::FieldValueMap fields;
        ASSERT_EQ(history.ReadFieldData(side, id, fields), S_OK);
        for (const LONG type : {ftImage1, ftImage2, ftImageSize1, ftImageSize2}) fields.erase(type);
        ASSERT_EQ(history.WriteFieldData(side, id, fields, false, false), S_OK);
    }
    ASSERT_EQ(history.SetVersion(3), S_OK);
}

} // namespace

TEST_P(ImageForms, APictureArrivesInTheFormOfItsTargetAndLeavesNoFileBehind)
{
    const auto [form1, form2] = GetParam();
    begin(form1, form2);
    addAda({{ftImage1, asForm(form1, small, made("one"))}});
    const std::u16string arrived = s.two().get(ada2, ftImage1);
    const std::u16string picture = form2 == capDIBImage ? arrived : platform::loadImage(fs::path(arrived));
    EXPECT_LE(mbtest::difference(picture, small), mbtest::lossOfJpeg);
    if (form2 != capDIBImage) {
        EXPECT_EQ(stored(ada2, u"Trans2").find(ftImageSize1)->second, platform::utf16(std::to_string(fs::file_size(arrived))));
    }
    EXPECT_EQ(filesIn(made("one")), form1 == capDIBImage ? 0u : 1u);
    EXPECT_EQ(filesIn(made("two")), form2 == capDIBImage ? 0u : 1u);
    for (const auto& entry : fs::directory_iterator(s.folder.data())) {
        EXPECT_NE(entry.path().extension(), ".BMP");
        EXPECT_NE(entry.path().extension(), ".JPG");
    }
    s.log().violations.clear();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Forms, ImageForms,
                         testing::Combine(testing::Values(capDIBImage, capBMPFile, capJPEGFile),
                                          testing::Values(capDIBImage, capBMPFile, capJPEGFile)));

TEST_F(ImageSync, BothImagesOfANewCardReachTheOtherSideAndTheirSizesTheHistory)
{
    begin();
    addAda({{ftImage1, small}, {ftImage2, large}});
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_EQ(s.two().get(ada2, ftImage2), large);
    for (const auto& fields : {stored(ada), stored(ada2, u"Trans2")}) {
        EXPECT_EQ(at(fields, ftImage1), u"1");
        EXPECT_EQ(at(fields, ftImage2), u"1");
        EXPECT_EQ(at(fields, ftImageSize1), bytesText(small));
        EXPECT_EQ(at(fields, ftImageSize2), bytesText(large));
    }
    s.expectInStep();
}

TEST_F(ImageSync, ANewRecordGetsNoEmptyImage)
{
    begin();
    addAda();
    for (const std::string& line : s.writes()) EXPECT_THAT(line, testing::Not(HasSubstr("image")));
    EXPECT_EQ(at(stored(ada), ftImage1), u"0");
    EXPECT_EQ(at(stored(ada2, u"Trans2"), ftImage1), u"0");
    s.expectInStep();
}

TEST_F(ImageSync, AnImageThatAppearedIsAChange)
{
    begin();
    addAda();
    s.two().set(ada2, ftImage2, large);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.one().get(ada, ftImage2), large);
    s.expectInStep();
}

TEST_F(ImageSync, ARemovedImageIsNoChangeAndIsRememberedAsGone)
{
    begin();
    addAda({{ftImage1, small}});
    s.one().set(ada, ftImage1, u"");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_EQ(at(stored(ada), ftImage1), u"0");
    s.one().set(ada, ftImage1, small);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_FALSE(s.writes().empty()) << "it appeared again";
    s.expectInStep();
}

TEST_F(ImageSync, ARemovedImageStaysOnTheOtherSideWhenAnotherFieldChanges)
{
    begin();
    addAda({{ftImage1, small}});
    s.one().set(ada, ftImage1, u"");
    s.one().set(ada, ftCity1, u"London");
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"London");
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
}

TEST_F(ImageSync, TwoImagesDifferByTheirSizesAlone)
{
    begin();
    addAda({{ftImage1, small}});
    std::u16string other = small;
    other.back() ^= 0xFF;
    s.one().set(ada, ftImage1, other);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);

    s.one().set(ada, ftImage1, large);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), large);
    EXPECT_EQ(at(stored(ada2, u"Trans2"), ftImageSize1), bytesText(large));
    s.expectInStep();
}

TEST_F(ImageSync, AFieldThatChangesAloneLeavesTheImageUnread)
{
    begin();
    addAda({{ftImage1, small}});
    s.one().set(ada, ftCity1, u"London");
    EXPECT_EQ(s.sync(), S_OK);
    for (const std::string& line : s.log().lines) {
        EXPECT_THAT(line, testing::Not(HasSubstr("image")));
        if (!line.starts_with("1 ReadField")) continue;
        EXPECT_THAT(line, testing::Not(HasSubstr("mage")));
    }
    EXPECT_EQ(at(stored(ada), ftImageSize1), bytesText(small)) << "its history data is kept";
    EXPECT_EQ(at(stored(ada2, u"Trans2"), ftImageSize1), bytesText(small));
    s.expectInStep();
}

TEST_F(ImageSync, EqualDatesLeaveImagesUnasked)
{
    begin();
    addAda({{ftImage1, small}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(imageCalls(), 0u);
}

TEST_F(ImageSync, WithTheOptionOffImagesAreNotComparedAndBothTranslatorsAreTold)
{
    begin();
    s.setOption(soSyncImages, false);
    addAda({{ftImage1, small}});
    EXPECT_THAT(s.log().starting("1 SetAllowImage no"), SizeIs(1));
    EXPECT_THAT(s.log().starting("2 SetAllowImage no"), SizeIs(1));
    EXPECT_EQ(s.two().get(ada2, ftImage1), u"");
    s.one().set(ada, ftImage1, large);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(ImageSync, TheOptionSwitchedOnComparesImagesThoughDatesAreEqual)
{
    begin();
    s.setOption(soSyncImages, false);
    addAda({{ftImage1, small}});
    s.setOption(soSyncImages, true);
    s.setOption(soSyncImageOptionChanged, true);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 SetAllowImage yes"), SizeIs(1));
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_FALSE(optionChanged());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_GT(imageCalls(), 0u) << "the text that went out to all maps has a run of its own";
    EXPECT_THAT(s.writes(), IsEmpty());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(imageCalls(), 0u);
}

TEST_F(ImageSync, AFailedRunLeavesTheOptionForTheNextOne)
{
    begin();
    s.setOption(soSyncImages, false);
    addAda({{ftImage1, small}});
    s.setOption(soSyncImages, true);
    s.setOption(soSyncImageOptionChanged, true);
    s.log().failOn("2 BeginUpdate", s.log().count("2 BeginUpdate") + 1, E_FAIL);
    EXPECT_EQ(s.sync(), E_FAIL);
    EXPECT_TRUE(optionChanged());
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_FALSE(optionChanged());
}

TEST_F(ImageSync, ACategoryPassLeavesTheOptionToTheContacts)
{
    begin();
    s.one().options.categories = s.two().options.categories = true;
    s.setOption(soSyncImages, false);
    addAda({{ftImage1, small}});
    s.setOption(soSyncImages, true);
    s.setOption(soSyncImageOptionChanged, true);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_FALSE(optionChanged());
}

TEST_F(ImageSync, OneTranslatorWithoutImagesLeavesItToTheDates)
{
    begin();
    addAda({{ftImage1, small}});
    s.two().options.images = false;
    s.setOption(soSyncImageOptionChanged, true);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(imageCalls(), 0u);
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(ImageSync, AMapWithoutAnImageFieldLeavesItToTheDates)
{
    s.one().options.images = s.two().options.images = true;
    addAda();
    s.setOption(soSyncImageOptionChanged, true);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(imageCalls(), 0u);
    EXPECT_THAT(s.log().starting("1 ReadField"), IsEmpty());
}

TEST_F(ImageSync, AfterAnUpgradeEveryMapComparesItsImagesOnce)
{
    begin();
    addAda({{ftImage1, small}});
    const GUID second = s.addMap();
    ASSERT_EQ(s.syncMap(second), S_OK);
    ASSERT_EQ(mb::ConfigStore().SetVersion(3), S_OK);
    for (const GUID& map : {s.map(), second}) forgetImages(map, ada, ada2);
    s.two().records.at(ada2).values[ftImage1].clear();

    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small) << "though no date moved";
    LONG version = 0;
    EXPECT_EQ(mb::ConfigStore().GetVersion(version), S_OK);
    EXPECT_EQ(version, 4);

    EXPECT_EQ(s.syncMap(second), S_OK);
    EXPECT_GT(imageCalls(), 0u) << "the other map had its own turn";
    // The two maps share their stores, so what one writes the other looks at; then nothing is left to ask.
    for (int round = 0; round < 2; ++round)
        for (const GUID& map : {s.map(), second}) EXPECT_EQ(s.syncMap(map), S_OK);
    for (const GUID& map : {s.map(), second}) {
        EXPECT_EQ(s.syncMap(map), S_OK);
        EXPECT_EQ(imageCalls(), 0u);
    }
}

TEST_F(ImageSync, EqualCardsWithEqualPicturesAreOneCard)
{
    begin(capDIBImage, capDIBImage);
    const FakeValues card{{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftImage1, small}};
    s.one().add(card);
    s.two().add(card);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
    for (const std::string& line : s.log().lines) EXPECT_THAT(line, testing::Not(HasSubstr("WriteField")));
    s.expectInStep();
}

TEST_F(ImageSync, APictureOnOneSideReachesTheEqualCardOfTheOther)
{
    begin();
    for (const bool first : {true, false}) {
        const FakeValues card{{ftFirstName, first ? u"Ada" : u"Alan"}, {ftLastName, first ? u"Lovelace" : u"Turing"}};
        FakeValues withPicture = card;
        withPicture[ftImage1] = small;
        s.one().add(first ? withPicture : card);
        s.two().add(first ? card : withPicture);
    }
    EXPECT_EQ(s.sync(), S_OK);
    for (FakeStore* store : {&s.one(), &s.two()}) {
        EXPECT_THAT(store->records, SizeIs(2));
        for (const auto& [id, record] : store->records) EXPECT_EQ(store->get(id, ftImage1), small);
    }
    s.expectInStep();
}

TEST_F(ImageSync, PicturesOfDifferentSizeAreDifferentContent)
{
    begin();
    // By the quote in their name the rules turn them away: only equal content could make them one.
    FakeValues card{{ftFirstName, u"Ada"}, {ftLastName, u"\"Lovelace\""}, {ftImage1, small}};
    s.one().add(card);
    card[ftImage1] = large;
    s.two().add(card);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(2));
    EXPECT_THAT(s.two().records, SizeIs(2));
}

TEST_F(ImageSync, WithTheOptionOffPicturesMakeNoContentDiffer)
{
    begin();
    s.setOption(soSyncImages, false);
    FakeValues card{{ftFirstName, u"Ada"}, {ftLastName, u"\"Lovelace\""}};
    s.two().add(card);
    card[ftImage1] = small;
    s.one().add(card);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.one().records, SizeIs(1));
    EXPECT_THAT(s.two().records, SizeIs(1));
    const auto& lines = s.log().lines;
    for (auto at = lines.begin(); at != std::ranges::find(lines, "2 BeginUpdate"); ++at)
        EXPECT_THAT(*at, testing::Not(HasSubstr("HasFieldValue")));
}

TEST_F(ImageSync, TheSearchForDuplicatesLeavesNoPictureFileBehind)
{
    for (const ULONG form : {capBMPFile, capJPEGFile}) {
        SyncScenario own;
        for (FakeStore* store : {&own.one(), &own.two()}) {
            const fs::path folder = own.folder.path() / (store == &own.one() ? "one" : "two");
            fs::create_directories(folder);
            store->addImageFields(form);
            store->options.imageFolder = folder;
            store->add({{ftFirstName, u"Ada"}, {ftLastName, u"Lovelace"}, {ftImage1, asForm(form, small, folder)}});
        }
        EXPECT_EQ(own.sync(), S_OK);
        EXPECT_THAT(own.one().records, SizeIs(1));
        EXPECT_EQ(filesIn(own.folder.path() / "one"), 1u);
        EXPECT_EQ(filesIn(own.folder.path() / "two"), 1u);
        for (const auto& entry : fs::directory_iterator(own.folder.data())) {
            EXPECT_NE(entry.path().extension(), ".BMP");
            EXPECT_NE(entry.path().extension(), ".JPG");
        }
    }
}

TEST_F(ImageSync, TheSecondImageAloneMakesAMapOneWithImages)
{
    begin();
    for (FakeStore* store : {&s.one(), &s.two()}) std::erase_if(store->fields, [](const auto& field) { return field.type == ftImage1; });
    s.setOption(soSyncImages, false);
    addAda({{ftImage2, small}});
    s.setOption(soSyncImages, true);
    s.setOption(soSyncImageOptionChanged, true);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage2), small) << "though no date moved";
}

// ---- A history from before images were compared --------------------------------------------------------------------------

namespace {

class OldHistory : public ImageSync {
protected:
    // One card in step but for its picture, and a history of version 3 that tells nothing of pictures.
    void begin3(LONG configurationVersion)
    {
        begin();
        addAda();
        forgetImages(s.map(), ada, ada2);
        ASSERT_EQ(mb::ConfigStore().SetVersion(configurationVersion), S_OK);
        s.one().records.at(ada).values[ftImage1] = small; // without a new date
    }
    std::u16string announced(const GUID& map)
    {
        std::u16string text;
        return SUCCEEDED(mb::ConfigStore().ReadValue(u"Trans2Cfg", com::guidText(map), u"SyncImageOptionChanged", text)) ? text : u"<none>";
    }
    LONG historyVersion()
    {
        mb::CSyncHistory history(nullptr);
        LONG version = 0;
        EXPECT_EQ(history.Open(s.map()), S_OK);
        EXPECT_EQ(history.GetVersion(version), S_OK);
        return version;
    }
};

} // namespace

TEST_F(OldHistory, AnUpgradeIsAnnouncedToEveryMapAndTakenBackWhereItRan)
{
    begin3(3);
    const GUID other = s.addMap();
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_EQ(announced(s.map()), u"0");
    EXPECT_EQ(announced(other), u"1");
    EXPECT_EQ(historyVersion(), 4);
}

TEST_F(OldHistory, WithoutImagesAnUpgradeAnnouncesNothing)
{
    begin3(3);
    s.setOption(soSyncImages, false);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(announced(s.map()), u"<none>");
    LONG version = 0;
    EXPECT_EQ(mb::ConfigStore().GetVersion(version), S_OK);
    EXPECT_EQ(version, 4);
}

TEST_F(OldHistory, AHistoryOfTodayNeedsNoUpgrade)
{
    begin();
    addAda();
    ASSERT_EQ(mb::ConfigStore().SetVersion(3), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(announced(s.map()), u"<none>");
    EXPECT_EQ(imageCalls(), 0u);
}

TEST_F(OldHistory, AChangedOptionComparesImagesThoughTheHistoryTellsNothingOfThem)
{
    begin3(4);
    ASSERT_EQ(mb::ConfigStore().WriteInt(u"TrMap", com::guidText(s.map()), u"SyncImageChanged", 1, false, true), S_OK);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_EQ(historyVersion(), 4);
}

TEST_F(OldHistory, WithoutAChangedOptionARunOnlyMakesItOneOfToday)
{
    begin3(4);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), u"");
    EXPECT_EQ(historyVersion(), 4);
}

TEST_F(ImageSync, ADamagedPictureIsNoPictureAndEndsNothing)
{
    begin(capJPEGFile, capDIBImage);
    const fs::path file = made("one") / "own.jpg";
    mbtest::writeBytes(file, "\xFF\xD8 nothing that could be shown");
    s.one().add({{ftFirstName, u"Ada"}, {ftImage1, file.u16string()}});
    s.one().add({{ftFirstName, u"Alan"}});
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(2));
    for (const auto& [id, record] : s.two().records) EXPECT_EQ(s.two().get(id, ftImage1), u"");
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(ImageSync, ATranslatorThatRefusesToTellOfAnImageLosesNone)
{
    begin();
    addAda({{ftImage1, small}});
    s.one().set(ada, ftCity1, u"London");
    for (int n = 1; n < 20; ++n) s.log().failOn("HasFieldValue", s.log().count("HasFieldValue") + n, E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), small);
    EXPECT_EQ(s.two().get(ada2, ftCity1), u"London");
}
