// A full disk, simulated by the process's limit on file sizes.
#include "store/StoreFile.h"

#include "TestFolder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace mb {

TEST(StoreFullDisk, TheOldFileIsKept)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "store.xml";
    StoreFile store;
    ASSERT_EQ(store.Open(file, true), S_OK);
    const auto write = [&](const char16_t* key, const std::u16string& text) {
        return store.WriteValue(u"T", u"s", key, text, false, true);
    };
    write(u"k", u"old");
    const std::string before = folder.read(file);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const auto former = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{64, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const HRESULT hr = write(u"k", std::u16string(1000, u'x'));
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, former);
    EXPECT_EQ(hr, static_cast<HRESULT>(0x80070070));
    EXPECT_EQ(folder.read(file), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2) << "no temporary file remains";
    EXPECT_EQ(write(u"k", u"new"), S_OK) << "the next save writes the pending change";
}

} // namespace mb
