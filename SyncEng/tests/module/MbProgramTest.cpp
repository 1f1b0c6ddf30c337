// mb as a user of Windows runs it: registered plug-ins, a map, a run, and failures told in one sentence.
#include "Installation.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>

using namespace mbtest;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class MbProgram : public testing::Test {
protected:
    MbProgram()
    {
        fs::create_directories(one);
        fs::create_directories(two);
    }
    static Ended mb(const std::vector<std::wstring>& arguments) { return runProgram(MB_PROGRAM, arguments); }
    Ended addMap() const { return mb({L"add", L"vCard=" + one.native(), L"vCard=" + two.native()}); }
    static std::string cards(const fs::path& folder)
    {
        std::string all;
        for (const auto& entry : fs::directory_iterator(folder)) {
            std::ifstream in(entry.path(), std::ios::binary);
            all.append(std::istreambuf_iterator<char>(in), {});
        }
        return all;
    }
    static std::ptrdiff_t lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }
    Installation installation;
    const fs::path one = installation.folder() / L"one", two = installation.folder() / L"zw\u00F6lf";
};

} // namespace

TEST_F(MbProgram, BringsTwoFoldersIntoStep)
{
    std::ofstream(one / "a.vcf", std::ios::binary) << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:Lovelace;Ada;;;\r\nFN:Ada Lovelace\r\nEND:VCARD\r\n";
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("vCard"));
    const Ended added = addMap();
    ASSERT_EQ(added.code, 0u) << added.output;
    const Ended ended = mb({L"sync", L"--silent"});
    EXPECT_EQ(ended.code, 0u) << ended.output;
    EXPECT_THAT(cards(two), HasSubstr("FN:Ada Lovelace"));
    const Ended status = mb({L"status"});
    EXPECT_EQ(status.code, 0u);
    EXPECT_THAT(status.output, HasSubstr(added.output.substr(1, 8)));
}

TEST_F(MbProgram, TellsOfAMissingFolderInOneSentence)
{
    ASSERT_EQ(addMap().code, 0u);
    fs::remove(two);
    const Ended ended = mb({L"sync", L"--silent"});
    EXPECT_EQ(ended.code, 1u);
    EXPECT_THAT(ended.output, HasSubstr("zw\xC3\xB6lf")) << "the name as it is, in UTF-8";
}

TEST_F(MbProgram, TellsOfAFileThatIsNoPlugin)
{
    std::ofstream(installation.folder() / "plain.dll") << "no library";
    const Ended ended = mb({L"register", (installation.folder() / "plain.dll").native()});
    EXPECT_EQ(ended.code, 1u);
    EXPECT_THAT(ended.output, HasSubstr("mb: The file"));
    EXPECT_THAT(ended.output, HasSubstr("is no plug-in: it cannot be loaded.\n"));
    EXPECT_EQ(lines(ended.output), 1);
}

TEST_F(MbProgram, RegistersAPluginAndTakesItBack)
{
    ASSERT_EQ(unregisterLibrary(VCARD_PLUGIN), 0u);
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("No plug-in is registered."));
    const Ended registered = mb({L"register", fs::path(VCARD_PLUGIN).native()});
    EXPECT_EQ(registered.code, 0u);
    EXPECT_THAT(registered.output, HasSubstr("registered vCard from "));
    EXPECT_EQ(mb({L"unregister", fs::path(VCARD_PLUGIN).native()}).code, 0u);
    EXPECT_THAT(mb({L"translators"}).output, HasSubstr("No plug-in is registered."));
}
