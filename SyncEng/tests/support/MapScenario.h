// A map of two translator classes, used through the interfaces as a host does. The derived class registers the classes.
#pragma once
#include "interfaces.h"
#include "TestFolder.h"

#include <gtest/gtest.h>

namespace mbtest {

class MapScenario {
public:
    MapScenario(const GUID& class1, const GUID& class2);
    MapScenario(const MapScenario&) = delete;
    MapScenario& operator=(const MapScenario&) = delete;
    virtual ~MapScenario();

    // Creates the map if there is none, and runs it silently.
    HRESULT sync();
    // As sync(), but the run may ask the user.
    HRESULT syncAsking();
    HRESULT resync();
    // Runs all maps.
    HRESULT syncAll();
    // Creates another map of the same two classes.
    GUID addMap();
    HRESULT syncMap(const GUID& map);
    void makeMap();
    [[nodiscard]] const GUID& map() const { return map_; }
    void setOption(_SyncOptions option, LONG value);
    // Creates an object of the engine as a host does.
    template <class I> com::Ptr<I> create(REFCLSID clsid)
    {
        com::Ptr<I> object;
        EXPECT_EQ(createObject(clsid, __uuidof(I), object.putVoid()), S_OK);
        return object;
    }
    com::Ptr<ITrMap> maps();
    [[nodiscard]] std::pair<std::u16string, std::u16string> lastError();
    [[nodiscard]] com::Variant lastCode();
    [[nodiscard]] std::filesystem::path historyFile() const;
    TestFolder folder;

protected:
    // Called before each run.
    virtual void beginRun() {}
    com::Ptr<ISynchronizer> synchronizer_;

private:
    HRESULT run(VARIANT_BOOL silent);
    static HRESULT createObject(REFCLSID clsid, REFIID riid, void** out);
    GUID classes_[2];
    GUID map_{};
};

} // namespace mbtest
