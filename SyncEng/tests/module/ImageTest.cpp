// The contents of the module's file: its exports, its type library and its version.
#include "com.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using testing::UnorderedElementsAre;

namespace {

const std::wstring moduleFile = std::filesystem::path(MODULE_FILE).native();

// Returns the names in the export table of a loaded image.
std::vector<std::string> exportsOf(HMODULE module)
{
    const auto* base = reinterpret_cast<const BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(base + dos->e_lfanew);
    const auto& place = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    std::vector<std::string> names;
    if (place.Size == 0) return names;
    const auto* table = reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + place.VirtualAddress);
    const auto* list = reinterpret_cast<const DWORD*>(base + table->AddressOfNames);
    for (DWORD i = 0; i < table->NumberOfNames; ++i) names.emplace_back(reinterpret_cast<const char*>(base + list[i]));
    EXPECT_EQ(table->NumberOfFunctions, table->NumberOfNames) << "an export without a name";
    return names;
}

} // namespace

TEST(Image, ItExportsTheFourEntryPointsAndNothingElse)
{
    for (const char* file : {MODULE_FILE, VCARD_PLUGIN}) {
        const HMODULE module = LoadLibraryExW(std::filesystem::path(file).c_str(), nullptr, DONT_RESOLVE_DLL_REFERENCES);
        ASSERT_TRUE(module) << file;
        EXPECT_THAT(exportsOf(module),
                    UnorderedElementsAre("DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"));
        FreeLibrary(module);
    }
}

TEST(Image, TheTypeLibraryIsInItsResources)
{
    com::Ptr<ITypeLib> library;
    ASSERT_EQ(LoadTypeLibEx(moduleFile.c_str(), REGKIND_NONE, library.put()), S_OK);
    com::Bstr name, help;
    ASSERT_EQ(library->GetDocumentation(-1, name.put(), help.put(), nullptr, nullptr), S_OK);
    EXPECT_EQ(name.view(), u"SyncEngLib");
    EXPECT_EQ(help.view(), u"Mirabook Synchronizion Engine 1.0 Type Library");
    TLIBATTR* attributes = nullptr;
    ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
    EXPECT_EQ(com::guidText(attributes->guid), u"{33D2D523-69CB-4FB4-A8FE-AA6DDD4893C7}");
    EXPECT_EQ(attributes->wMajorVerNum, 1);
    EXPECT_EQ(attributes->wMinorVerNum, 0);
    library->ReleaseTLibAttr(attributes);
    int classes = 0;
    for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
        TYPEKIND kind{};
        ASSERT_EQ(library->GetTypeInfoType(i, &kind), S_OK);
        if (kind == TKIND_COCLASS) ++classes;
    }
    EXPECT_EQ(classes, 10);
}

TEST(Image, ItsVersionIsInItsResources)
{
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(moduleFile.c_str(), &ignored);
    ASSERT_GT(size, 0u);
    std::vector<BYTE> data(size);
    ASSERT_TRUE(GetFileVersionInfoW(moduleFile.c_str(), 0, size, data.data()));
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    ASSERT_TRUE(VerQueryValueW(data.data(), L"\\", reinterpret_cast<void**>(&fixed), &length));
    EXPECT_EQ(fixed->dwFileVersionMS, 0x00010000u);
    wchar_t* text = nullptr;
    ASSERT_TRUE(VerQueryValueW(data.data(), L"\\StringFileInfo\\040904B0\\OriginalFilename", reinterpret_cast<void**>(&text), &length));
    EXPECT_STREQ(text, L"MBSync.DLL");
}
