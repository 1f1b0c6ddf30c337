// A store whose file exists but cannot be read: Open fails, names the file and replaces nothing, with and without `create`.
#pragma once
#include "files.h"
#include "store/CSyncHistory.h"
#include "store/StoreFile.h"
#include "text.h"

#include "TestFolder.h"

#include <gtest/gtest.h>

namespace mb {

class UnreadableStore : public testing::Test {
protected:
    void expectRefused(HRESULT expected, const char* reason)
    {
        for (const bool create : {true, false}) {
            StoreFile store;
            EXPECT_EQ(store.Open(file, create), expected);
            EXPECT_FALSE(store.isOpen());
            const std::string sentence = platform::utf8(store.openFailure());
            EXPECT_EQ(sentence.find("\"" + platform::utf8(platform::textOf(file)) + "\" is there, but cannot be read"), 0u) << sentence;
            EXPECT_NE(sentence.find(reason), std::string::npos) << sentence;
            EXPECT_FALSE(std::filesystem::exists(file.string() + ".damaged"));
        }
    }
    static constexpr HRESULT readFault = static_cast<HRESULT>(0x8007001E);

    mbtest::TestFolder folder;
    std::filesystem::path file = folder.path() / "store.xml";
};

} // namespace mb
