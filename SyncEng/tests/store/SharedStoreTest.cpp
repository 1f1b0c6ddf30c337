// A store file that several processes change; each process is represented by a StoreFile of its own.
#include "store/StoreFile.h"

#include "apartment.h"
#include "TestFolder.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

using namespace mb;
using testing::ElementsAre;

namespace {

class SharedStores : public testing::Test {
protected:
    SharedStores()
    {
        EXPECT_EQ(first.OpenShared(path), S_OK);
        EXPECT_EQ(second.OpenShared(path), S_OK);
    }
    static HRESULT write(StoreFile& store, std::u16string_view section, std::u16string_view value)
    {
        return store.WriteValue(u"TrMap", section, u"Name", value, false, true);
    }
    static std::u16string valueIn(const StoreFile& store, std::u16string_view section)
    {
        std::u16string value;
        return SUCCEEDED(store.ReadValue(u"TrMap", section, u"Name", value)) ? value : u"(none)";
    }
    // The sections in the saved file.
    std::vector<std::u16string> sections() const
    {
        StoreFile saved;
        std::vector<std::u16string> names;
        EXPECT_EQ(saved.Open(path, false), S_OK);
        EXPECT_EQ(saved.ListSections(u"TrMap", names), S_OK);
        return names;
    }
    mbtest::TestFolder folder;
    std::filesystem::path path = folder.path() / "maps.xml";
    StoreFile first, second;
};

} // namespace

TEST_F(SharedStores, KeepTheChangesOfAllWriters)
{
    EXPECT_EQ(write(first, u"A", u"one"), S_OK);
    EXPECT_EQ(write(second, u"B", u"two"), S_OK);
    EXPECT_EQ(write(first, u"C", u"three"), S_OK);
    EXPECT_THAT(sections(), ElementsAre(u"A", u"B", u"C"));
    EXPECT_EQ(second.RemoveSection(u"TrMap", u"A", true), S_OK);
    EXPECT_EQ(first.RenameSection(u"TrMap", u"B", u"D", true), S_OK);
    EXPECT_THAT(sections(), ElementsAre(u"D", u"C"));
    EXPECT_EQ(second.RemoveKey(u"TrMap", u"C", u"Name"), S_OK);
    EXPECT_EQ(first.SetFlagInAllSections(u"TrMap", 1, true), S_OK);
    EXPECT_EQ(valueIn(first, u"C"), u"(none)");
    EXPECT_EQ(valueIn(first, u"D"), u"two");
    EXPECT_EQ(second.RemoveType(u"TrMap"), S_OK);
    EXPECT_EQ(first.SetVersion(3), S_OK);
    EXPECT_THAT(sections(), ElementsAre());
}

TEST_F(SharedStores, ShowOtherWritersChangesAfterARefresh)
{
    EXPECT_EQ(write(first, u"A", u"one"), S_OK);
    EXPECT_EQ(valueIn(second, u"A"), u"(none)");
    EXPECT_EQ(second.Refresh(), S_OK);
    EXPECT_EQ(valueIn(second, u"A"), u"one");
}

// The lock is held from the first write to the save, so that no other change in between is overwritten.
TEST_F(SharedStores, StayLockedDuringASaveScope)
{
    HRESULT other = E_UNEXPECTED;
    bool done = false;
    std::thread waiting;
    {
        SaveScope scope(first);
        EXPECT_EQ(write(first, u"A", u"one"), S_OK);
        waiting = std::thread([&] {
            const platform::Apartment apartment;
            other = write(second, u"B", u"two");
            done = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        EXPECT_FALSE(done);
        EXPECT_EQ(scope.finish(), S_OK);
    }
    waiting.join();
    EXPECT_EQ(other, S_OK);
    EXPECT_THAT(sections(), ElementsAre(u"A", u"B"));
}

TEST_F(SharedStores, DoNotReplaceAFileThatWasDamagedMeanwhile)
{
    EXPECT_EQ(write(first, u"A", u"one"), S_OK);
    const std::string good = folder.read(path);
    folder.write("maps.xml", "<Scs><Sc>");
    for (int attempt = 0; attempt < 2; ++attempt) {
        EXPECT_EQ(write(first, u"B", u"two"), E_FAIL);
        EXPECT_EQ(folder.read(path), "<Scs><Sc>");
    }
    EXPECT_EQ(valueIn(first, u"A"), u"one");
    folder.write("maps.xml", good);
    EXPECT_EQ(write(first, u"C", u"three"), S_OK);
    EXPECT_THAT(sections(), ElementsAre(u"A", u"C"));
}

TEST_F(SharedStores, AreCreatedAgainByTheNextChangeIfTheFileIsMissing)
{
    EXPECT_EQ(write(first, u"A", u"one"), S_OK);
    std::filesystem::remove(path);
    EXPECT_EQ(write(first, u"B", u"two"), S_OK);
    EXPECT_THAT(sections(), ElementsAre(u"A", u"B"));
}

TEST_F(SharedStores, LeaveNoLockBehind)
{
    EXPECT_EQ(write(first, u"A", u"one"), S_OK);
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "maps.lock"));
}
