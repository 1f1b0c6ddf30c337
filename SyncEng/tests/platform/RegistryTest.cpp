// The registry's behaviour on every platform.
#include "registry.h"

#include "com.h"
#include "TestFolder.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using platform::RegistryKey;
using platform::Root;

namespace {

class Registry : public testing::Test {
protected:
    mbtest::TestFolder folder; // gives the process its own registry
};

} // namespace

TEST_F(Registry, AMissingKeyCannotBeOpened)
{
    EXPECT_FALSE(RegistryKey::open(Root::CurrentUser, u"None\\Zorel"));
    EXPECT_FALSE(RegistryKey::create(Root::CurrentUser, u"None\\Zorel")); // the parent is missing
    EXPECT_TRUE(RegistryKey::create(Root::CurrentUser, u"Made"));
    EXPECT_TRUE(RegistryKey::create(Root::CurrentUser, u"Made\\Zorel\\"));
    EXPECT_TRUE(RegistryKey::open(Root::CurrentUser, u"made\\zorel"));
}

TEST_F(Registry, ValuesOfBothKindsAreKept)
{
    ASSERT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Software\\Zorel\\MBSyncEng"));
    const auto key = RegistryKey::open(Root::CurrentUser, u"software\\zorel\\mbsynceng");
    ASSERT_TRUE(key);
    const std::u16string wide(2000, u'w');
    EXPECT_TRUE(key->setNumber(u"LoggingLevel", 0xFFFFFFFF));
    EXPECT_TRUE(key->setText(u"InstallPath", u"C:\\a \"b\"\nc \u00E4 \u4E2D \U0001F600"));
    EXPECT_TRUE(key->setText(u"Wide", wide));
    EXPECT_TRUE(key->setText(u"Empty", u""));
    EXPECT_TRUE(key->setText(u"", u"default"));
    EXPECT_EQ(key->number(u"logginglevel"), 0xFFFFFFFF);
    EXPECT_EQ(key->text(u"InstallPath"), u"C:\\a \"b\"\nc \u00E4 \u4E2D \U0001F600");
    EXPECT_EQ(key->text(u"Wide"), wide);
    EXPECT_EQ(key->text(u"Empty"), u"");
    EXPECT_EQ(key->text(u""), u"default");
    EXPECT_FALSE(key->text(u"LoggingLevel")); // of another type
    EXPECT_FALSE(key->number(u"nothing"));
    EXPECT_TRUE(key->removeValue(u""));
    EXPECT_FALSE(key->text(u""));
    EXPECT_FALSE(key->removeValue(u""));
}

TEST_F(Registry, SubkeysAreListedAndRemovedWithTheirParent)
{
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\B\\One"));
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\B\\Two\\Deep"));
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"A\\Bother"));
    EXPECT_THAT(RegistryKey::open(Root::LocalMachine, u"A\\B")->subkeys(), testing::ElementsAre(u"One", u"Two"));
    EXPECT_TRUE(RegistryKey::remove(Root::LocalMachine, u"a\\b"));
    EXPECT_FALSE(RegistryKey::remove(Root::LocalMachine, u"a\\b"));
    EXPECT_FALSE(RegistryKey::open(Root::LocalMachine, u"A\\B\\Two"));
    EXPECT_TRUE(RegistryKey::open(Root::LocalMachine, u"A\\Bother"));
}

TEST_F(Registry, APathOfOnePartIsRefused)
{
    EXPECT_FALSE(platform::createKeyPath(Root::CurrentUser, u"Alone"));
    EXPECT_FALSE(platform::createKeyPath(Root::CurrentUser, u"Alone\\"));
    EXPECT_FALSE(RegistryKey::open(Root::CurrentUser, u"Alone"));
    EXPECT_TRUE(platform::createKeyPath(Root::CurrentUser, u"Not\\Alone\\"));
    EXPECT_TRUE(RegistryKey::open(Root::CurrentUser, u"Not\\Alone"));
}

TEST_F(Registry, AccessToARemovedKeyFails)
{
    const auto key = RegistryKey::create(Root::CurrentUser, u"Gone");
    ASSERT_TRUE(key);
    ASSERT_TRUE(RegistryKey::remove(Root::CurrentUser, u"Gone"));
    EXPECT_FALSE(key->setText(u"a", u"b"));
    EXPECT_FALSE(key->text(u"a"));
    EXPECT_TRUE(key->subkeys().empty());
}
