// A contact store in memory, owned by the test: it outlives the translator objects that the engine makes of it.
#pragma once
#include "interfaces.h"
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace mbtest {

struct FakeField {
    LONG type;
    std::u16string name;
    ULONG flags = 0;
    ULONG maxLength = 0;
};

using FakeValues = std::map<LONG, std::u16string>; // by field type; images as their bytes in the units of a text

struct FakeRecord {
    FakeValues values;
    DATE created = 0, modified = 0;
    bool verified = true;
};

// What the translator offers besides ITranslator, and how it behaves.
struct FakeOptions {
    bool fieldList = true, field = true, info = true, infoEx = false, updater = false, categories = false, dynamicFields = false,
         validator = false, images = false, userAccess = false, setUp = true, verifier = true, duplicates = false;
    bool dates = true;        // GetModifiedDate answers; else 0
    bool batches = true;      // else BeginUpdate and EndUpdate answer E_NOTIMPL
    bool newIdOnSave = false; // SaveRecord gives a new identifier to an edited record
    bool canWrite = true;
    ULONG caps = capTimestamps | capRecordGUIDs;
    std::u16string database, shortName = u"Fake", longName = u"Fake store";
    std::u16string errorMessage1, errorMessage2;
    std::optional<LONG> errorCode;
    // Called on each text as it is saved: a store that rewrites values.
    std::function<std::u16string(LONG, const std::u16string&)> rewrite;
    std::map<std::u16string, std::u16string> changedIds; // what IRecordUpdater tells
};

class FakeStore {
public:
    explicit FakeStore(std::u16string idPrefix);

    FakeOptions options;
    std::vector<FakeField> fields; // a usual set of text fields; tests may change it
    std::vector<std::u16string> order;
    std::unordered_map<std::u16string, FakeRecord> records;
    std::vector<std::u16string> categoryOrder;
    std::unordered_map<std::u16string, FakeRecord> categories;

    std::u16string add(FakeValues values);
    void set(const std::u16string& id, LONG type, std::u16string text);
    void remove(const std::u16string& id);
    void touch(const std::u16string& id) { records.at(id).modified = tick(); }
    [[nodiscard]] std::u16string get(const std::u16string& id, LONG type) const;
    [[nodiscard]] bool has(const std::u16string& id) const { return records.contains(id); }
    std::u16string addCategory(std::u16string name);

    // Each change is later than the one before.
    DATE tick() { return clock_ += 1.0 / 1024; }
    std::u16string newId() { return prefix_ + number(next_++); }
    [[nodiscard]] GUID guidOf(LONG type) const;
    [[nodiscard]] const FakeField* fieldOf(const GUID& guid) const;

private:
    static std::u16string number(int n);
    std::u16string prefix_;
    int next_ = 1;
    DATE clock_ = 46000.0;
};

} // namespace mbtest
