#include "registry.h"
#include "TransferFixture.h"

#include <fstream>

namespace {

using namespace mbtest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr GUID act{0x3485B3B6, 0x4564, 0x4A6E, {0xBE, 0xB0, 0xFC, 0xD5, 0x19, 0xDD, 0x95, 0x73}},
    secondAct{0xE86144D5, 0x4DE7, 0x4B84, {0x92, 0x3D, 0xDF, 0x78, 0xE8, 0xB6, 0xA2, 0x3C}},
    notes{0x297D3C58, 0x569B, 0x4F38, {0xAC, 0x59, 0xD4, 0xE2, 0x78, 0xD5, 0x47, 0x79}};
constexpr HRESULT configured = static_cast<HRESULT>(0x80040212), refused = static_cast<HRESULT>(0x80040202),
                  noProduct = static_cast<HRESULT>(0x80040201);
constexpr char16_t actMissing[] = u"ACT! 2005 to 2008 has not been installed on your computer.";

class ConfigureTest : public TransferTest {
protected:
    using TransferTest::TransferTest;
    HRESULT configure(std::u16string_view target) { return transferer->ConfigureTranslator(0, com::Bstr(target).get()); }
    HRESULT configure() { return configure(targetText()); }
    VARIANT_BOOL images()
    {
        VARIANT_BOOL flag = 5;
        EXPECT_EQ(transferer->GetSyncImages(com::Bstr(targetText()).get(), &flag), S_OK);
        return flag;
    }
    void setImages(VARIANT_BOOL flag) { EXPECT_EQ(transferer->SetSyncImages(com::Bstr(targetText()).get(), flag), S_OK); }
};

TEST_F(ConfigureTest, TheTargetConfiguresItselfOnAMapThatIsMadeIfNeeded)
{
    EXPECT_EQ(configure(), S_OK);
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2));
    EXPECT_THAT(scenario.log().starting("2 Initialize"), ElementsAre("2 Initialize reconfigure"));
    EXPECT_THAT(scenario.log().starting("1 Initialize"), IsEmpty());
    EXPECT_EQ(configure(), S_OK);
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2));
}

TEST_F(ConfigureTest, ATargetThatWasConfiguredAnewIsASuccess)
{
    scenario.log().failOn("2 Initialize", 1, configured);
    EXPECT_EQ(configure(), S_OK);
}

TEST_F(ConfigureTest, AFailureIsReturnedAndItsTextsMovedOut)
{
    scenario.two().options.errorCode = 3;
    scenario.two().options.errorMessage1 = u"No database.";
    scenario.two().options.errorMessage2 = u"Make one.";
    scenario.log().failOn("2 Initialize", 1, refused);
    EXPECT_EQ(configure(), refused);
    const LastError error = takeError();
    EXPECT_EQ(error.code.lVal, 3);
    EXPECT_EQ(error.message1, u"No database.");
    EXPECT_EQ(error.message2, u"Make one.");
    EXPECT_EQ(takeError().code.vt, VT_EMPTY);
}

TEST_F(ConfigureTest, LotusNotesThatIsNotThereIsNamedAndMakesNoMap)
{
    EXPECT_EQ(configure(com::guidText(notes)), E_FAIL);
    const LastError error = takeError();
    EXPECT_EQ(error.code.vt, VT_EMPTY);
    EXPECT_EQ(error.message1, u"Lotus Notes has not been installed on your computer.");
    EXPECT_THAT(listedMaps(), IsEmpty());
}

TEST_F(ConfigureTest, GoldMineThatIsNotThereIsNamedForAllFourOfIts)
{
    for (const char16_t* target : {u"{75391971-8D5D-4C27-9759-3A6C5EC9ABB6}", u"{2C0C63AE-10AA-4867-92A5-657DBB182E97}",
                                   u"{4F275941-3608-45D0-96DE-534BC61D1CA1}", u"{5C06CD02-1F21-46BC-AC38-63A9B0B73569}"}) {
        EXPECT_EQ(configure(target), E_FAIL);
        EXPECT_EQ(takeError().message1, u"GoldMine has not been installed on your computer.");
    }
}

TEST_F(ConfigureTest, TheSecondActTranslatorMustBeThere)
{
    EXPECT_EQ(configure(com::guidText(secondAct)), E_FAIL);
    EXPECT_EQ(takeError().message1, actMissing);
}

TEST_F(ConfigureTest, TheActTranslatorMustBeThere)
{
    EXPECT_EQ(configure(com::guidText(act)), E_FAIL);
    EXPECT_EQ(takeError().message1, actMissing);
}

