#include "DetailsText.h"
#include "FieldTable.h"

#include <gtest/gtest.h>
#include <map>

namespace mb::vcard {

// A card file knows the fields of an annotation from DetailsText alone.
TEST(SlotFields, AreThoseOfTheAnnotationThatTheSlotNames)
{
    std::map<int, std::vector<int>> slots;
    for (const Field& field : fields()) slots[field.slot].push_back(field.type);
    ASSERT_FALSE(slots.empty());
    for (const auto& [slot, types] : slots)
        EXPECT_EQ(plugin::fieldsOfAnnotation(firstField(static_cast<std::size_t>(slot)).type), types) << slot;
}

} // namespace mb::vcard
