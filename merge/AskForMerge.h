// Asks the user to merge two versions of a contact, in the terminal or in a window: the build links one of the two.
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

// Sets `merged` of every field: a field with two equal values keeps the value, the user is asked about the others. Returns false if the
// user gave up or nobody can answer; `merged` is then undefined.
bool AskForMerge(MergeQuestion& question);

} // namespace mb::merge
