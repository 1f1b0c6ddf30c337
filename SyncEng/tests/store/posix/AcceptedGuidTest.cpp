// Which results of CLSIDFromString make a stored text a valid GUID. This program replaces the function, since the Linux runtime never
// returns REGDB_E_WRITEREGDB.
#include "store/StoreFile.h"

#include "TestFolder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <optional>

namespace {

constexpr GUID found{0x11111111, 0x2222, 0x3333, {0x44, 0x44, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55}};

// The result to return; nullopt calls the runtime.
std::optional<HRESULT> answer;

} // namespace

HRESULT CLSIDFromString(LPCOLESTR text, CLSID* out)
{
    if (answer) {
        *out = found;
        return *answer;
    }
    using Function = HRESULT (*)(LPCOLESTR, CLSID*);
    static const auto own = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "CLSIDFromString"));
    return own(text, out);
}

namespace mb {

TEST(AcceptedGuid, IncludesAGuidFoundWithoutWritingTheRegistry)
{
    const mbtest::TestFolder folder;
    StoreFile store;
    ASSERT_EQ(store.Open(folder.path() / "store.xml", true), S_OK);
    ASSERT_EQ(store.WriteValue(u"T", u"s", u"g", u"A.Name", false, false), S_OK);
    const auto read = [&](HRESULT hr) {
        answer = hr;
        GUID guid{};
        const HRESULT result = store.ReadGuid(u"T", u"s", u"g", guid);
        answer.reset();
        return result;
    };
    EXPECT_EQ(read(S_OK), S_OK);
    EXPECT_EQ(read(S_FALSE), S_OK);
    EXPECT_EQ(read(REGDB_E_WRITEREGDB), S_OK);
    EXPECT_EQ(read(CO_E_CLASSSTRING), CO_E_CLASSSTRING);
    EXPECT_EQ(read(REGDB_E_CLASSNOTREG), REGDB_E_CLASSNOTREG);
}

} // namespace mb
