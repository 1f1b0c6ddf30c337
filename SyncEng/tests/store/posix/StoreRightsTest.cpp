// An existing store file with various permissions.
#include "store/StoreFile.h"

#include "ChildProcess.h"
#include "TestFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace mb {
namespace {

const std::string bytes = "<Scs Version=\"4\"><Sc><ST>T</ST><SN>cw==</SN><Ky><KN>aw==</KN><KV>dg==</KV></Ky></Sc></Scs>";

std::string modeName(const testing::TestParamInfo<mode_t>& mode) { return mode.param == 0 ? "ClosedToAll" : "WriteOnly"; }

class StoreRights : public testing::TestWithParam<mode_t> {
protected:
    StoreRights()
    {
        folder.write("store.xml", bytes);
        std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
        EXPECT_EQ(::chmod(file.c_str(), GetParam()), 0);
    }
    // Makes the file readable and returns its bytes.
    [[nodiscard]] std::string bytesIn(const std::filesystem::path& path) const
    {
        EXPECT_EQ(::chmod(path.c_str(), 0600), 0);
        return folder.read(path);
    }
    [[nodiscard]] std::filesystem::path damaged() const { return file.string() + ".damaged"; }
    mbtest::TestFolder folder;
    std::filesystem::path file = folder.path() / "store.xml";
};

} // namespace

TEST_P(StoreRights, LosesNoData)
{
    EXPECT_EQ(mbtest::inChild(true,
                              [&] {
                                  StoreFile store;
                                  (void)store.Open(file, true);
                                  (void)store.WriteValue(u"T", u"s", u"k", u"w", false, true);
                                  return 42;
                              }),
              42);
    EXPECT_EQ(bytesIn(std::filesystem::exists(damaged()) ? damaged() : file), bytes);
}

TEST_P(StoreRights, FailsTheOpenAndIsNotReplaced)
{
    EXPECT_EQ(mbtest::inChild(true,
                              [&] {
                                  StoreFile store;
                                  return FAILED(store.Open(file, true)) && !store.isOpen() ? 42 : 1;
                              }),
              42);
    EXPECT_EQ(bytesIn(file), bytes);
    EXPECT_FALSE(std::filesystem::exists(damaged()));
}

TEST_P(StoreRights, IsNotOpenWithoutTheCreateFlagEither)
{
    EXPECT_EQ(mbtest::inChild(true,
                              [&] {
                                  StoreFile store;
                                  (void)store.Open(file, false);
                                  return store.isOpen() ? 1 : 42;
                              }),
              42);
    EXPECT_EQ(bytesIn(file), bytes);
}

INSTANTIATE_TEST_SUITE_P(Modes, StoreRights, testing::Values(0000, 0222), modeName);

} // namespace mb
