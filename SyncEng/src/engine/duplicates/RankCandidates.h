// Which of some new records of side 1 is the same person as a new record of side 2, by the values that the search has read.
#pragma once
#include "engine/duplicates/MatchRows.h"

namespace mb {

// The keys of the record of side 2 as the search holds them.
struct MatchKeys {
    std::u16string lastName, firstName, email;
};

// The identifier of the best candidate, and the differences of the two in their Changes; none if no candidate will do.
std::optional<std::u16string> RankCandidates(PipelinePass& pass, const std::u16string& id2, const MatchKeys& keys,
                                             const std::vector<std::u16string>& candidateIds, const MatchRows& rows);

} // namespace mb
