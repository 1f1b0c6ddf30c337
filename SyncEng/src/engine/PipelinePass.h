// One pass of analysis and writing over a map: what its stages share, and what dies with it.
#pragma once
#include "engine/DescribeRecord.h"
#include "engine/RunState.h"
#include "engine/SeenIdentifiers.h"
#include "engine/StoreClient.h"
#include "store/CSyncHistory.h"
#include <optional>
#include <span>
#include <unordered_set>

namespace mb {

// Texts of the history lists, which stay as they are while tasks are made of them.
using ExactIdentifiers = std::unordered_set<std::u16string_view>;

// A known record that the scan could not compare with the history, wholly or in some fields. It keeps its stored date and the stored
// values of those fields, so that the next run looks again.
struct UnreadRecord {
    HistoryEntry* entry = nullptr;
    bool all = false;         // nothing was compared: the date could not be read
    std::vector<LONG> fields; // the types of the fields that could not be read
};

// A new record that the search for duplicates could not read. Its last name is lower-cased, nothing where not even that was read.
struct UnreadableRecord {
    Side side;
    std::u16string id;
    std::optional<std::u16string> lastName;
};

struct PassSide {
    StoreClient store;
    com::Ptr<ITrServices> services;
    std::vector<HistoryEntry> HistoryList;         // in the order of the history file
    TaskList Tasks;                                // what is to be done because of this side's records, and deletions of them
    SeenIdentifiers Seen;                          // of the known records: those that were found
    ExactIdentifiers Gone;                         // and those that were not when asked for; another one may differ in case alone
    com::TaskArray<GUID> Fields;                   // the mapped fields; entry i goes with entry i of the other side
    std::map<std::u16string, UnreadRecord> Unread; // by identifier
    // Known records of which the store could not tell whether it renamed them. Such a record may be there under another identifier.
    std::unordered_set<std::u16string> RenamingUnknown;
    LONG Counted = -1;      // records of the store when it was scanned
    bool ListedAll = false; // the scan was given as many identifiers as the store counted
    NameFields names;       // where its records' names are, once they were looked for

    // The type of the i-th mapped field, which the translator is asked once; a question that failed is asked again.
    HRESULT fieldType(std::size_t i, LONG& type);

private:
    std::vector<std::optional<LONG>> types_;
};

struct PipelinePass {
    RunState& run;
    PerSide<PassSide> sides;
    LONG FieldCount = 0;
    PerSide<bool> Send{true, true};                    // this side's records go to the other one; so it is scanned, and the other written
    bool FirstSync = false;                            // the map has no usable history
    bool HasHistory = true;                            // at least one side has history entries
    PerSide<std::vector<std::u16string>> GoneOnBoth{}; // each side's known records that neither side has any more
    std::vector<UnreadableRecord> Unreadable{};
    std::size_t TotalTasks = 0, DoneTasks = 0;

    [[nodiscard]] PassSide& side(Side which) noexcept { return sides[which]; }
    [[nodiscard]] std::span<const GUID> fields(Side which) const noexcept
    {
        return {sides[which].Fields.data(), static_cast<std::size_t>(FieldCount)};
    }
};

} // namespace mb
