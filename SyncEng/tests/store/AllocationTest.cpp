// Makes each allocation fail once while a store is loaded, changed and saved. The file must then be the old or the new one; if it is the
// old one, the call must have failed.
#include "AllocationFaults.h"
#include "store/StoreFile.h"
#include "TestFolder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <pugixml.hpp>

namespace {

// Makes the n-th allocation fail while it lives.
class ShortMemory {
public:
    explicit ShortMemory(int n)
    {
        mbtest::allocationsMade = 0;
        mbtest::failingAllocation = n;
    }
    ShortMemory(const ShortMemory&) = delete;
    ShortMemory& operator=(const ShortMemory&) = delete;
    ~ShortMemory() { mbtest::failingAllocation = 0; }
    [[nodiscard]] static bool met() { return mbtest::allocationsMade >= mbtest::failingAllocation; }
};

} // namespace

namespace mb {
namespace {

class Allocation : public testing::Test {
protected:
    Allocation() { pugi::set_memory_management_functions(mbtest::allocateOrNull, std::free); }
    ~Allocation() override { pugi::set_memory_management_functions(std::malloc, std::free); }
    // Returns the result code that a caller across an interface would get.
    template <class F> static HRESULT outcome(F&& work) { return com::guarded(work); }
    mbtest::TestFolder folder;
};

} // namespace

TEST_F(Allocation, ThatFailsNeverDamagesTheStore)
{
    const auto file = folder.path() / "store.xml";
    {
        StoreFile store;
        ASSERT_EQ(store.Open(file, true), S_OK);
        for (int i = 0; i < 50; ++i)
            ASSERT_EQ(
                store.WriteValue(u"Type", u"section" + std::u16string(static_cast<std::size_t>(i), u's'), u"key", u"before", false, false),
                S_OK);
        ASSERT_EQ(store.Close(), S_OK);
    }
    const std::string before = folder.read(file);
    int failures = 0;
    for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        HRESULT hr = S_OK;
        bool met = false;
        {
            StoreFile store;
            const ShortMemory memory(n);
            hr = outcome([&] {
                HRESULT step = store.Open(file, true);
                if (SUCCEEDED(step)) step = store.WriteValue(u"Type", u"another", u"key", u"after", false, false);
                return SUCCEEDED(step) ? store.Save() : step;
            });
            met = memory.met();
            mbtest::failingAllocation = 0;
        }
        const std::string after = folder.read(file);
        ASSERT_FALSE(std::filesystem::exists(file.string() + ".damaged")) << "out of memory must not count as damage";
        StoreFile again;
        ASSERT_EQ(again.Open(file, false), S_OK);
        std::u16string value;
        ASSERT_EQ(again.ReadValue(u"Type", u"section", u"key", value), S_OK);
        if (!met) {
            EXPECT_EQ(hr, S_OK);
            break;
        }
        ++failures;
        ASSERT_TRUE(after == before || again.ReadValue(u"Type", u"another", u"key", value) == S_OK);
        if (after == before) { ASSERT_TRUE(FAILED(hr)) << "nothing was saved, yet the call succeeded"; }
        folder.write("store.xml", before);
    }
    EXPECT_GT(failures, 20);
}

} // namespace mb
