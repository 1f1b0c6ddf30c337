// The state of one pass over a map: what its stages share. It is created when the pass begins and destroyed when the pass ends.
// A member in UpperCamel keeps the established name of a state variable; every other member is in lowerCamel. This holds for all structs of
// the engine.
#pragma once
#include "engine/IdentifierSet.h"
#include "engine/RunState.h"
#include "engine/StoreClient.h"
#include "store/CSyncHistory.h"
#include <algorithm>
#include <optional>
#include <set>
#include <span>
#include <unordered_set>

namespace mb {

// Case-sensitive. The views point into the history lists, which do not change while tasks are made of them.
using ExactIdentifiers = std::unordered_set<std::u16string_view>;

// A known record that the scan could not compare with the history, wholly or in some fields. It keeps its stored date and the stored
// values of those fields, so that the next run compares it again.
struct UnreadRecord {
    HistoryEntry* entry = nullptr;
    bool all = false;         // nothing was compared: the date could not be read
    std::vector<LONG> fields; // the types of the fields that could not be read
};

// A new record that the search for duplicates could not read. The last name is in lower case; nullopt if it could not be read either.
struct UnreadableRecord {
    Side side;
    std::u16string id;
    std::optional<std::u16string> lastName;
};

// A kind of picture, which a record has in its image field or in lines of details.
struct PictureKind {
    LONG type = 0;                         // of the image field
    std::u16string_view property{};        // of the lines
    PerSide<std::optional<GUID>> fields{}; // of a store that has the field
    bool isPair = false;                   // the map pairs the two fields
    bool travels = true;                   // lines of the kind
};

// The records of a side by the keys of their UIDs: see engine/details/References.h.
struct RecordsByUid {
    std::map<std::u16string, std::u16string> ids;
    bool complete = true; // the UID of each record could be read
};

struct PassSide {
    // The store client must outlive the pass.
    explicit PassSide(StoreClient& client, com::Ptr<ITrServices> sideServices = {}) : store(client), services(std::move(sideServices)) {}
    PassSide(const PassSide&) = delete;
    PassSide& operator=(const PassSide&) = delete;
    ~PassSide() = default;

    StoreClient& store;
    com::Ptr<ITrServices> services;
    std::vector<HistoryEntry> historyList;                // in the order of the history file
    TaskList tasks;                                       // what is decided about this side's records, until the plans are made
    IdentifierSet found;                                  // the known records that the store has
    ExactIdentifiers missing;                             // the known records that the store does not have
    com::TaskArray<GUID> fields;                          // the mapped fields; entry i goes with entry i of the other side
    std::map<std::u16string, UnreadRecord> unread;        // by identifier
    std::set<std::pair<std::u16string, LONG>> lostImages; // record and type: images that give way to a picture of the other side
    std::vector<std::u16string> missingOnBoth;            // known records that neither side has any more
    std::vector<std::u16string> historyRemovals;          // records whose history link is dropped before records are written
    std::unordered_set<std::u16string> renamingUnknown;   // known records that the store may have renamed: it could not tell
    LONG recordCount = -1;                                // of the store, when it was scanned
    bool listsAll = false;                                // the store listed as many identifiers as it counted
    bool hasAdditions = false;                            // the scan found a new record
    std::optional<GUID> kind;                             // the store's field of ftKind, mapped or not
    std::optional<RecordsByUid> recordsByUid;             // once a reference was looked up
    bool kindsUnread = false;                             // the kind of some linked record could not be read
    std::set<std::u16string> leftOut;                     // records that take no part in this run: see engine/SeparateGroups.h
    std::set<std::u16string> groupCopies;                 // those of them that take no part in any later run either
    bool hasDeletions = false;                            // a decision deleted a record of this side, even if a later one took that back

    // The type of the i-th mapped field; nullopt where the translator cannot tell. It is asked once; a question that failed is asked again.
    std::optional<LONG> fieldType(std::size_t i);
    // Removes one of `count` mapped fields; those behind it move up.
    void removeField(std::size_t i, std::size_t count);

private:
    std::vector<std::optional<LONG>> types_;
};

// A pair that the map lacks and gets in this run: see OfferFields.
struct OfferedPair {
    LONG type;
    PerSide<GUID> fields;
};

struct PipelinePass {
    RunState& run;
    PerSide<PassSide> sides;
    LONG FieldCount = 0;
    PerSide<bool> send{true, true};          // this side's records go to the other side: this side is scanned, and the other one written
    bool FirstSync = false;                  // the map has no usable history
    bool HasHistory = true;                  // at least one side has history entries
    FieldTypeMap fieldTypes{};               // for each mapped pair, the type on side 1 to the type on side 2
    FieldTypeMap fieldTypesBack{};           // the type on side 2 to the type on side 1; for annotations in details alone
    std::optional<PerSide<GUID>> details{};  // the mapped pair of details, which is none of the pairs in `sides`
    std::vector<PictureKind> pictureKinds{}; // empty until they are asked for
    bool detailsUnread = false;              // details of some record could not be read
    bool kindsTravel = false;                // the map pairs the kinds of both sides; each then has a kind
    std::vector<OfferedPair> offered{};
    std::vector<std::u16string> UnverifiedRecords{}; // left out because they are not verified
    std::vector<UnreadableRecord> unreadable{};

    [[nodiscard]] PassSide& side(Side which) noexcept { return sides[which]; }
    [[nodiscard]] std::span<const GUID> fields(Side which) const noexcept
    {
        return {sides[which].fields.data(), static_cast<std::size_t>(FieldCount)};
    }
    [[nodiscard]] bool isOffered(LONG type) const noexcept
    {
        return std::any_of(offered.begin(), offered.end(), [type](const OfferedPair& pair) { return pair.type == type; });
    }
    // Adds a pair behind the mapped fields.
    void addFields(const PerSide<GUID>& pair);
    // Takes the pair of details out of the mapped fields.
    void separateDetails();
    // Finds the field of each store that tells the kind of a record. Requires: the mapped fields are loaded.
    void findKinds();
    // Asks both translators for the types of the mapped pairs, unless they are known already. A pair without a type is left out.
    void fillFieldTypes();
};

} // namespace mb
