#include "com.h"
#include <gtest/gtest.h>
#include <set>

namespace {
constexpr GUID kGuid{0x9580FAF0, 0xF0D0, 0x489A, {0xB9, 0xDC, 0xA0, 0xE1, 0x5E, 0x9A, 0x61, 0xCC}};
}

TEST(Guid, TextHasBracesAndUpperCase) { EXPECT_EQ(com::guidText(kGuid), u"{9580FAF0-F0D0-489A-B9DC-A0E15E9A61CC}"); }

TEST(Guid, TextIsReadInAnyCase)
{
    GUID guid{};
    EXPECT_EQ(com::parseGuid(u"{9580faf0-f0d0-489a-b9dc-a0e15e9a61cc}", &guid), S_OK);
    EXPECT_EQ(guid, kGuid);
}

TEST(Guid, MalformedTextLeavesTheNullGuid)
{
    for (const auto* text : {u"{9580FAF0-F0D0-489A-B9DC-A0E15E9A61C}", u"{9580FAF0-F0D0-489A-B9DC-A0E15E9A61CG}", u"{", u"",
                             u"{9580FAF0+F0D0-489A-B9DC-A0E15E9A61CC}"}) {
        GUID guid = kGuid;
        EXPECT_TRUE(FAILED(com::parseGuid(text, &guid)));
        EXPECT_EQ(guid, GUID_NULL);
    }
}

TEST(Guid, ATooSmallBufferIsNotWritten)
{
    OLECHAR buffer[38] = {u'x'};
    EXPECT_EQ(StringFromGUID2(kGuid, buffer, 38), 0);
    EXPECT_EQ(buffer[0], u'x');
}

TEST(Guid, NewGuidsAreRandomAndDiffer)
{
    std::set<std::u16string> seen;
    for (int i = 0; i < 1000; ++i) {
        const GUID guid = com::newGuid();
        EXPECT_EQ(guid.Data3 >> 12, 4);
        EXPECT_EQ(guid.Data4[0] >> 6, 2);
        EXPECT_TRUE(seen.insert(com::guidText(guid)).second);
    }
}
