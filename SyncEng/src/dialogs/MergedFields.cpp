#include "dialogs/MergedFields.h"

#include "files.h"
#include "foundation/FieldValue.h"
#include <filesystem>

namespace mb {
namespace {

std::u16string_view takeToken(std::u16string_view& text)
{
    const std::size_t tab = text.find(u'\t');
    const std::u16string_view token = text.substr(0, tab);
    text.remove_prefix(tab == std::u16string_view::npos ? text.size() : tab + 1);
    return token;
}

std::uintmax_t sizeOfFile(const std::u16string& path)
{
    std::error_code error;
    const std::uintmax_t size = path.empty() ? 0 : std::filesystem::file_size(platform::pathOf(path), error);
    return error ? 0 : size;
}

} // namespace

MergedFields ParseMergedFields(std::u16string_view text)
{
    MergedFields fields;
    while (!text.empty()) {
        const std::u16string_view label = takeToken(text);
        fields[std::u16string(label)] = takeToken(text);
    }
    return fields;
}

void ApplyMergedField(const MergedField& field, FieldValueMap& changes1, FieldValueMap& changes2)
{
    const std::u16string merged = TrimFieldValue(field.merged);
    const bool as1 = merged == TrimFieldValue(field.value1), as2 = merged == TrimFieldValue(field.value2);
    // Quirk kept on purpose: here the value of side 2 is compared untrimmed.
    const bool only2 = !as1 && merged == field.value2;
    if (as1 && as2) {
        changes1.erase(field.type1);
        changes2.erase(field.type2);
    } else if (as1) {
        changes1[field.type1] = field.merged;
        changes2.erase(field.type2);
    } else if (only2) {
        changes2[field.type2] = field.merged;
        changes1.erase(field.type1);
    } else {
        changes1[field.type1] = field.merged;
        changes2[field.type2] = field.merged;
    }
}

void SettleMergedImage(const MergedImage& image, FieldValueMap& changes1, FieldValueMap& changes2)
{
    const auto flag1 = changes1.find(image.type1), flag2 = changes2.find(image.type2);
    if (flag1 == changes1.end() || flag2 == changes2.end() || !image.chosen.empty()) return;
    const bool has1 = flag1->second == u"1", gone1 = flag1->second == u"0", has2 = flag2->second == u"1", gone2 = flag2->second == u"0";
    if (gone1) { // Quirk kept on purpose: also if side 2 still has the image.
        changes2.erase(image.type2);
        changes1.erase(image.type1);
    } else if (has1 && gone2) {
        changes2.erase(image.type2);
    } else if (has1 && has2 && sizeOfFile(image.chosen) == sizeOfFile(image.file1)) {
        changes1.erase(image.type1);
        changes1.erase(image.sizeType1);
        changes2.erase(image.type2);
        changes2.erase(image.sizeType2);
    }
}

} // namespace mb
