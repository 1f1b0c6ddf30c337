// Pictures that are lines of details: they obey the image option and the pairs of image fields, and are one picture with the image field of
// their kind.
#include "DetailsLines.h"
#include "SyncScenario.h"
#include "TestImages.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeStore;
using mbtest::Lines;
using mbtest::linesOf;
using mbtest::SyncScenario;
using testing::HasSubstr;
using testing::IsEmpty;

const std::u16string bitmap = mbtest::makePicture(20, 10), largeBitmap = mbtest::makePicture(40, 30);
const std::u16string png = u"PHOTO:data:image/png;base64,AAAA", gif = u"PHOTO:data:image/gif;base64,BBBB",
                     linked = u"PHOTO:https://example.net/ada.png", logo = u"LOGO:data:image/png;base64,CCCC";

class DetailsPictures : public testing::Test {
protected:
    DetailsPictures()
    {
        for (FakeStore* store : {&s.one(), &s.two()}) {
            store->addImageFields();
            store->addDetailsField();
            store->options.hashesFiles = true;
        }
    }
    void begin(const std::u16string& image, const std::u16string& details)
    {
        id1 = s.one().add({{ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
        set(s.one(), id1, image, details);
        sync();
        id2 = s.two().order.back();
        expectBoth(image, linesOf(details));
    }
    void set(FakeStore& store, const std::u16string& id, const std::u16string& image, const std::u16string& details)
    {
        store.set(id, ftImage1, image);
        store.set(id, ftDetails, details);
        store.records.at(id).modified = later += 1.0;
    }
    void set1(const std::u16string& image, const std::u16string& details) { set(s.one(), id1, image, details); }
    void set2(const std::u16string& image, const std::u16string& details) { set(s.two(), id2, image, details); }
    void sync()
    {
        ASSERT_EQ(s.sync(), S_OK);
        EXPECT_EQ(s.log().violations, std::vector<std::string>());
    }
    void expectHeld(const FakeStore& store, const std::u16string& id, const std::u16string& image, const Lines& details)
    {
        EXPECT_EQ(store.get(id, ftImage1).size(), image.size()) << "the image of " << (&store == &s.one() ? 1 : 2);
        EXPECT_EQ(linesOf(store.get(id, ftDetails)), details) << "the lines of " << (&store == &s.one() ? 1 : 2);
    }
    // Both sides hold this, and another run has nothing to do.
    void expectBoth(const std::u16string& image, const Lines& details)
    {
        expectHeld(s.one(), id1, image, details);
        expectHeld(s.two(), id2, image, details);
        sync();
        EXPECT_THAT(s.writes(), IsEmpty());
    }
    SyncScenario s;
    std::u16string id1, id2;
    DATE later = 47000;
};

} // namespace

TEST_F(DetailsPictures, AnImageThatWasReplacedByALineIsOnePictureOnBothSides)
{
    begin(bitmap, u"NOTE:a");
    set1(u"", u"NOTE:a\n" + png);
    sync();
    expectBoth(u"", {u"NOTE:a", png});
    set2(u"", u"NOTE:a\n" + linked);
    sync();
    expectBoth(u"", {u"NOTE:a", linked});
}

TEST_F(DetailsPictures, ALineThatWasReplacedByAnImageIsOnePictureOnBothSides)
{
    begin(u"", u"NOTE:a\n" + png);
    set2(bitmap, u"NOTE:a");
    sync();
    expectBoth(bitmap, {u"NOTE:a"});
}

TEST_F(DetailsPictures, ALineThatWasRemovedIsRemovedAndTheImageBesideItStays)
{
    begin(bitmap, u"NOTE:a\n" + png);
    set1(bitmap, u"NOTE:a");
    sync();
    expectBoth(bitmap, {u"NOTE:a"});
}

TEST_F(DetailsPictures, OfTwoLinesThatBothChangedTheLaterOneWins)
{
    for (const bool oneLater : {true, false}) {
        begin(u"", png);
        if (oneLater) set2(u"", linked);
        set1(u"", gif);
        if (!oneLater) set2(u"", linked);
        sync();
        expectBoth(u"", {oneLater ? gif : linked});
        EXPECT_THAT(s.logText(), HasSubstr(oneLater ? "Second had: PHOTO:https" : "First had: PHOTO: GIF picture, 3 bytes"));
        s.one().remove(id1);
        sync();
    }
}

TEST_F(DetailsPictures, OfAnImageAndALineThatBothChangedTheLaterOneWins)
{
    for (const bool imageLater : {true, false})
        for (const bool imageOnOne : {true, false}) {
            SCOPED_TRACE(std::to_string(imageLater) + std::to_string(imageOnOne));
            begin(bitmap, u"NOTE:a");
            const auto setImage = [&] { imageOnOne ? set1(largeBitmap, u"NOTE:a") : set2(largeBitmap, u"NOTE:a"); };
            const auto setLine = [&] { imageOnOne ? set2(u"", u"NOTE:a\n" + png) : set1(u"", u"NOTE:a\n" + png); };
            if (!imageLater) setImage();
            setLine();
            if (imageLater) setImage();
            sync();
            imageLater ? expectBoth(largeBitmap, {u"NOTE:a"}) : expectBoth(u"", {u"NOTE:a", png});
            const std::string other = imageOnOne == imageLater ? "Second" : "First";
            EXPECT_THAT(s.logText(), HasSubstr(other + (imageLater ? " had: PHOTO: PNG picture, 3 bytes" : " had: PHOTO: picture, ")));
            s.one().remove(id1);
            sync();
        }
}

TEST_F(DetailsPictures, AtAFirstMeetingTheLaterOneWins)
{
    for (const bool imageLater : {true, false})
        for (const bool imageOnOne : {true, false}) {
            SCOPED_TRACE(std::to_string(imageLater) + std::to_string(imageOnOne));
            const mbtest::FakeValues ada{{ftFirstName, u"Ada"}, {ftLastName, u"Byron"}};
            id1 = s.one().add(ada);
            id2 = s.two().add(ada);
            const auto setImage = [&] { imageOnOne ? set1(bitmap, u"NOTE:a") : set2(bitmap, u"NOTE:a"); };
            const auto setLine = [&] { imageOnOne ? set2(u"", u"NOTE:a\n" + png) : set1(u"", u"NOTE:a\n" + png); };
            if (!imageLater) setImage();
            setLine();
            if (imageLater) setImage();
            sync();
            imageLater ? expectBoth(bitmap, {u"NOTE:a"}) : expectBoth(u"", {u"NOTE:a", png});
            s.one().remove(id1);
            sync();
        }
}

TEST_F(DetailsPictures, APictureMeetsNoneAndArrives)
{
    const mbtest::FakeValues ada{{ftFirstName, u"Ada"}, {ftLastName, u"Byron"}};
    id1 = s.one().add(ada);
    id2 = s.two().add(ada);
    set2(u"", gif);
    sync();
    expectBoth(u"", {gif});
}

TEST_F(DetailsPictures, AnImageThatCannotBeReadLeavesTheLine)
{
    begin(u"", u"NOTE:a\n" + png);
    set1(bitmap, u"NOTE:b");
    s.one().options.unreadable = {ftImage1};
    EXPECT_NE(s.sync(), S_OK);
    s.log().violations.clear(); // the record that failed
    EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)).count(png), 1u);
    s.one().options.unreadable.clear();
    sync();
    expectBoth(bitmap, {u"NOTE:b"});
}

