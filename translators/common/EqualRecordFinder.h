// Finds the record of a store that equals a record of another translator. Two records are equal if the letters and digits of every mapped
// text are the same, ignoring case, and every mapped image is absent from both or has the same size. The engine links such a pair without
// writing a field, and searches for partners of the other records itself.
//
// The store's records are read once, at the first call of take(), and only their hashes are kept. Requires: from then on the store does not
// change, and none of its records is being read, until this object is destroyed.
#pragma once
#include "KeyedHash.h"
#include "MappedFields.h"
#include "RecordStore.h"
#include "text.h"
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace mb::plugin {

using KnownRecords = std::unordered_set<std::u16string, platform::HashNoCase, platform::EqualNoCase>;

class EqualRecordFinder {
public:
    // The store must outlive this object. Known records are never returned. Throws a com::Error of E_FAIL if there is no text field to
    // compare.
    EqualRecordFinder(RecordStore& store, std::vector<MappedField> fields, KnownRecords known);

    // Returns the first record, in the order of the store, that equals the other translator's record and was not returned before; nullopt
    // for none. Records of the store that cannot be read are never returned. Throws a com::Error with the result of a failed call of the
    // other translator.
    std::optional<std::string> take(ITranslator* other, BSTR id);

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    struct Entry {
        std::size_t position; // in the order of the store
        std::size_t next;     // the next entry of the same content, or none
    };

    void readStore();
    // Hashes a record of the store and adds its key to keys_. Returns nullopt if the record cannot be read.
    std::optional<KeyedHash::Value> hashOf(const std::string& id);
    // Hashes a record of the other translator. Returns nullopt if no record of the store has the same key.
    [[nodiscard]] std::optional<KeyedHash::Value> hashOf(ITranslator* other, BSTR id) const;

    RecordStore& store_;
    std::vector<MappedField> fields_; // key fields first
    std::size_t keyCount_ = 0;
    KnownRecords known_;
    bool storeRead_ = false;
    KeyedHash hash_;
    std::unordered_set<std::uint64_t> keys_; // hashes of the key fields, which rule out most records without a partner early
    std::vector<Entry> entries_;
    std::unordered_map<KeyedHash::Value, std::size_t, KeyedHash::Bucket> byContent_; // the first entry that was not returned yet
};

} // namespace mb::plugin
