// Each component server exports its entry points and nothing else, and leaves the process when it is unloaded.
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

TEST_P(Component, ExportsItsFourEntryPointsAlone) { EXPECT_EQ(exportsOf(GetParam()), entryPoints); }

TEST_P(Component, LeavesTheProcessWhenItIsUnloadedAfterUse)
{
    const TestFolder folder; // where the engine keeps what it opens
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
