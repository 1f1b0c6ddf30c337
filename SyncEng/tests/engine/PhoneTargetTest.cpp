// Phone numbers on their way to the stores that take them in one form only.
#include "RegistryValues.h"
#include "SyncScenario.h"
#include "text.h"

#include <gmock/gmock.h>

namespace {

using mbtest::SyncScenario;

constexpr GUID act{0x3485B3B6, 0x4564, 0x4A6E, {0xBE, 0xB0, 0xFC, 0xD5, 0x19, 0xDD, 0x95, 0x73}};
constexpr GUID secondAct{0xE86144D5, 0x4DE7, 0x4B84, {0x92, 0x3D, 0xDF, 0x78, 0xE8, 0xB6, 0xA2, 0x3C}};

// The library that splits numbers lies beside the host, once there is one.
void installHost()
{
    mbtest::setText(platform::Root::CurrentUser, u"Software\\Zorel\\Mirabook\\Main", u"Path", platform::utf16(FAKE_HOST_FOLDER) + u"/mb");
}

// What becomes of a phone number that a contact of side 1 has.
std::u16string sent(const GUID& target, ULONG flags1, ULONG flags2, const std::u16string& number = u"1 212 5551234", bool withHost = true)
{
    SyncScenario s(mbtest::fakeClass1, target);
    if (withHost) installHost();
    s.one().fields = {{ftLastName, u"Last name"}, {ftPhone, u"Phone", flags1}};
    s.two().fields = {{ftLastName, u"Last name"}, {ftPhone, u"Phone", flags2}};
    s.one().add({{ftLastName, u"Lovelace"}, {ftPhone, number}});
    EXPECT_EQ(s.sync(), S_OK);
    return s.two().get(s.two().order.at(0), ftPhone);
}

} // namespace

TEST(PhoneTarget, TwoStoresGetTheCanonicalForm)
{
    for (const GUID& target : {act, secondAct}) {
        const std::u16string canonical = sent(target, ffPhoneNumber, ffPhoneNumber);
        EXPECT_TRUE(canonical.starts_with(u"+1 212 5551234 ext. ")) << platform::utf8(canonical);
    }
}

TEST(PhoneTarget, AnyOtherStoreOrFieldGetsTheNumberAsItStands)
{
    EXPECT_EQ(sent(mbtest::fakeClass2, ffPhoneNumber, ffPhoneNumber), u"1 212 5551234");
    EXPECT_EQ(sent(act, 0, ffPhoneNumber), u"1 212 5551234");
    EXPECT_EQ(sent(act, ffPhoneNumber, 0), u"1 212 5551234");
}

TEST(PhoneTarget, ANumberThatNothingCanSplitGoesAsItStands)
{
    EXPECT_EQ(sent(act, ffPhoneNumber, ffPhoneNumber, u"1 212 5551234", false), u"1 212 5551234");
    EXPECT_EQ(sent(act, ffPhoneNumber, ffPhoneNumber, u"*67 212 5551234"), u"*67 212 5551234");
}
