// A store file that is read-only.
#include "store/StoreFile.h"

#include "TestFolder.h"

#include <gtest/gtest.h>
#include <windows.h>

namespace mb {

TEST(StoreRefusedSave, SavingAReadOnlyFileFailsAndKeepsIt)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "store.xml";
    StoreFile store;
    ASSERT_EQ(store.Open(file, true), S_OK);
    ASSERT_EQ(store.WriteValue(u"T", u"s", u"k", u"old", false, true), S_OK);
    const std::string before = folder.read(file);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(store.WriteValue(u"T", u"s", u"k", u"new", false, true), E_ACCESSDENIED);
    EXPECT_EQ(folder.read(file), before);
    ASSERT_TRUE(SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2) << "no temporary file remains";
    EXPECT_EQ(store.WriteValue(u"T", u"s", u"k", u"new", false, true), S_OK);
}

} // namespace mb
