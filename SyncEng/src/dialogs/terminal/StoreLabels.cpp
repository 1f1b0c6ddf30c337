#include "dialogs/terminal/StoreLabels.h"

#include "console_text.h"
#include "foundation/StoreNames.h"

namespace mb {
namespace {

constexpr std::size_t shortColumns = 16;

StoreLabel labelOf(const std::u16string& name, const std::u16string& database, const std::u16string& shortPlace)
{
    if (database.empty()) return {name, name};
    StoreLabel label{PlaceOf(database), shortPlace};
    if (platform::columnsOf(label.place) <= shortColumns) label.shortPlace = label.place;
    return label;
}

} // namespace

StoreLabels LabelStores(const std::u16string& name1, const std::u16string& database1, const std::u16string& name2,
                        const std::u16string& database2)
{
    const auto [short1, short2] = ShortPlaces(database1, database2);
    StoreLabels labels{labelOf(name1, database1, short1), labelOf(name2, database2, short2)};
    if (labels.one.place == labels.two.place) {
        labels.one.place += u" (first)";
        labels.two.place += u" (second)";
    }
    if (labels.one.shortPlace == labels.two.shortPlace) {
        labels.one.shortPlace = labels.one.place;
        labels.two.shortPlace = labels.two.place;
    }
    return labels;
}

} // namespace mb
