// mb as a user of Windows runs it: registered plug-ins, a map, a run, and failures reported in one sentence.
#include "MbFixture.h"

using namespace mbtest;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class MbProgram : public MbTest {
protected:
    static std::string cards(const fs::path& folder)
    {
        std::string all;
        for (const auto& entry : fs::directory_iterator(folder)) all += textOf(entry.path());
        return all;
    }
};

} // namespace

TEST_F(MbProgram, SyncsTwoFolders)
{
    putCard(one, "Ada", "Lovelace");
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("vCard"));
    const std::wstring map = addMap();
    const Ended ended = mb({L"sync", L"--silent"});
    EXPECT_EQ(ended.code, 0u) << ended.output;
    EXPECT_THAT(cards(two), HasSubstr("FN:Ada Lovelace"));
    const Ended status = mb({L"status"});
    EXPECT_EQ(status.code, 0u);
    EXPECT_THAT(status.output, HasSubstr(std::string(map.begin() + 1, map.begin() + 9)));
}

TEST_F(MbProgram, ReportsAMissingFolderInOneSentence)
{
    (void)addMap();
    fs::remove(two);
    const Ended ended = mb({L"sync", L"--silent"});
    EXPECT_EQ(ended.code, 1u);
    EXPECT_THAT(ended.output, HasSubstr("zw\xC3\xB6lf")) << "the unchanged name, in UTF-8";
}

TEST_F(MbProgram, ReportsAFileThatIsNotAPlugin)
{
    putText(installation.folder() / "plain.dll", "no library");
    const Ended ended = mb({L"register", (installation.folder() / "plain.dll").native()});
    EXPECT_EQ(ended.code, 1u);
    EXPECT_THAT(ended.output, HasSubstr("mb: The file"));
    EXPECT_THAT(ended.output, HasSubstr("is not a plug-in: it cannot be loaded.\n"));
    EXPECT_TRUE(isOneSentence(ended.output));
}

TEST_F(MbProgram, RegistersAndUnregistersAPlugin)
{
    ASSERT_EQ(unregisterLibrary(VCARD_PLUGIN), 0u);
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("No plug-in is registered."));
    const Ended registered = mb({L"register", fs::path(VCARD_PLUGIN).native()});
    EXPECT_EQ(registered.code, 0u);
    EXPECT_THAT(registered.output, HasSubstr("registered vCard from "));
    EXPECT_EQ(mb({L"unregister", fs::path(VCARD_PLUGIN).native()}).code, 0u);
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("No plug-in is registered."));
}