TEST_F(DetailsPictures, ALineThatCannotBeReadLeavesTheImage)
{
    begin(bitmap, u"NOTE:a");
    set1(u"", u"NOTE:b\n" + png);
    s.one().options.unreadable = {mbtest::fakeWholeDetails};
    sync();
    expectHeld(s.two(), id2, bitmap, {u"NOTE:a"});
    s.one().options.unreadable.clear();
    s.one().options.givesFiles = false;
    sync();
    expectHeld(s.two(), id2, bitmap, {u"NOTE:b"});
    s.one().options.givesFiles = true;
    sync();
    expectBoth(u"", {u"NOTE:b", png});
}

TEST_F(DetailsPictures, ALineWhoseSuccessorStaysHomeStaysToo)
{
    begin(u"", png);
    s.one().options.givesFiles = false;
    set1(u"", gif);
    for (int run = 0; run < 2; ++run) {
        sync();
        expectHeld(s.one(), id1, u"", {gif});
        expectHeld(s.two(), id2, u"", {png});
    }
    s.one().options.givesFiles = true;
    sync();
    expectBoth(u"", {gif});
}

TEST_F(DetailsPictures, WithoutTheImageOptionLinesNeitherTravelNorGo)
{
    s.setOption(soSyncImages, false);
    id1 = s.one().add({{ftLastName, u"Lovelace"}, {ftDetails, u"NOTE:a\n" + png + u"\n" + logo}});
    sync();
    id2 = s.two().order.back();
    expectHeld(s.two(), id2, u"", {u"NOTE:a"});
    set2(u"", u"NOTE:a\n" + gif);
    sync();
    EXPECT_EQ(linesOf(s.one().get(id1, ftDetails)), (Lines{u"NOTE:a", png, logo}));
    set1(u"", u"NOTE:b");
    sync();
    expectHeld(s.two(), id2, u"", {u"NOTE:b", gif});
    sync();
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(DetailsPictures, LinesOfAnUnmappedPictureStayHome)
{
    s.pairFields({{ftLastName, ftLastName}, {ftImage2, ftImage2}, {ftDetails, ftDetails}});
    id1 = s.one().add({{ftLastName, u"Lovelace"}, {ftDetails, u"NOTE:a\n" + png + u"\n" + logo}});
    sync();
    id2 = s.two().order.back();
    expectHeld(s.two(), id2, u"", {u"NOTE:a", logo});
    sync();
    EXPECT_THAT(s.writes(), IsEmpty());
}

TEST_F(DetailsPictures, ADamagedImageLeavesTheLine)
{
    for (FakeStore* store : {&s.one(), &s.two()}) store->options.caps = capTimestamps | capRecordGUIDs;
    s.one().options.caps |= capDIBImage;
    s.two().options.caps |= capJPEGFile;
    s.two().options.imageFolder = s.folder.path();
    begin(u"", u"NOTE:a\n" + png);
    set1(u"no bitmap", u"NOTE:b");
    sync();
    EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)), (Lines{u"NOTE:a", png}));
    sync();
    EXPECT_EQ(linesOf(s.one().get(id1, ftDetails)), (Lines{u"NOTE:b"})) << "the line does not come back";
    EXPECT_EQ(linesOf(s.two().get(id2, ftDetails)), (Lines{u"NOTE:a", png}));
}

