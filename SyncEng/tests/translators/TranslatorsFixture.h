// Fixture with this layer and the layers below it: the class table, the open configuration store, the log, and two fake plug-ins registered
// as classes, in a folder of the test. At the end it expects that every object was released.
#pragma once
#include "foundation/ClassTable.h"
#include "PluginFake.h"
#include "store/ConfigStore.h"
#include "TestFolder.h"

#include <gmock/gmock.h>

namespace mbtest {

inline constexpr GUID pluginClass1{0xFA4E0001, 0x1111, 0x4111, {0x81, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}};
inline constexpr GUID pluginClass2{0xFA4E0002, 0x2222, 0x4222, {0x82, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22}};
inline constexpr GUID unknownClass{0xFA4E0003, 0x3333, 0x4333, {0x83, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33, 0x33}};
inline constexpr GUID mapA{0xAAAAAAAA, 0x0001, 0x4001, {0x80, 0, 0, 0, 0, 0, 0, 1}};
inline constexpr GUID mapB{0xBBBBBBBB, 0x0002, 0x4002, {0x80, 0, 0, 0, 0, 0, 0, 2}};

inline constexpr HRESULT initializedAnew = static_cast<HRESULT>(0x80040212), noErrorText = static_cast<HRESULT>(0x80040211);

// Returns the GUID of a plug-in's field.
constexpr GUID fieldId(std::uint16_t plugin, std::uint16_t number)
{
    return {0x7A110000, plugin, number, {0x9E, 0x55, 0x2F, 0, 0, 0, 0, 0}};
}

class TranslatorsTest : public ::testing::Test {
protected:
    TranslatorsTest();
    ~TranslatorsTest() override;

    template <class I> com::Ptr<I> create(REFCLSID clsid)
    {
        com::Ptr<I> object;
        EXPECT_EQ(mb::createClass(clsid, object), S_OK);
        return object;
    }
    com::Ptr<ITrManager> manager() { return create<ITrManager>(__uuidof(TrManager)); }
    com::Ptr<ITrMapEntry> loader() { return create<ITrMapEntry>(__uuidof(TrManager)); }
    com::Ptr<ITrMap> maps() { return create<ITrMap>(__uuidof(TrManager)); }
    com::Ptr<IFieldMap> fieldMaps() { return create<IFieldMap>(__uuidof(FieldMap)); }
    com::Ptr<ITranslator> load(REFCLSID clsid);
    // Writes a map without field map and history directly into the store.
    void writePair(const GUID& map);

    static std::u16string stored(std::u16string_view type, const GUID& section, std::u16string_view key); // "<none>" if absent
    std::vector<std::string> logLines(std::string_view containing);
    std::vector<std::string> takeCalls(); // the calls on the plug-ins since the last takeCalls()
    std::filesystem::path historyFile(const GUID& map) const;
    void writeHistory(const GUID& map, LONG status = 1);

    TestFolder folder;
    std::shared_ptr<CallLog> calls = std::make_shared<CallLog>();
    std::shared_ptr<Plugin> plugin1 = std::make_shared<Plugin>(), plugin2 = std::make_shared<Plugin>();

    int keptByRuntime = 0; // references that the component runtime leaks

private:
    LONG objectsBefore_;
    std::unique_ptr<PluginClass> class1_, class2_;
};

} // namespace mbtest
