// Finds the record of a store that equals a record of another translator. Two records are equal if the letters and digits of every mapped
// text are the same, ignoring case, and if every mapped image is absent from both or has the same size. The engine links such a pair
// without writing a field; pairs that differ are left to its own search.
//
// The store's records are read once, at the first question, and only their hashes are kept. Requires: the store does not change, and no
// record of it is being read, between the first question and the end of this object.
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
    // The store must outlive this object. The known records are never named. Throws a com::Error of E_FAIL if no field is left to compare.
    EqualRecordFinder(RecordStore& store, std::vector<MappedField> fields, KnownRecords known);

    // The first record in the order of the store that equals the other translator's record and was not named before; none if there is no
    // such record. A record of the store that cannot be read is never named. Throws a com::Error with the result of a call of the other
    // translator that failed.
    std::optional<std::string> take(ITranslator* other, BSTR id);

private:
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    struct Entry {
        std::size_t position; // in the order of the store
        std::size_t next;     // the next entry of the same content, or none
    };

    void readStore();
    // Of a record of the store, whose key is added to the keys; none if the record cannot be read.
    std::optional<KeyedHash::Value> hashOf(const std::string& id);
    // Of a record of the other translator; none if no record of the store has the same key.
    [[nodiscard]] std::optional<KeyedHash::Value> hashOf(ITranslator* other, BSTR id) const;

    RecordStore& store_;
    std::vector<MappedField> fields_; // those of the key first
    std::size_t keyCount_ = 0;
    KnownRecords known_;
    bool storeRead_ = false;
    KeyedHash hash_;
    std::unordered_set<std::uint64_t> keys_; // hashes of the key fields, by which most records without a partner are told apart early
    std::vector<Entry> entries_;
    std::unordered_map<KeyedHash::Value, std::size_t, KeyedHash::Bucket> byContent_; // the first entry that was not named yet
};

} // namespace mb::plugin
