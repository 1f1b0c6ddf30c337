// The phone number library, which the engine loads and calls by three exported names.
#include "library.h"
#include "LibraryFile.h"
#include <gtest/gtest.h>

using namespace mbtest;

TEST(PhoneLibrary, ExportsOnlyTheFunctionsThatTheEngineCalls)
{
    EXPECT_EQ(exportsOf(PHONE_LIBRARY), std::set<std::string>({"CatInit", "CatParsePhone", "CatTerm"}));
}

TEST(PhoneLibrary, CanBeUnloadedAfterUse)
{
    {
        const platform::Library library{std::filesystem::path(PHONE_LIBRARY)};
        ASSERT_TRUE(library);
        EXPECT_EQ(library.function<int(void*, int*, void*)>("CatInit")(nullptr, nullptr, nullptr), 1);
        std::u16string block(4096, u'\0');
        EXPECT_EQ(library.function<int(const char16_t*, void*)>("CatParsePhone")(u"+43 1 53115", block.data()), 1);
        EXPECT_TRUE(isLoaded(PHONE_LIBRARY));
    }
    EXPECT_FALSE(isLoaded(PHONE_LIBRARY));
}
