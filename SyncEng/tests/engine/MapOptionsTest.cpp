// How a run reads the options of its map from the variants that ITrMap::GetOption returns.
#include "foundation/ClassTable.h"
#include "People.h"
#include "SyncScenario.h"
#include "TrMapProxy.h"

#include <gmock/gmock.h>

namespace {

using mbtest::person;
using mbtest::SyncScenario;
using mbtest::TrMapProxy;
using testing::ElementsAre;
using testing::SizeIs;

constexpr com::ClassEntry proxyRows[] = {{&__uuidof(TrManager), u"", u"", com::create<TrMapProxy>}};

VARIANT asBool(VARIANT_BOOL flag)
{
    VARIANT value{};
    value.vt = VT_BOOL;
    value.boolVal = flag;
    return value;
}

VARIANT asWord(USHORT number)
{
    VARIANT value{};
    value.vt = VT_UI2;
    value.uiVal = number;
    return value;
}

VARIANT asNumber(LONG number)
{
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

// A run whose translator manager returns the variant of the test for one option.
class MapOptions : public testing::Test {
protected:
    MapOptions() { s.makeMap(); }
    ~MapOptions() override { TrMapProxy::answer = nullptr; }
    MapOptions(const MapOptions&) = delete;
    MapOptions& operator=(const MapOptions&) = delete;
    static void answer(_SyncOptions option, const VARIANT& given, HRESULT hr = S_OK)
    {
        TrMapProxy::answer = [=](LONG asked, VARIANT& value) -> HRESULT {
            if (asked != option) return S_FALSE;
            value = given;
            return hr;
        };
    }
    SyncScenario s;

private:
    mb::ClassOverride proxy_{proxyRows};
};

} // namespace

TEST_F(MapOptions, AFlagIsTrueWhereItsSixteenBitsAreAllSet)
{
    s.one().options.images = s.two().options.images = true;
    for (const VARIANT& flag : {asBool(VARIANT_TRUE), asWord(0xFFFF), asNumber(-1), asNumber(0x1FFFF)}) {
        answer(soSyncImages, flag);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.log().starting("1 SetAllowImage"), ElementsAre("1 SetAllowImage yes")) << flag.vt << " " << flag.uiVal;
    }
    for (const VARIANT& flag :
         {asBool(VARIANT_FALSE), asBool(1), asBool(-2), asWord(0xFFFE), asWord(1), asNumber(1), asNumber(0x10000), VARIANT{}}) {
        answer(soSyncImages, flag);
        EXPECT_EQ(s.sync(), S_OK);
        EXPECT_THAT(s.log().starting("1 SetAllowImage"), ElementsAre("1 SetAllowImage no")) << flag.vt << " " << flag.uiVal;
    }
}

TEST_F(MapOptions, AFlagThatCannotBeReadKeepsItsDefaultWhateverWasGivenWithIt)
{
    s.one().options.images = s.two().options.images = true;
    answer(soSyncImages, asBool(VARIANT_FALSE), E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.log().starting("1 SetAllowImage"), ElementsAre("1 SetAllowImage yes"));
    s.one().records.at(s.one().add(person(u"Ada", u"Lovelace"))).verified = false;
    answer(soSyncVerified, asBool(VARIANT_TRUE), E_FAIL);
    EXPECT_EQ(s.sync(), S_OK);
    EXPECT_THAT(s.two().records, SizeIs(1)) << "no record is held back";
}
