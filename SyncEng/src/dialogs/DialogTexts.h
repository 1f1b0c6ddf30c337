// Texts that several dialogs share: names of stores and contacts, and values in cells.
#pragma once
#include "com.h"
#include "dialogs/TranslatorFields.h"
#include <string>

namespace mb {

std::u16string ShortNameOf(REFCLSID clsid);
// Returns `name`, or the translator's short name if it is empty.
std::u16string StoreNameOf(const std::u16string& name, REFCLSID clsid);

// Returns a value on one line, cut to 100 characters and an ellipsis if it is longer.
std::u16string CellText(std::u16string_view value);

struct ContactName {
    std::u16string first, last;
    [[nodiscard]] std::u16string joined() const;
    // As joined(), with each part cut to 20 characters.
    [[nodiscard]] std::u16string shortened() const;
    // Compares both parts, ignoring case.
    [[nodiscard]] bool sameAs(const ContactName& other) const;
};

// Reads the two name fields of a record; a part that cannot be read is empty.
ContactName ReadContactName(const TranslatorFields& fields, std::u16string_view recordId, LONG firstType, LONG lastType);

} // namespace mb
