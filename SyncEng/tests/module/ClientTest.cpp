// A complete run by a host in another process, from CoCreateInstance to the end of the process.
#include "com.h"

#include "Installation.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>

using namespace mbtest;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

class Client : public testing::Test {
protected:
    Client()
    {
        fs::create_directories(one);
        fs::create_directories(two);
    }
    static void put(const fs::path& file, const std::string& name)
    {
        std::ofstream(file, std::ios::binary) << "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" << name << ";Test;;;\r\nFN:Test " << name
                                              << "\r\nTEL;TYPE=WORK:+1 555 0100\r\nEND:VCARD\r\n";
    }
    static std::string read(const fs::path& file)
    {
        std::ifstream in(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    static std::string cards(const fs::path& folder)
    {
        std::string all;
        for (const auto& entry : fs::directory_iterator(folder)) all += read(entry.path());
        return all;
    }
    Ended run() const { return runProgram(CLIENT_PROGRAM, {one.native(), two.native()}); }
    Installation installation;
    const fs::path one = installation.folder() / "one", two = installation.folder() / "two";
};

// Registers the host's install path while this object lives. Former versions kept their data beside that path.
class InstallPath {
public:
    explicit InstallPath(const std::wstring& folder)
    {
        const auto size = static_cast<DWORD>((folder.size() + 1) * sizeof(wchar_t));
        EXPECT_EQ(RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, L"InstallPath", REG_SZ, folder.c_str(), size), ERROR_SUCCESS);
    }
    InstallPath(const InstallPath&) = delete;
    InstallPath& operator=(const InstallPath&) = delete;
    ~InstallPath() { RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, key, L"InstallPath"); }

private:
    static constexpr const wchar_t* key = L"Software\\Zorel\\MBSyncEng";
};

} // namespace

TEST_F(Client, SyncsTwoFoldersAndReceivesTheProgress)
{
    put(one / "a.vcf", "Lovelace");
    put(one / "b.vcf", "Hopper");
    put(two / "c.vcf", "Noether");
    const Ended ended = run();
    EXPECT_EQ(ended.code, 0u) << ended.output;
    EXPECT_THAT(ended.output, HasSubstr("label "));
    EXPECT_THAT(ended.output, HasSubstr("progress "));
    EXPECT_THAT(ended.output, HasSubstr("result 00000000 after"));
    for (const auto& folder : {one, two})
        for (const char* name : {"FN:Test Lovelace", "FN:Test Hopper", "FN:Test Noether"}) EXPECT_THAT(cards(folder), HasSubstr(name));
}

TEST_F(Client, LeavesACompleteLogAndItsConfigurationWhenItsProcessEnds)
{
    put(one / "a.vcf", "Lovelace");
    ASSERT_EQ(run().code, 0u);
    const std::string log = read(installation.data() / "MBSync.log");
    EXPECT_THAT(log, HasSubstr("Logging started at "));
    EXPECT_THAT(log, HasSubstr("CREATED in vCard"));
    EXPECT_THAT(log, HasSubstr("Logging stopped at "));
    EXPECT_THAT(read(installation.data() / "MBSync.xml"), HasSubstr("<ST>TrMap</ST>"));
}

TEST_F(Client, AMissingFolderIsAFailureWithALogLineAndNoCrash)
{
    fs::remove(two);
    const Ended ended = run();
    EXPECT_EQ(ended.code, 1u) << ended.output;
    EXPECT_THAT(ended.output, HasSubstr("result 80040202 "));
    EXPECT_THAT(read(installation.data() / "MBSync.log"), HasSubstr("two"));
}

TEST_F(Client, WithoutADataFolderEveryCallFailsAndNothingCrashes)
{
    put(one / "a.vcf", "Lovelace");
    std::ofstream(installation.folder() / "Zorel") << "a file is in the way";
    std::ofstream(installation.folder() / "MBSync") << "and one at the place of former versions";
    const InstallPath installPath(installation.folder().native());
    const Ended ended = run();
    EXPECT_EQ(ended.code, 1u) << ended.output;
    EXPECT_THAT(ended.output, HasSubstr("result 80"));
    EXPECT_EQ(cards(two), "");
}

TEST_F(Client, AReadOnlyConfigurationIsLoggedAsAFailureAndNotChanged)
{
    put(one / "a.vcf", "Lovelace");
    ASSERT_EQ(run().code, 0u);
    const fs::path file = installation.data() / "MBSync.xml";
    const std::string before = read(file);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    const Ended ended = run();
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(ended.code, 1u) << ended.output;
    EXPECT_THAT(ended.output, HasSubstr("result 80"));
    EXPECT_EQ(read(file), before);
}
