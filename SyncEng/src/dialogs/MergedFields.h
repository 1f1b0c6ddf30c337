// What came back from a merge: one text for each label, and how each decides what the two sides get.
#pragma once
#include "store/FieldData.h"
#include <map>
#include <string>
#include <string_view>

namespace mb {

using MergedFields = std::map<std::u16string, std::u16string, std::less<>>;

// Label, tab, value, tab, and so on; a last label without a value gets the text that remains.
MergedFields ParseMergedFields(std::u16string_view text);

// The values of one field: what each side holds now, and what the user made of them.
struct MergedField {
    LONG type1 = 0, type2 = 0;
    std::u16string value1, value2, merged;
};

// A side that holds the merged value already has nothing to receive.
void ApplyMergedField(const MergedField& field, FieldValueMap& changes1, FieldValueMap& changes2);

// The flags of an image after an accepted merge.
struct MergedImage {
    LONG type1 = 0, type2 = 0;         // the image's field on each side
    LONG sizeType1 = 0, sizeType2 = 0; // and that of its size
    std::u16string chosen, file1;      // the paths of what the user took, and of the image of side 1
};
void SettleMergedImage(const MergedImage& image, FieldValueMap& changes1, FieldValueMap& changes2);

} // namespace mb
