#include "dialogs/CFieldMappingDlg.h"
#include "host.h"
#include "registry.h"
#include "TransferFixture.h"
#include "translators/FieldMappingEditor.h"

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
    HRESULT editFields() { return transferer->ConfigureFieldMapping(5, com::Bstr(targetText()).get()); }
    void failConfigure()
    {
        scenario.two().options.errorMessage1 = u"It broke.";
        scenario.log().failOn("2 Initialize", scenario.log().count("2 Initialize") + 1, refused);
        EXPECT_EQ(configure(), refused);
        scenario.two().options.errorMessage1.clear();
    }
    void setImages(VARIANT_BOOL flag) { EXPECT_EQ(transferer->SetSyncImages(com::Bstr(targetText()).get(), flag), S_OK); }
};

TEST_F(ConfigureTest, TheTargetConfiguresItselfOnAMapThatIsCreatedIfNeeded)
{
    EXPECT_EQ(configure(), S_OK);
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2));
    EXPECT_THAT(scenario.log().starting("2 Initialize"), ElementsAre("2 Initialize reconfigure"));
    EXPECT_THAT(scenario.log().starting("1 Initialize"), IsEmpty());
    EXPECT_EQ(configure(), S_OK);
    EXPECT_THAT(listedMaps(), ElementsAre(fakeClass2));
}

TEST_F(ConfigureTest, ATargetThatWasReconfiguredIsASuccess)
{
    scenario.log().failOn("2 Initialize", 1, configured);
    EXPECT_EQ(configure(), S_OK);
}

TEST_F(ConfigureTest, AFailureIsReturnedAndItsTextsCanBeReadOnce)
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

TEST_F(ConfigureTest, MissingLotusNotesIsReportedAndCreatesNoMap)
{
    EXPECT_EQ(configure(com::guidText(notes)), E_FAIL);
    const LastError error = takeError();
    EXPECT_EQ(error.code.vt, VT_EMPTY);
    EXPECT_EQ(error.message1, u"Lotus Notes has not been installed on your computer.");
    EXPECT_THAT(listedMaps(), IsEmpty());
}

TEST_F(ConfigureTest, AMissingProgramReplacesAFormerFailure)
{
    scenario.two().options.errorCode = 3;
    scenario.two().options.errorMessage2 = u"Make one.";
    failConfigure();
    EXPECT_EQ(configure(com::guidText(notes)), E_FAIL);
    const LastError error = takeError();
    EXPECT_EQ(error.code.vt, VT_EMPTY);
    EXPECT_EQ(error.message2, u"");
}

TEST_F(ConfigureTest, MissingGoldMineIsReportedForAllFourOfItsTranslators)
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

// Replaces the field mapping dialog.
struct EditorFake {
    EditorFake()
    {
        answer = S_OK;
        edited.clear();
        mb::SetFieldMappingEditor([](HWND parent, REFGUID map, bool setFlagForHistory) {
            edited.push_back({parent, map, setFlagForHistory});
            return answer;
        });
    }
    EditorFake(const EditorFake&) = delete;
    EditorFake& operator=(const EditorFake&) = delete;
    ~EditorFake() { mb::SetFieldMappingEditor(mb::EditFieldMapping); }
    struct Edit {
        HWND parent;
        GUID map;
        bool setFlagForHistory;
    };
    static inline std::vector<Edit> edited;
    static inline HRESULT answer = S_OK;
};

TEST_F(ConfigureTest, TheFieldMapOfTheHiddenMapIsEditedAndItsHistoryIsMarked)
{
    EditorFake editor;
    EXPECT_EQ(editFields(), S_OK);
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2)) << "the map is created if needed";
    ASSERT_EQ(editor.edited.size(), 1u);
    EXPECT_EQ(editor.edited[0].map, fakeClass2);
    EXPECT_TRUE(editor.edited[0].setFlagForHistory);
    EXPECT_EQ(editor.edited[0].parent, reinterpret_cast<HWND>(std::intptr_t{5}));
}

