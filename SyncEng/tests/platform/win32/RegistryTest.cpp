// Behaviour of the Windows registry that ours lacks.
#include "registry.h"

#include "com.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using platform::RegistryKey;
using platform::Root;

TEST(SystemRegistry, AnEnvironmentVariableInAPathIsExpanded)
{
    const mbtest::TestFolder folder;
    ASSERT_TRUE(platform::createKeyPath(Root::LocalMachine, u"Software\\A"));
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\A", 0, KEY_WRITE, &key), ERROR_SUCCESS);
    constexpr wchar_t path[] = L"%SystemRoot%\\mb.exe";
    RegSetValueExW(key, nullptr, 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(path), sizeof path);
    RegCloseKey(key);
    const auto text = RegistryKey::open(Root::LocalMachine, u"Software\\A")->text(u"");
    ASSERT_TRUE(text);
    EXPECT_TRUE(text->ends_with(u"\\mb.exe"));
    EXPECT_EQ(text->find(u'%'), std::u16string::npos);
}