// A picture that is replaced never goes because a call failed. In the end both sides hold the new one alone.
TEST(DetailsPictureSweep, EveryCall)
{
    int calls = 0;
    for (const bool toLine : {true, false})
        for (const std::string method : {"1 ReadField", "2 ReadField", "1 HasFieldValue", "2 HasFieldValue", "2 WriteField", "2 SaveRecord",
                                         "1 BeginReadRecord", "2 BeginReadRecord", "2 BeginEditRecord", "1 GetFieldType"})
            for (int n = 1; n < 200; ++n) {
                SCOPED_TRACE(method + " " + std::to_string(n) + (toLine ? " to a line" : " to an image"));
                SyncScenario s;
                for (FakeStore* store : {&s.one(), &s.two()}) {
                    store->fields = {{ftLastName, u"Last"}, {ftCity1, u"City"}};
                    store->addImageFields();
                    store->addDetailsField();
                    store->options.hashesFiles = true;
                }
                const auto id = s.one().add({{ftLastName, u"Lovelace"}, {ftCity1, u"London"}});
                s.one().set(id, toLine ? ftImage1 : ftDetails, toLine ? bitmap : png);
                ASSERT_EQ(s.sync(), S_OK);
                const auto id2 = s.two().order.back();
                const auto pictures = [&](const FakeStore& store, const std::u16string& record) {
                    return (store.get(record, ftImage1).empty() ? 0u : 1u) + linesOf(store.get(record, ftDetails)).size();
                };
                s.one().set(id, ftImage1, toLine ? u"" : bitmap);
                s.one().set(id, ftDetails, toLine ? png : u"");
                s.log().failOn(method, s.log().count(method) + n, E_FAIL);
                (void)s.sync();
                if (!s.log().failed()) break;
                ++calls;
                ASSERT_GE(pictures(s.one(), id), 1u);
                ASSERT_GE(pictures(s.two(), id2), 1u) << "details that could not be read may leave both until the next run";
                for (int run = 0; run < 2; ++run) ASSERT_EQ(s.sync(), S_OK);
                for (const auto& [store, record] : {std::pair(&s.one(), id), std::pair(&s.two(), id2)}) {
                    EXPECT_EQ(store->get(record, ftDetails), toLine ? png : std::u16string());
                    EXPECT_EQ(store->get(record, ftImage1).size(), toLine ? 0u : bitmap.size());
                }
            }
    EXPECT_GT(calls, 40);
}
