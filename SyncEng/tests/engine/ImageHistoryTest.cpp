// Pictures that did not change: what the history holds of them after a match, and whether a transfer sends them after a new field map.
#include "People.h"
#include "SyncScenario.h"
#include "TestImages.h"

#include <gmock/gmock.h>

namespace {

using mbtest::FakeValues;
using mbtest::makePicture;
using mbtest::person;
using mbtest::SyncScenario;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr GUID host{0xC8679015, 0x906F, 0x4A0A, {0x87, 0x77, 0xFA, 0xD9, 0x45, 0xB2, 0xDD, 0xB6}};

const std::u16string picture = makePicture(20, 10);

} // namespace

TEST(ImageHistory, OfAMatchTheTargetIsRememberedToHoldThePicturesOfTheSource)
{
    for (const bool onSource : {true, false}) {
        SCOPED_TRACE(onSource ? "the source has a picture" : "the target has a picture");
        SyncScenario s;
        s.one().addImageFields();
        s.two().addImageFields();
        s.two().options.duplicates = true;
        FakeValues contact = person(u"Ada", u"Lovelace"), withPicture = contact;
        withPicture[ftImage1] = picture;
        const auto ada = s.one().add(onSource ? withPicture : contact), ada2 = s.two().add(onSource ? contact : withPicture);
        s.two().options.duplicateOf[ada] = ada2;
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.writes(), ElementsAre("2 BeginEditRecord B000001", "2 SaveRecord B000001")) << "a match writes no field";
        const char16_t* flag = onSource ? u"1" : u"0";
        EXPECT_EQ(s.remembered(idTrans1, ada, ftImage1), flag);
        EXPECT_EQ(s.remembered(idTrans2, ada2, ftImage1), flag);
    }
}

TEST(ImageHistory, AfterANewFieldMapATransferSendsAlsoThePicturesThatDidNotChange)
{
    SyncScenario s(host);
    s.one().addImageFields();
    s.two().addImageFields();
    s.one().options.makeId = [](int) { return u"card"; };
    s.one().add({{ftLastName, u"Lovelace"}, {ftImage2, picture}});
    const auto transfer = [&] {
        s.log().clear();
        SAFEARRAY* cards = com::makeTextArray(std::vector<std::u16string>{u"card"});
        const com::Bstr target(com::guidText(mbtest::fakeClass2)), none(u"");
        const auto synchronizer = s.create<ISynchronizer>(__uuidof(Synchronizer));
        EXPECT_EQ(synchronizer->Initialize(nullptr, VARIANT_FALSE), S_OK);
        EXPECT_EQ(synchronizer->Transfer(target.get(), none.get(), none.get(), cards, VARIANT_FALSE), S_OK);
        EXPECT_EQ(SafeArrayDestroy(cards), S_OK);
    };
    transfer();
    transfer();
    EXPECT_THAT(s.writes(), IsEmpty());
    const com::Bstr cards(u"Trans1store of astore of b"); // the known cards of this pair of databases
    ASSERT_EQ(s.maps()->SetFieldMapStatusForHistRecs(mbtest::fakeClass2, cards.get(), VARIANT_TRUE), S_OK);
    s.two().records.at(u"B000001").values[ftImage2].clear();
    transfer();
    EXPECT_THAT(s.log().starting("2 WriteField"), Contains("2 WriteField B000001 Back image=image"));
    EXPECT_THAT(s.log().starting("2 WriteField"), Not(Contains(HasSubstr("Front image")))) << "there is none";
    EXPECT_EQ(s.two().get(u"B000001", ftImage2), picture);
}

TEST(ImageHistory, APictureThatCannotBeReadDoesNotReplaceTheOneOfTheOtherSide)
{
    SyncScenario s;
    s.one().addImageFields(capBMPFile);
    s.two().addImageFields();
    s.one().options.imageFolder = s.folder.path() / "one";
    std::filesystem::create_directory(s.one().options.imageFolder);
    const auto file = s.folder.path() / "own.bmp";
    mbtest::writeBmp(file, 20, 10);
    FakeValues contact = person(u"Ada", u"Lovelace");
    contact[ftImage1] = file.u16string();
    const auto ada = s.one().add(contact);
    EXPECT_EQ(s.sync(), S_OK);
    const auto ada2 = s.two().order.back();
    const std::u16string before = s.two().get(ada2, ftImage1);
    EXPECT_NE(before, u"");
    mbtest::writeBytes(file, "no picture");
    s.one().touch(ada);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_EQ(s.two().get(ada2, ftImage1), before);
}
