// A contact store in memory. The test owns it; it outlives the translator objects that the engine creates over it.
#pragma once
#include "interfaces.h"
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace mbtest {

struct FakeField {
    LONG type; // 0 for a dynamic field, whose type is known after LoadDynamicFields
    std::u16string name;
    ULONG flags = 0;
    ULONG maxLength = 0;
    LONG dataType = dtString;
    LONG dynamicId = 0; // the store's own number of a dynamic field, from 1
    // The key of the field's value in a record: the type, or the negative number of a dynamic field.
    [[nodiscard]] LONG key() const noexcept { return dynamicId ? -dynamicId : type; }
};

// The values of a record, by FakeField::key. An image is stored as the bytes of a bitmap; with capBMPFile or capJPEGFile as the path of a
// file.
using FakeValues = std::map<LONG, std::u16string>;

struct FakeRecord {
    FakeValues values;
    DATE created = 0, modified = 0;
    bool verified = true;
};

using FakeRecords = std::map<std::u16string, FakeRecord, std::less<>>; // by identifier

// What the translator offers besides ITranslator, and how it behaves.
struct FakeOptions {
    bool fieldList = true, field = true, info = true, infoEx = false, updater = false, categories = false, dynamicFields = false,
         validator = false, images = false, userAccess = false, setUp = true, matcher = false, verifier = true, duplicates = false,
         test = false;
    bool installed = true;    // if false, the class has no ITranslator, as if its plug-in were missing
    bool hashesFiles = false; // details are given with hashes of embedded files; hashes of files that a record holds are understood
    bool givesFiles = true;   // if false, whole details cannot be read
    bool dates = true;        // if false, GetModifiedDate returns 0
    bool batches = true;      // if false, BeginUpdate and EndUpdate return E_NOTIMPL
    bool newIdOnSave = false; // SaveRecord gives an edited record a new identifier
    bool newIdOnAdd = false;  // SaveRecord gives an added record another identifier than BeginAddRecord did
    bool canRead = true, canWrite = true, available = true, matches = true;
    ULONG caps = capTimestamps | capRecordGUIDs;
    std::u16string database, shortName = u"Fake", longName = u"Fake store", description = u"A store of the tests";
    std::u16string errorMessage1, errorMessage2;
    std::u16string leavesOut; // reported through ITranslatorReport each time the translator is opened
    std::u16string notes;     // reported through ITranslatorNotes each time the translator is opened
    std::optional<LONG> errorCode;
    // Makes the n-th identifier of the store, counted from 1. Without it, identifiers are the prefix and six digits.
    std::function<std::u16string(int)> makeId;
    // Called on each text that is saved, to fake a store that rewrites values.
    std::function<std::u16string(LONG, const std::u16string&)> rewrite;
    std::map<std::u16string, std::u16string> changedIds;  // for IRecordUpdater: former to new identifier
    std::map<std::u16string, HRESULT> unansweredIds;      // for IRecordUpdater: identifiers for which it fails, and the code
    std::map<std::u16string, std::u16string> duplicateOf; // for IDuplicateFinder: record of the other store to record of this store
    std::set<LONG> unreadable, unwritable;                // keys of fields that ReadField and WriteField refuse
    std::filesystem::path imageFolder;                    // the folder of the image files, for capBMPFile and capJPEGFile
};

// The key in FakeOptions::unreadable of the whole details.
inline constexpr LONG fakeWholeDetails = 1999;

// The details as a store that hashes files gives them.
std::u16string withHashes(std::u16string_view details);
// The reverse, with the files that `held` has. A hash of no such file is left out.
std::u16string withFiles(std::u16string_view details, std::u16string_view held);

class FakeStore {
public:
    explicit FakeStore(std::u16string idPrefix);

    FakeOptions options;
    std::vector<FakeField> fields; // at first a usual set of text fields
    FakeRecords records, categories;
    std::vector<std::u16string> order, categoryOrder; // identifiers in insertion order

    std::u16string add(FakeValues values) { return add(newId(), std::move(values)); }
    std::u16string add(std::u16string id, FakeValues values);
    void set(const std::u16string& id, LONG key, std::u16string text);
    void remove(std::u16string_view id) { erase(false, id); }
    void touch(const std::u16string& id) { records.at(id).modified = tick(); }
    [[nodiscard]] std::u16string get(std::u16string_view id, LONG key) const;
    [[nodiscard]] bool has(std::u16string_view id) const { return records.find(id) != records.end(); }
    std::u16string addCategory(std::u16string name);
    // Adds two image fields in one of the three forms.
    void addImageFields(ULONG form = capDIBImage);
    void addDetailsField() { fields.push_back({ftDetails, u"Details"}); }
    // Returns the key of the field's values.
    LONG addDynamicField(std::u16string name);

    // Returns the date of the next change, later than all dates before.
    DATE tick() { return clock_ += 1.0 / 1024; }
    std::u16string newId();
    [[nodiscard]] GUID guidOf(LONG type) const { return guid(static_cast<std::uint16_t>(type)); }
    [[nodiscard]] GUID guidOf(const FakeField& field) const;
    [[nodiscard]] const FakeField* fieldOf(const GUID& guid) const;

    // The changes that a translator makes, to the records or to the categories.
    void put(bool ofCategories, const std::u16string& id, FakeValues changes);
    void rename(bool ofCategories, const std::u16string& id, const std::u16string& newId);
    void erase(bool ofCategories, std::u16string_view id);

private:
    [[nodiscard]] GUID guid(std::uint16_t part) const;

    std::u16string prefix_;
    int next_ = 1;
    DATE clock_ = 46000.0;
};

} // namespace mbtest
