// How the user merges two versions of a contact: in the terminal, or in a window. The build chooses the one that is linked.
#pragma once
#include "com.h"
#include <string>
#include <vector>

namespace mb::merge {

struct MergeField {
    std::u16string label, value1, value2;
    std::u16string merged; // what the user decided
};

struct MergeQuestion {
    HWND parent = nullptr;
    std::u16string title, name1, name2; // the names of the two stores
    std::vector<MergeField> fields;
};

// Fills `merged` of every field: a field of two equal values keeps its value, each other one is asked about. False if the user gave up or
// nobody answers; `merged` then means nothing.
bool AskForMerge(MergeQuestion& question);

} // namespace mb::merge
