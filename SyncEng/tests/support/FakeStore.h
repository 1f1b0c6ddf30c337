// A contact store in memory, owned by the test: it outlives the translator objects that the engine makes of it.
// Every look-up is by hash, so that a store of many thousand records measures the engine and not itself.
#pragma once
#include "FakeValues.h"
#include "interfaces.h"
#include <array>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace mbtest {

struct FakeField {
    LONG type; // 0 for a dynamic field whose type is only known once it was loaded
    std::u16string name;
    ULONG flags = 0;
    ULONG maxLength = 0;
    LONG dataType = dtString;
    LONG dynamicId = 0; // the store's own number of a dynamic field, from 1
    // Under what a record keeps the value: the type, or for a dynamic field the number below zero.
    [[nodiscard]] LONG key() const noexcept { return dynamicId ? -dynamicId : type; }
};

struct FakeRecord {
    // By FakeField::key. An image is a bitmap's bytes in the units of the text, or with capBMPFile and capJPEGFile the path of a file.
    FakeValues values;
    DATE created = 0, modified = 0;
    bool verified = true;
};

struct FakeIdHash {
    using is_transparent = void;
    // Not noexcept: else the library thinks it cheap, keeps no hash with the records, and hashes a record's neighbours at each look-up.
    std::size_t operator()(std::u16string_view id) const { return std::hash<std::u16string_view>{}(id); }
};
// The library compares 16-bit texts unit by unit.
inline bool sameText(std::u16string_view a, std::u16string_view b) noexcept
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}
struct FakeIdEqual {
    using is_transparent = void;
    bool operator()(std::u16string_view a, std::u16string_view b) const noexcept { return sameText(a, b); }
};
using FakeRecords = std::unordered_map<std::u16string, FakeRecord, FakeIdHash, FakeIdEqual>;

// What the translator offers besides ITranslator, and how it behaves.
struct FakeOptions {
    bool fieldList = true, field = true, info = true, infoEx = false, updater = false, categories = false, dynamicFields = false,
         validator = false, images = false, userAccess = false, setUp = true, matcher = false, verifier = true, duplicates = false,
         test = false;
    bool installed = true;    // else the class gives no translator, as one whose plug-in is missing
    bool dates = true;        // GetModifiedDate answers; else 0
    bool batches = true;      // else BeginUpdate and EndUpdate answer E_NOTIMPL
    bool newIdOnSave = false; // SaveRecord gives a new identifier to an edited record
    bool newIdOnAdd = false;  // SaveRecord gives an added record another identifier than BeginAddRecord did
    bool canRead = true, canWrite = true, available = true, matches = true;
    ULONG caps = capTimestamps | capRecordGUIDs;
    std::u16string database, shortName = u"Fake", longName = u"Fake store", description = u"A store of the tests";
    std::u16string errorMessage1, errorMessage2;
    std::u16string leavesOut; // told through ITranslatorReport each time that the translator is started
    std::u16string notes;     // and this through ITranslatorNotes
    std::optional<LONG> errorCode;
    // The n-th identifier of the store, n from 1; without it the prefix and six digits.
    std::function<std::u16string(int)> makeId;
    // Called on each text as it is saved: a store that rewrites values.
    std::function<std::u16string(LONG, const std::u16string&)> rewrite;
    std::map<std::u16string, std::u16string> changedIds;  // what IRecordUpdater tells
    std::map<std::u16string, HRESULT> unansweredIds;      // for which IRecordUpdater fails, and how
    std::map<std::u16string, std::u16string> duplicateOf; // what IDuplicateFinder tells: a record of the other store, and one of this
    std::filesystem::path imageFolder;                    // where image files are kept, for capBMPFile and capJPEGFile
};

class FakeStore {
public:
    explicit FakeStore(std::u16string idPrefix);

    FakeOptions options;
    std::vector<FakeField> fields; // a usual set of text fields; tests may change it
    FakeRecords records, categories;
    std::vector<std::u16string> order, categoryOrder; // identifiers in the order in which the records came

    std::u16string add(FakeValues values) { return add(newId(), std::move(values)); }
    std::u16string add(std::u16string id, FakeValues values);
    void set(const std::u16string& id, LONG key, std::u16string text);
    void remove(std::u16string_view id);
    void touch(const std::u16string& id) { records.at(id).modified = tick(); }
    [[nodiscard]] std::u16string get(std::u16string_view id, LONG key) const;
    [[nodiscard]] bool has(std::u16string_view id) const { return records.find(id) != records.end(); }
    std::u16string addCategory(std::u16string name);
    // Two image fields in one of the three forms.
    void addImageFields(ULONG form = capDIBImage);
    // Gives the key of its values.
    LONG addDynamicField(std::u16string name);

    // Each change is later than the one before.
    DATE tick() { return clock_ += 1.0 / 1024; }
    std::u16string newId();
    [[nodiscard]] GUID guidOf(LONG type) const { return guid(static_cast<std::uint16_t>(type)); }
    [[nodiscard]] GUID guidOf(const FakeField& field) const;
    [[nodiscard]] const FakeField* fieldOf(const GUID& guid) const;

    // What a translator does to the list that its run works on.
    void put(bool ofCategories, const std::u16string& id, FakeValues changes);
    void rename(bool ofCategories, const std::u16string& id, const std::u16string& newId);
    void erase(bool ofCategories, std::u16string_view id);
    // Takes what was erased out of the lists, all at once: a run may erase many.
    void closeGaps();

private:
    [[nodiscard]] GUID guid(std::uint16_t part) const;

    mutable std::array<std::size_t, 128> hints_{}; // places in `fields`
    bool gaps_ = false;
    std::u16string prefix_;
    int next_ = 1;
    DATE clock_ = 46000.0;
};

} // namespace mbtest