TEST_F(ConfigureTest, AnUnchangedFieldMapIsASuccessAndAFailureOfItsDialogIsReturned)
{
    EditorFake editor;
    editor.answer = configured;
    EXPECT_EQ(editFields(), S_OK);
    editor.answer = S_FALSE;
    EXPECT_TRUE(SUCCEEDED(editFields()));
    editor.answer = refused;
    EXPECT_EQ(editFields(), refused);
}

TEST_F(ConfigureTest, EveryCallButTheListingsForgetsTheFormerFailure)
{
    EditorFake editor;
    const com::Bstr guid(targetText());
    VARIANT_BOOL flag = VARIANT_FALSE;
    const std::function<HRESULT()> calls[] = {[&] { return configure(); }, [&] { return editFields(); },
                                              [&] { return transferer->GetSyncImages(guid.get(), &flag); },
                                              [&] { return transferer->SetSyncImages(guid.get(), VARIANT_TRUE); }};
    for (const auto& call : calls) {
        failConfigure();
        EXPECT_EQ(call(), S_OK);
        EXPECT_EQ(takeError().message1, u"");
    }
    failConfigure();
    SAFEARRAY* arrays[4]{};
    EXPECT_EQ(transferer->GetTranslators(&arrays[0], &arrays[1], &arrays[2], &arrays[3]), S_OK);
    for (SAFEARRAY* array : arrays) EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    EXPECT_EQ(takeError().message1, u"It broke.");
}

TEST_F(ConfigureTest, OnlyWithoutTheNotesTranslatorIsItsFolderAddedToTheSearchPath)
{
    setRegistryText(u"Software\\Microsoft\\Windows\\CurrentVersion\\App Paths\\notes.exe", u"", u"/opt/notes/notes.exe");
    const std::u16string path = platform::environment(u"PATH").value_or(u"");
    transferer = scenario.create<ISyncTransfer>(__uuidof(SyncTransfer));
    EXPECT_EQ(platform::environment(u"PATH"), path + platform::searchPathSeparator + u"/opt/notes");
    platform::setEnvironment(u"PATH", path);
    const RegisteredFake there(notes, {"3", std::make_shared<FakeStore>(u"n"), std::make_shared<CallLog>()});
    transferer = scenario.create<ISyncTransfer>(__uuidof(SyncTransfer));
    EXPECT_EQ(platform::environment(u"PATH"), path);
}

class NotesTest : public ConfigureTest {
protected:
    NotesTest() : ConfigureTest(notes) {}
};

TEST_F(NotesTest, LotusNotesThatCanBeCreatedMayBeConfigured) { EXPECT_EQ(configure(), S_OK); }

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

TEST_F(SecondActTest, TheSecondActTranslatorThatCanBeCreatedMayBeConfigured) { EXPECT_EQ(configure(), S_OK); }

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

TEST_F(ActTest, AMatcherThatFindsNoProductFails)
{
    scenario.two().options.matcher = true;
    scenario.log().failOn("2 MatchInstalledProduct", 1, noProduct);
    EXPECT_EQ(configure(), E_FAIL) << "whatever the match flag";
    scenario.log().failOn("2 MatchInstalledProduct", 2, refused);
    EXPECT_EQ(configure(), S_OK) << "after any other failure the match flag counts";
    scenario.two().options.matches = false;
    scenario.log().failOn("2 MatchInstalledProduct", 3, refused);
    EXPECT_EQ(configure(), E_FAIL);
}

TEST_F(ConfigureTest, ImagesAreTransferredByDefaultAndReadingTheOptionCreatesNoMap)
{
    EXPECT_EQ(images(), VARIANT_TRUE);
    EXPECT_THAT(listedMaps(), IsEmpty());
    setImages(VARIANT_FALSE);
    EXPECT_EQ(images(), VARIANT_FALSE);
    EXPECT_EQ(translatorsOf(fakeClass2), std::pair(hostClass, fakeClass2)) << "setting the option creates the map";
    setImages(VARIANT_TRUE);
    EXPECT_EQ(images(), VARIANT_TRUE);
}

TEST_F(ConfigureTest, SettingImagesToANewValueRaisesTheMarkWhichStaysRaised)
{
    setImages(VARIANT_TRUE);
    EXPECT_FALSE(option(soSyncImageOptionChanged)) << "images were already transferred";
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
