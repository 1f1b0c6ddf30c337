// A map of two fake stores, used through the interfaces as a host does: edit both sides, sync, compare.
#pragma once
#include "FakeTranslator.h"
#include "MapScenario.h"

#include <set>

namespace mbtest {

inline constexpr GUID fakeClass1{0xFA4E0001, 0x1111, 0x4111, {0x81, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11}};
inline constexpr GUID fakeClass2{0xFA4E0002, 0x2222, 0x4222, {0x82, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22, 0x22}};

class SyncScenario : public MapScenario {
public:
    // The classes under which the two fakes are registered.
    explicit SyncScenario(const GUID& class1 = fakeClass1, const GUID& class2 = fakeClass2);
    ~SyncScenario() override;

    FakeStore& one() { return *stores_[0]; }
    FakeStore& two() { return *stores_[1]; }
    CallLog& log() { return *log_; }
    EventSinkFake& sink() { return *sink_.get(); }

    // Replaces the field map's entries, as a user does. Each pair is a field type of side 1 and a field type of side 2.
    void pairFields(const std::vector<std::pair<LONG, LONG>>& types);
    // The same, for a map that was made when the stores had no other fields.
    void pairFieldsOfOldMap(const std::vector<std::pair<LONG, LONG>>& types);
    // Returns the field map's entries as pairs of field types.
    [[nodiscard]] std::vector<std::pair<LONG, LONG>> pairedFields();
    GUID fieldMapId();
    // Adds an entry to the field map.
    void mapFields(LONG type1, LONG type2);
    // Returns the history's value of a record's field, as a host gets it; "<none>" if there is none.
    [[nodiscard]] std::u16string remembered(_TransIds side, const std::u16string& id, LONG type);
    // Returns the records of a side in the history, in the order of the file.
    [[nodiscard]] std::vector<std::u16string> rememberedRecords(_TransIds side);

    // Returns the non-empty values of each record, without identifiers. After a sync these must be equal on both sides.
    [[nodiscard]] static std::multiset<FakeValues> contents(const FakeStore& store);
    // Expects that both sides hold the same values, no call came out of order, and another run writes nothing.
    void expectInStep();
    // Returns the fakes' log lines for the writes of the last run.
    [[nodiscard]] std::vector<std::string> writes();
    [[nodiscard]] std::string logText() const;
    // Returns what the last run added to logText().
    [[nodiscard]] std::string lastLog() const { return logText().substr(logBefore_); }

private:
    void beginRun() override;
    std::shared_ptr<CallLog> log_ = std::make_shared<CallLog>();
    std::shared_ptr<FakeStore> stores_[2];
    std::optional<RegisteredFake> fakes_[2];
    com::Ptr<EventSinkFake> sink_;
    com::Ptr<IConnectionPoint> point_;
    DWORD advised_ = 0;
    std::size_t logBefore_ = 0; // the size of the engine's log when the last run began
};

} // namespace mbtest
