// The result of a merge, one text for each label, and how it changes the change maps of a conflict.
#pragma once
#include "store/FieldData.h"
#include <map>
#include <string>
#include <string_view>

namespace mb {

using MergedFields = std::map<std::u16string, std::u16string, std::less<>>;

// Parses alternating labels and values, separated by tabs. A last label without a value gets an empty one.
MergedFields ParseMergedFields(std::u16string_view text);

// One field: the present value of each side, and the merged value.
struct MergedField {
    LONG type1 = 0, type2 = 0;
    std::u16string value1, value2, merged;
};

// `changes1` is written to side 2, `changes2` to side 1. A side that already holds the merged value receives nothing.
void ApplyMergedField(const MergedField& field, FieldValueMap& changes1, FieldValueMap& changes2);

// One image after an accepted merge.
struct MergedImage {
    LONG type1 = 0, type2 = 0;         // the field type of the image on each side
    LONG sizeType1 = 0, sizeType2 = 0; // the field type of its size
    std::u16string chosen, file1;      // paths of the image that the user chose, and of the image of side 1
};
void SettleMergedImage(const MergedImage& image, FieldValueMap& changes1, FieldValueMap& changes2);

} // namespace mb
