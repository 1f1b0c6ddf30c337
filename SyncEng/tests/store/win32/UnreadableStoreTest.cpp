#include "UnreadableStore.h"

#include <windows.h>

namespace mb {

TEST_F(UnreadableStore, AFileThatAnotherProgramLocksIsRefusedAndNotChanged)
{
    folder.write("store.xml", "<Scs Version=\"4\"/>");
    const HANDLE other = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_DELETE, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(other, INVALID_HANDLE_VALUE);
    expectRefused(static_cast<HRESULT>(0x80070020), " ");
    CloseHandle(other);
    EXPECT_EQ(folder.read(file), "<Scs Version=\"4\"/>");
    EXPECT_EQ(StoreFile().Open(file, true), S_OK) << "it opens once it can be read";
}

TEST_F(UnreadableStore, AFolderInPlaceOfTheFileIsRefusedAndKept)
{
    std::filesystem::create_directory(file);
    folder.write("store.xml/inside", "1");
    expectRefused(E_ACCESSDENIED, " ");
    EXPECT_EQ(folder.read(file / "inside"), "1");
}

} // namespace mb
