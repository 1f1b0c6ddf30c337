// A map of two fake stores, used through the interfaces as a host does: edit both sides, sync, compare.
#pragma once
#include "FakeTranslator.h"
#include "TestFolder.h"

#include <gtest/gtest.h>
#include <set>

namespace mbtest {

inline constexpr GUID fakeClass1{0xFA4E0001, 0x1111, 0x4111, {0x81, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}};
inline constexpr GUID fakeClass2{0xFA4E0002, 0x2222, 0x4222, {0x82, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22}};

class SyncScenario {
public:
    // The classes under which the two fakes are registered.
    explicit SyncScenario(const GUID& class1 = fakeClass1, const GUID& class2 = fakeClass2);
    SyncScenario(const SyncScenario&) = delete;
    SyncScenario& operator=(const SyncScenario&) = delete;
    ~SyncScenario();

    FakeStore& one() { return *stores_[0]; }
    FakeStore& two() { return *stores_[1]; }
    CallLog& log() { return *log_; }
    EventSinkFake& sink() { return *sink_.get(); }

    // Creates the map if there is none, and runs it silently.
    HRESULT sync();
    // As sync(), but the run may ask the user.
    HRESULT syncAsking();
    HRESULT resync();
    // Runs all maps.
    HRESULT syncAll();
    // Creates another map of the same two stores.
    GUID addMap();
    HRESULT syncMap(const GUID& map);
    void makeMap();
    [[nodiscard]] const GUID& map() const { return map_; }
    void setOption(_SyncOptions option, LONG value);
    // Replaces the field map's entries. Each pair is a field type of side 1 and a field type of side 2.
    void pairFields(const std::vector<std::pair<LONG, LONG>>& types);
    GUID fieldMapId();
    // Adds an entry to the field map.
    void mapFields(LONG type1, LONG type2);
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

    // Returns the history's value of a record's field, as a host gets it; "<none>" if there is none.
    [[nodiscard]] std::u16string remembered(_TransIds side, const std::u16string& id, LONG type);
    // Returns the records of a side in the history, in the order of the file.
    [[nodiscard]] std::vector<std::u16string> rememberedRecords(_TransIds side);
    [[nodiscard]] std::filesystem::path historyFile() const;

    // Returns the non-empty values of each record, without identifiers. After a sync these must be equal on both sides.
    [[nodiscard]] static std::multiset<FakeValues> contents(const FakeStore& store);
    // Expects that both sides hold the same values, no call came out of order, and another run writes nothing.
    void expectInStep();
    // Returns the fakes' log lines for the writes of the last run.
    [[nodiscard]] std::vector<std::string> writes();
    [[nodiscard]] std::string logText() const;
    // Returns what the last run added to logText().
    [[nodiscard]] std::string lastLog() const { return logText().substr(logBefore_); }
    TestFolder folder;

private:
    HRESULT run(VARIANT_BOOL silent);
    void beginRun();
    static HRESULT createObject(REFCLSID clsid, REFIID riid, void** out);
    std::shared_ptr<CallLog> log_ = std::make_shared<CallLog>();
    std::shared_ptr<FakeStore> stores_[2];
    GUID classes_[2];
    std::optional<RegisteredFake> fakes_[2];
    com::Ptr<EventSinkFake> sink_;
    com::Ptr<ISynchronizer> synchronizer_;
    com::Ptr<IConnectionPoint> point_;
    DWORD advised_ = 0;
    std::size_t logBefore_ = 0; // the size of the engine's log when the last run began
    GUID map_{};
};

} // namespace mbtest
