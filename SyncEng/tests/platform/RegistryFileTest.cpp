// The registry as a text file: what people may write into it, and two processes at once.
#include "registry.h"

#include "com.h"
#include "TestFolder.h"
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::RegistryKey;
using platform::Root;

namespace {

class RegistryFile : public testing::Test {
protected:
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(RegistryFile, ABadLineCostsNoOther)
{
    folder.write("registry.reg", "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_CURRENT_USER\\A]\r\n\"x\"=dword:zz\r\n"
                                 "\"unclosed=\"\r\n=\r\n\"n\"=dword:0000000f\r\n");
    const auto key = RegistryKey::open(Root::CurrentUser, u"A");
    ASSERT_TRUE(key);
    EXPECT_EQ(key->number(u"n"), 15u);
    EXPECT_FALSE(key->number(u"x"));
}

TEST_F(RegistryFile, TwoProcessesThatWriteAtOnceLoseNothing)
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
