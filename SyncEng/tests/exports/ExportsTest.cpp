// Each component server exports only its entry points and can be unloaded.
#include "com.h"

#include "library.h"
#include "LibraryFile.h"
#include "TestFolder.h"
#include <gtest/gtest.h>

using namespace mbtest;

namespace {

const std::set<std::string> entryPoints{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"};

class Component : public testing::TestWithParam<const char*> {};

std::string nameOf(const testing::TestParamInfo<const char*>& info) { return std::filesystem::path(info.param).stem().string(); }

} // namespace

TEST_P(Component, ExportsOnlyItsFourEntryPoints) { EXPECT_EQ(exportsOf(GetParam()), entryPoints); }

TEST_P(Component, CanBeUnloadedAfterUse)
{
    const TestFolder folder; // for the files that the engine opens
    {
        const platform::Library library{std::filesystem::path(GetParam())};
        ASSERT_TRUE(library);
        void* object = nullptr;
        EXPECT_EQ(library.function<HRESULT STDMETHODCALLTYPE(REFCLSID, REFIID, void**)>("DllGetClassObject")(
                      GUID_NULL, __uuidof(IClassFactory), &object),
                  CLASS_E_CLASSNOTAVAILABLE);
        EXPECT_EQ(library.function<HRESULT STDMETHODCALLTYPE()>("DllCanUnloadNow")(), S_OK);
        EXPECT_TRUE(isLoaded(GetParam()));
    }
    EXPECT_FALSE(isLoaded(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Exports, Component, testing::Values(COMPONENTS), nameOf);
