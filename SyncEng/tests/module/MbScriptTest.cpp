// mb run and mb history as a user of Windows runs them: the Script Control, the system's registry, and real stores.
#include "com.h"

#include "MbFixture.h"

using namespace mbtest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

constexpr wchar_t settings[] = L"Software\\Zorel\\MBSyncEng", enableDecrypt[] = L"EnableDecrypt";

class MbScript : public MbTest {
protected:
    MbScript() { EXPECT_EQ(registerLibrary(NOTEBOOK_PLUGIN), 0u); }
    ~MbScript() override
    {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, settings, enableDecrypt);
        EXPECT_EQ(unregisterLibrary(NOTEBOOK_PLUGIN), 0u);
    }
    Ended tellStory() const
    {
        const fs::path story = fs::path(EXAMPLES_FOLDER) / "first-sync.vbs";
        return mb({L"run", story.native(), L"--store", L"Notebook=" + notes.native(), L"--store", L"vCard=" + cards.native()});
    }
    Ended runScript(const std::string& text) const
    {
        putText(script, text);
        return mb({L"run", script.native()});
    }
    // Creates a map, runs it once, and returns its identifier.
    std::wstring makeMap() const
    {
        putCard(cards, "Ada", "Lovelace");
        const std::wstring map = addMap(L"Notebook=" + notes.native(), L"vCard=" + cards.native());
        const Ended ran = mb({L"sync", L"--silent"});
        EXPECT_EQ(ran.code, 0u) << ran.output;
        return map;
    }

    const fs::path& cards = two;
    fs::path notes = installation.folder() / "notes.txt";
    fs::path script = installation.folder() / "script.vbs";
};

} // namespace

TEST_F(MbScript, TheFirstSyncExampleIsGreenWithRealStores)
{
    const Ended told = tellStory();
    EXPECT_EQ(told.code, 0u) << told.output;
    EXPECT_EQ(told.output, "");
    EXPECT_EQ(std::distance(fs::directory_iterator(cards), {}), 0) << "the example removes its contacts";
    EXPECT_EQ(textOf(notes), "Notebook 1\n") << "the notebook was created and is empty again";
    EXPECT_THAT(mb({L"maps", L"--json"}).output, StartsWith("[]"));
}

TEST_F(MbScript, TheFirstSyncExampleKeepsTheUsersContacts)
{
    putCard(cards, "Own", "Person");
    const Ended told = tellStory();
    EXPECT_EQ(told.code, 1u);
    EXPECT_THAT(told.output, HasSubstr("This example wants two empty stores."));
    EXPECT_TRUE(fs::exists(cards / "Own Person.vcf"));
}

TEST_F(MbScript, AFailingScriptIsReportedInOneSentenceWithFileAndLine)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Sub Main()\r\n  Err.Raise vbObjectError + 1, \"\", \"no luck\"\r\nEnd Sub", ":2: no luck\n"},
        {"Sub Main(\r\n", ":1: Microsoft VBScript compilation error\n"},
        {"", ": The script has no procedure Main.\n"}};
    for (const auto& [text, message] : cases) {
        const Ended ended = runScript(text);
        EXPECT_EQ(ended.code, 1u) << text;
        EXPECT_EQ(ended.output, "mb: " + script.string() + message);
    }
    const Ended absent = mb({L"run", L"absent.vbs"});
    EXPECT_EQ(absent.code, 1u);
    EXPECT_THAT(absent.output, HasSubstr("absent.vbs"));
}

TEST_F(MbScript, AScriptGetsItsArgumentsAndItsResultIsTheExitCode)
{
    putText(script, "Function Main()\r\n  If Arguments(1) <> \"two \"\"words\"\"\" Then Err.Raise vbObjectError + 1, \"\", Arguments(1)\r\n"
                    "  Main = CLng(Arguments(0)) + UBound(Arguments)\r\nEnd Function");
    const Ended seven = mb({L"run", script.native(), L"--", L"6", L"two \\\"words\\\""});
    EXPECT_EQ(seven.code, 7u) << seven.output;
    EXPECT_EQ(seven.output, "");
    EXPECT_EQ(mb({L"run", script.native(), L"--", L"-1", L"two \\\"words\\\""}).code, 0u);
    EXPECT_EQ(runScript("Function Main()\r\n  Main = UBound(Arguments) + 1\r\nEnd Function").code, 0u) << "no arguments are given";
}

TEST_F(MbScript, AScriptCanUseBothStoresOfAUsersMap)
{
    const std::wstring map = addMap();
    putText(script,
            "Const firstName = 2\r\nSub Main()\r\n  Dim test, side, store, id\r\n  Set test = CreateObject(\"MBSync.SyncAutoTest.1\")\r\n"
            "  For side = 1 To 2\r\n    test.BeginUpdate Arguments(0), side, store\r\n    test.AddRecord store, id\r\n"
            "    test.WriteField store, id, firstName, \"Side\" & side\r\n    test.SaveRecord store, id\r\n"
            "    test.EndUpdate store, False\r\n  Next\r\nEnd Sub");
    const Ended ended = mb({L"run", script.native(), L"--", map});
    EXPECT_EQ(ended.code, 0u) << ended.output;
    EXPECT_FALSE(cardWith(one, "Side1").empty());
    EXPECT_FALSE(cardWith(two, "Side2").empty());
}

TEST_F(MbScript, AHistoryIsDecodedOnlyIfTheUserAllowsIt)
{
    const std::wstring map = makeMap();
    const fs::path decoded = installation.folder() / "out.xml";
    const Ended refused = mb({L"history", map, L"--decoded", decoded.native()});
    EXPECT_EQ(refused.code, 1u);
    EXPECT_THAT(refused.output, EndsWith("set the DWORD value EnableDecrypt to 1 under HKEY_CURRENT_USER\\Software\\Zorel\\MBSyncEng.\n"));
    EXPECT_FALSE(fs::exists(decoded));

    const DWORD yes = 1;
    ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, settings, enableDecrypt, REG_DWORD, &yes, sizeof yes), ERROR_SUCCESS);
    const Ended written = mb({L"history", map, L"--decoded", decoded.native()});
    EXPECT_EQ(written.code, 0u) << written.output;
    EXPECT_THAT(textOf(decoded), HasSubstr("Lovelace"));
    EXPECT_THAT(textOf(installation.data() / (map + L".xml")), testing::Not(HasSubstr("Lovelace"))) << "the history itself is encoded";

    const Ended nowhere = mb({L"history", map, L"--decoded", (installation.folder() / "absent" / "out.xml").native()});
    EXPECT_EQ(nowhere.code, 1u);
    EXPECT_THAT(nowhere.output, HasSubstr("out.xml"));
}
