// Fixture with a SyncAutoTest object and two fakes, registered as translators with the names "Notebook" and "vCard".
#pragma once
#include "categories.h"
#include "error_text.h"
#include "registry.h"
#include "SyncScenario.h"
#include "text.h"

#include <gmock/gmock.h>

namespace mbtest {

inline com::Bstr bstr(std::u16string_view text) { return com::Bstr(text); }

class AutoTestFixture : public testing::Test {
protected:
    AutoTestFixture()
    {
        const auto loader = scenario.create<ITrMapEntry>(__uuidof(TrManager));
        for (const GUID& clsid : {fakeClass1, fakeClass2}) EXPECT_EQ(loader->Install(clsid), S_OK);
        scenario.one().options.shortName = u"Notebook";
        scenario.two().options.shortName = u"vCard";
        autoTest = scenario.create<ISyncAutoTest>(__uuidof(SyncAutoTest));
    }
    std::u16string makeMap()
    {
        com::Bstr made;
        EXPECT_EQ(autoTest->AddTrMap(bstr(u"Notebook").get(), bstr(u"vCard").get(), made.put()), S_OK);
        return made.text();
    }
    LONG mapCount()
    {
        com::TaskArray<GUID> maps;
        EXPECT_EQ(scenario.create<ITrManager>(__uuidof(TrManager))->EnumerateMaps(maps.putCount(), maps.put()), S_OK);
        return maps.size();
    }
    com::Ptr<IUnknown> openSide(const std::u16string& map, _TransIds side)
    {
        com::Ptr<IUnknown> opened;
        EXPECT_EQ(autoTest->BeginUpdate(bstr(map).get(), side, opened.put()), S_OK);
        return opened;
    }
    // Makes the next call of a method fail; "1 SaveRecord" means the method of side 1.
    void failNext(const std::string& method, HRESULT hr) { scenario.log().failOn(method, scenario.log().count(method) + 1, hr); }

    SyncScenario scenario;
    com::Ptr<ISyncAutoTest> autoTest;
};

} // namespace mbtest
