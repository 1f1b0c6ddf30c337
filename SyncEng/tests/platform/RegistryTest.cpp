#include "registry.h"

#include "com.h"
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::RegistryKey;
using platform::Root;
namespace fs = std::filesystem;

namespace {

class Registry : public testing::Test {
protected:
    Registry()
    {
        char name[] = "/tmp/mbregistryXXXXXX";
        folder = mkdtemp(name);
        setenv("MB_REGISTRY", (folder / "test.reg").c_str(), 1);
    }
    ~Registry() override
    {
        unsetenv("MB_REGISTRY");
        fs::remove_all(folder);
    }
    fs::path folder;
};

} // namespace

TEST_F(Registry, AKeyThatWasNeverMadeCannotBeOpened)
{
    EXPECT_FALSE(RegistryKey::open(Root::CurrentUser, u"Software\\Zorel"));
    EXPECT_FALSE(RegistryKey::create(Root::CurrentUser, u"Software\\Zorel")); // its parent is missing
}

TEST_F(Registry, ValuesOfBothKindsAreKept)
{
    ASSERT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Software\\Zorel\\MBSyncEng"));
    const auto key = RegistryKey::open(Root::CurrentUser, u"software\\zorel\\mbsynceng");
    ASSERT_TRUE(key);
    EXPECT_TRUE(key->setNumber(u"LoggingLevel", 0xFFFFFFFF));
    EXPECT_TRUE(key->setText(u"InstallPath", u"C:\\a \"b\"\nc \u00E4 \u4E2D \U0001F600"));
    EXPECT_TRUE(key->setText(u"", u"default"));
    EXPECT_EQ(key->number(u"logginglevel"), 0xFFFFFFFF);
    EXPECT_EQ(key->text(u"InstallPath"), u"C:\\a \"b\"\nc \u00E4 \u4E2D \U0001F600");
    EXPECT_EQ(key->text(u""), u"default");
    EXPECT_FALSE(key->text(u"LoggingLevel")); // of the other kind
    EXPECT_FALSE(key->number(u"nothing"));
    EXPECT_TRUE(key->removeValue(u""));
    EXPECT_FALSE(key->text(u""));
}

TEST_F(Registry, SubkeysAreListedAndGoWithTheirParent)
{
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\B\\One"));
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\B\\Two\\Deep"));
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\Bother"));
    EXPECT_THAT(RegistryKey::open(Root::LocalMachine, u"A\\B")->subkeys(), testing::ElementsAre(u"One", u"Two"));
    EXPECT_TRUE(RegistryKey::remove(Root::LocalMachine, u"a\\b"));
    EXPECT_FALSE(RegistryKey::open(Root::LocalMachine, u"A\\B\\Two"));
    EXPECT_TRUE(RegistryKey::open(Root::LocalMachine, u"A\\Bother"));
}

TEST_F(Registry, ABadLineCostsNoOther)
{
    std::ofstream(folder / "test.reg") << "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"x\"=dword:zz\r\n"
                                          "\"unclosed=\"\r\n=\r\n\"n\"=dword:0000000f\r\n";
    const auto key = RegistryKey::open(Root::CurrentUser, u"A");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->number(u"n"), 15u);
    EXPECT_FALSE(key->number(u"x"));
}

TEST_F(Registry, TwoProcessesThatWriteAtOnceLoseNothing)
{
    ASSERT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Race\\Key"));
    constexpr std::uint32_t kWrites = 100;
    auto name = [](const std::u16string& prefix, std::uint32_t i) { // case does not tell names apart, so only digits follow
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

TEST_F(Registry, AFolderThatCannotBeWrittenIsReported)
{
    setenv("MB_REGISTRY", "/proc/none/test.reg", 1);
    EXPECT_FALSE(platform::createKeyPath(Root::CurrentUser, u"A\\B"));
}

TEST_F(Registry, AProgIdLeadsToItsClass)
{
    ASSERT_TRUE(platform::createKeyPath(Root::ClassesRoot, u"Test.Thing.1\\CLSID"));
    const GUID guid = com::newGuid();
    RegistryKey::open(Root::ClassesRoot, u"Test.Thing.1\\CLSID")->setText(u"", com::guidText(guid));
    CLSID found{};
    EXPECT_EQ(CLSIDFromProgID(u"Test.Thing.1", &found), S_OK);
    EXPECT_EQ(found, guid);
    EXPECT_EQ(CLSIDFromProgID(u"Test.Other.1", &found), CO_E_CLASSSTRING);
}
