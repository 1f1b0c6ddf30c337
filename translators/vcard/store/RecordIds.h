// The identifiers of a store's records, in the order of the index, and how known records are found again.
//
// Two changes between runs need care:
// - Another program renames a file. The card is found by the UID in its identifier.
// - A card arrives whose identifier differs from another one only in case. The engine ignores case, so one of the two identifiers gets a
//   mark appended.
//
// Both depend on which identifiers the caller knows. Requires: updatedId() is called for all known identifiers before any other record is
// asked for. Its answers are final when it is called for all of them a second time.
#pragma once
#include "IdTable.h"
#include "OpenedCards.h"
#include "StoreError.h"

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace mb::vcard {

class RecordIds {
public:
    explicit RecordIds(const OpenedCards& cards); // `cards` must outlive this object

    std::size_t count() const { return table_.count(); }
    const std::string& at(std::size_t index) const { return table_.at(index); } // requires: index < count()
    bool exists(const std::string& id) const;                                   // also true if the file of the record cannot be parsed
    std::string updatedId(const std::string& id);
    bool contains(const std::string& id) const { return find(id) != nullptr; }
    // Throws a StoreError if there is no such card. The file at the place may be bad.
    Place placeOf(const std::string& id, Step step) const;

    // Returns whether a card of the store, or of a file that cannot be read, has the UID. Ignores case, as identifiers do.
    bool hasUid(const std::string& token) const;

    void add(const std::string& id, const Place& place);
    void remove(const std::string& id);
    void list(); // again, after the index changed

private:
    using Listed = std::vector<std::pair<std::string, Place>>;
    using IdSet = std::unordered_set<std::string>;
    const Place* find(const std::string& id) const; // null if there is none
    void makeDistinct(Listed& listed, const IdSet& known);
    bool isKnown(const std::string& id) const;
    bool isOfKnownCard(const std::string& uid) const;
    std::optional<Place> badFileOf(const std::string& id) const;
    void remember(const std::string& id);
    void indexUids() const;
    std::vector<std::string> newCardsOf(const std::string& id) const;
    using Names = std::unordered_map<std::string, std::string>; // identifier of a file's only or first card, by file name
    Names::const_iterator inOtherCase(const std::string& name) const;
    std::optional<std::string> changedInPlace(const std::string& id) const;

    const OpenedCards& cards_;
    IdTable table_;
    std::unordered_map<std::string, Place> bad_; // of files that cannot be read: they can be found but are not listed
    IdSet knownElsewhere_;                       // identifiers that the caller knows and that table_ does not have
    mutable std::optional<IdSet> knownUids_;     // of all known identifiers; nullopt until they are asked for
    IdSet ambiguous_;                            // case-folded identifiers that more than one card has
    IdSet marks_;                                // identifiers to which this object appended a mark
    bool anyMarkKnown_ = false;
    mutable bool uidsIndexed_ = false;
    mutable std::unordered_map<std::string, std::vector<std::string>> byUid_; // identifiers by UID
    mutable Names byName_;
    mutable std::optional<IdSet> uids_; // case-folded tokens of all cards; nullopt until it is asked for
};

} // namespace mb::vcard
