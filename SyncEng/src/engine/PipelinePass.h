// One pass of analysis and writing over a map: what its stages share, and what dies with it.
#pragma once
#include "engine/DescribeRecord.h"
#include "engine/RunState.h"
#include "engine/SeenIdentifiers.h"
#include "store/CSyncHistory.h"
#include <optional>
#include <span>
#include <unordered_set>

namespace mb {

// Texts of the history lists, which stay as they are while tasks are made of them.
using ExactIdentifiers = std::unordered_set<std::u16string_view>;

struct PassSide {
    com::Ptr<ITranslator> translator;
    com::Ptr<ITrServices> services;
    com::Ptr<IField> field;
    com::Ptr<IFieldList> fieldList;
    com::Ptr<IPIMUserAccess> access;
    std::vector<HistoryEntry> HistoryList; // in the order of the history file
    TaskList Tasks;                        // what is to be done because of this side's records, and deletions of them
    SeenIdentifiers Seen;                  // of the known records: those that were found
    ExactIdentifiers Gone;                 // and those that were not when asked for; another one may differ in case alone
    com::TaskArray<GUID> Fields;           // the mapped fields; entry i goes with entry i of the other side
    NameFields names;                      // where its records' names are, once they were looked for

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
    std::size_t TotalTasks = 0, DoneTasks = 0;

    [[nodiscard]] PassSide& side(Side which) noexcept { return sides[which]; }
    [[nodiscard]] std::span<const GUID> fields(Side which) const noexcept
    {
        return {sides[which].Fields.data(), static_cast<std::size_t>(FieldCount)};
    }
};

} // namespace mb
