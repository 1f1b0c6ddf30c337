// The registry file: unexpected contents, and two processes that write at the same time.
#include "registry.h"

#include "com.h"
#include "TestFolder.h"
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::RegistryKey;
using platform::Root;

namespace {

std::string utf16Text(std::u16string_view text, bool little)
{
    std::string bytes;
    for (const char16_t c : std::u16string(u"\uFEFF") + std::u16string(text)) {
        const char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
        bytes += little ? std::string{low, high} : std::string{high, low};
    }
    return bytes;
}

class RegistryFile : public testing::Test {
protected:
    [[nodiscard]] std::filesystem::path file() const { return folder.path() / "registry.reg"; }
    // No key is found, none is written, and the failure text names the file.
    void expectUnreadable(const std::string& reason)
    {
        EXPECT_FALSE(RegistryKey::open(Root::CurrentUser, u"A"));
        EXPECT_FALSE(platform::createKeyPath(Root::CurrentUser, u"Software\\New"));
        EXPECT_FALSE(RegistryKey::remove(Root::CurrentUser, u"A"));
        EXPECT_NE(platform::registryFailure().find("\"" + file().string() + "\" cannot be read: " + reason), std::string::npos)
            << platform::registryFailure();
    }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(RegistryFile, ABadLineDoesNotAffectOtherLines)
{
    folder.write("registry.reg", "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"x\"=dword:zz\r\n"
                                 "\"unclosed=\"\r\n=\r\n\"n\"=dword:0000000f\r\n");
    const auto key = RegistryKey::open(Root::CurrentUser, u"A");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->number(u"n"), 15u);
    EXPECT_FALSE(key->number(u"x"));
}

TEST_F(RegistryFile, AMissingFileIsNoFailure)
{
    EXPECT_EQ(platform::registryFailure(), "");
    EXPECT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Software\\New"));
    EXPECT_EQ(platform::registryFailure(), "");
}

TEST_F(RegistryFile, Utf16WithAByteOrderMarkIsReadAndItsKeysSurviveAWrite)
{
    const std::u16string text =
        u"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"x\"=\"\u00E4\u4E2D\U0001F600\"\r\n";
    for (const bool little : {true, false}) {
        folder.write("registry.reg", utf16Text(text, little));
        EXPECT_EQ(platform::registryFailure(), "");
        ASSERT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Software\\New"));
        const auto key = RegistryKey::open(Root::CurrentUser, u"A");
        ASSERT_TRUE(key);
        EXPECT_EQ(key->text(u"x"), u"\u00E4\u4E2D\U0001F600");
        EXPECT_TRUE(RegistryKey::open(Root::CurrentUser, u"Software\\New"));
    }
}

TEST_F(RegistryFile, AUtf8ByteOrderMarkIsSkipped)
{
    folder.write("registry.reg", "\xEF\xBB\xBF[HKEY_CURRENT_USER\\A]\r\n\"n\"=dword:1\r\n");
    const auto key = RegistryKey::open(Root::CurrentUser, u"A");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->number(u"n"), 1u);
}

TEST_F(RegistryFile, AFileThatIsNotTextIsReportedAndNotChanged)
{
    const std::string half = utf16Text(u"[HKEY_CURRENT_USER\\A]", true);
    for (const std::string& bytes : {half.substr(0, half.size() - 1), half + std::string("\x00\xD8", 2), half.substr(2)}) {
        folder.write("registry.reg", bytes);
        expectUnreadable("it ");
        EXPECT_EQ(folder.read(file()), bytes);
    }
}

TEST_F(RegistryFile, AFileThatCannotBeReadIsReportedAndNotChanged)
{
    ASSERT_TRUE(RegistryKey::create(Root::CurrentUser, u"A"));
    const std::string before = folder.read(file());
    namespace fs = std::filesystem;
    fs::permissions(folder.path(), fs::perms::all);
    fs::remove(file().string() + ".lock");
    fs::permissions(file(), fs::perms::none);
    const pid_t child = fork();
    if (child == 0) {
        const bool plain = geteuid() != 0 || seteuid(65534) == 0;
        if (plain) expectUnreadable("Permission denied");
        _exit(plain && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    fs::permissions(file(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(folder.read(file()), before);
    fs::remove(file());
    fs::create_directory(file());
    expectUnreadable("Is a directory");
}

TEST_F(RegistryFile, KeepsItsPermissionsAndALinkToIt)
{
    namespace fs = std::filesystem;
    ASSERT_TRUE(RegistryKey::create(Root::CurrentUser, u"A"));
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0600));
    fs::create_directory(folder.path() / "dotfiles");
    fs::rename(file(), folder.path() / "dotfiles/real.reg");
    fs::create_symlink("dotfiles/real.reg", file());
    fs::permissions(file(), fs::perms(0640));
    ASSERT_TRUE(RegistryKey::create(Root::CurrentUser, u"B"));
    EXPECT_TRUE(fs::is_symlink(file()));
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0640));
    EXPECT_NE(folder.read(folder.path() / "dotfiles/real.reg").find("\\B]"), std::string::npos);
}

TEST_F(RegistryFile, TwoProcessesWritingAtTheSameTimeLoseNothing)
{
    ASSERT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Race\\Key"));
    constexpr std::uint32_t kWrites = 100;
    auto name = [](const std::u16string& prefix, std::uint32_t i) { // names are case-insensitive, so only digits follow
        return prefix + static_cast<char16_t>(u'0' + i / 10) + static_cast<char16_t>(u'0' + i % 10);
    };
    auto write = [&](const std::u16string& prefix) {
        const auto key = RegistryKey::open(Root::CurrentUser, u"Race\\Key");
        bool good = key.has_value();
        for (std::uint32_t i = 0; good && i < kWrites; ++i) good = key->setNumber(name(prefix, i), i);
        return good;
    };
    const pid_t child = fork();
    if (child == 0) _exit(write(u"c") ? 0 : 1);
    EXPECT_TRUE(write(u"p"));
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const auto key = RegistryKey::open(Root::CurrentUser, u"Race\\Key");
    for (std::uint32_t i = 0; i < kWrites; ++i)
        for (const std::u16string prefix : {u"c", u"p"}) EXPECT_EQ(key->number(name(prefix, i)), i);
}

TEST_F(RegistryFile, ARegistryThatCannotBeWrittenIsReported)
{
    folder.refuseRegistry();
    EXPECT_FALSE(platform::createKeyPath(Root::CurrentUser, u"Software\\Zorel\\A"));
}

TEST_F(RegistryFile, AProgIdLeadsToItsClass)
{
    ASSERT_TRUE(platform::createKeyPath(Root::ClassesRoot, u"Test.Thing.1\\CLSID"));
    const GUID guid = com::newGuid();
    RegistryKey::open(Root::ClassesRoot, u"Test.Thing.1\\CLSID")->setText(u"", com::guidText(guid));
    CLSID found{};
    EXPECT_EQ(CLSIDFromProgID(u"Test.Thing.1", &found), S_OK);
    EXPECT_EQ(found, guid);
    EXPECT_EQ(CLSIDFromProgID(u"Test.Other.1", &found), CO_E_CLASSSTRING);
}