class NotesTest : public ConfigureTest {
protected:
    NotesTest() : ConfigureTest(notes) {}
};

TEST_F(NotesTest, LotusNotesThatCanBeMadeMayBeConfigured) { EXPECT_EQ(configure(), S_OK); }

class GoldMineTest : public ConfigureTest {
protected:
    GoldMineTest() : ConfigureTest({0x2C0C63AE, 0x10AA, 0x4867, {0x92, 0xA5, 0x65, 0x7D, 0xBB, 0x18, 0x2E, 0x97}}) {}
};

TEST_F(GoldMineTest, GoldMineWhoseProgramIsFoundMayBeConfigured)
{
    const auto program = scenario.folder.path() / "gmw6.exe";
    std::ofstream(program) << "program";
    setRegistryText(u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\gmw6.exe", u"", program.u16string());
    EXPECT_EQ(configure(), S_OK);
}

class SecondActTest : public ConfigureTest {
protected:
    SecondActTest() : ConfigureTest(secondAct) {}
};

TEST_F(SecondActTest, TheSecondActTranslatorThatCanBeMadeMayBeConfigured) { EXPECT_EQ(configure(), S_OK); }

class ActTest : public ConfigureTest {
protected:
    ActTest() : ConfigureTest(act) {}
};

TEST_F(ActTest, AProductThatMatchesMayBeConfigured)
{
    scenario.two().options.matcher = true;
    EXPECT_EQ(configure(), S_OK);
}

TEST_F(ActTest, ATranslatorThatCannotTellItsProductFailsWithoutAText)
{
    EXPECT_EQ(configure(), E_FAIL);
    EXPECT_EQ(takeError().message1, u"");
}

TEST_F(ActTest, AProductThatDoesNotMatchIsReportedByTheTranslatorsFirstMessageOrItsSecond)
{
    scenario.two().options.matcher = true;
    scenario.two().options.matches = false;
    scenario.two().options.errorMessage2 = u"Second.";
    EXPECT_EQ(configure(), E_FAIL);
    EXPECT_EQ(takeError().message1, u"Second.");
    scenario.two().options.errorMessage1 = u"First.";
    EXPECT_EQ(configure(), E_FAIL);
    const LastError error = takeError();
    EXPECT_EQ(error.message1, u"First.");
    EXPECT_EQ(error.message2, u"");
    scenario.two().options.errorMessage1 = scenario.two().options.errorMessage2 = u"";
    EXPECT_EQ(configure(), E_FAIL);
    EXPECT_EQ(takeError().message1, u"");
}

TEST_F(ActTest, AMatcherThatKnowsNoProductFails)
{
    scenario.two().options.matcher = true;
    scenario.log().failOn("2 MatchInstalledProduct", 1, noProduct);
    EXPECT_EQ(configure(), E_FAIL);
}

TEST_F(ConfigureTest, ImagesAreTakenAlongUntilSomeoneSaysOtherwiseAndAskingMakesNoMap)
{
    EXPECT_EQ(images(), VARIANT_TRUE);
    EXPECT_THAT(listedMaps(), IsEmpty());
    setImages(VARIANT_FALSE);
    EXPECT_EQ(images(), VARIANT_FALSE);
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2)) << "setting makes it";
    setImages(VARIANT_TRUE);
    EXPECT_EQ(images(), VARIANT_TRUE);
}

TEST_F(ConfigureTest, SettingImagesToANewValueRaisesTheMarkWhichStaysRaised)
{
    setImages(VARIANT_TRUE);
    EXPECT_FALSE(option(soSyncImageOptionChanged)) << "they were taken along before";
    setImages(VARIANT_FALSE);
    EXPECT_EQ(option(soSyncImageOptionChanged), VARIANT_TRUE);
    setImages(VARIANT_FALSE);
    setImages(VARIANT_TRUE);
    EXPECT_EQ(option(soSyncImageOptionChanged), VARIANT_TRUE);
    EXPECT_EQ(option(soSyncImages), VARIANT_TRUE);
}

TEST_F(ConfigureTest, ATargetThatIsNotRegisteredFailsAndTheImageMethodsStayQuiet)
{
    const std::u16string unknown = u"{FA4E0009-9999-4999-8999-999999999999}";
    EXPECT_TRUE(FAILED(configure(unknown)));
    EXPECT_EQ(transferer->SetSyncImages(com::Bstr(unknown).get(), VARIANT_FALSE), S_OK);
}

} // namespace
