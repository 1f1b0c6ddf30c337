// The texts that several dialogs form alike: names of stores and of contacts, and values as cells.
#pragma once
#include "com.h"
#include "dialogs/TranslatorFields.h"
#include <string>

namespace mb {

std::u16string ShortNameOf(REFCLSID clsid);
// What a run calls the store, or else its translator's short name.
std::u16string StoreNameOf(const std::u16string& name, REFCLSID clsid);

// A value as a cell: at most 100 characters and an ellipsis, on one line.
std::u16string CellText(std::u16string_view value);

struct ContactName {
    std::u16string first, last;
    [[nodiscard]] std::u16string joined() const;
    // Each part cut to what a message holds.
    [[nodiscard]] std::u16string shortened() const;
    // Ignoring case.
    [[nodiscard]] bool sameAs(const ContactName& other) const;
};

// The two names, by the types of their fields; what cannot be read is empty.
ContactName ReadContactName(const TranslatorFields& fields, std::u16string_view recordId, LONG firstType, LONG lastType);

} // namespace mb
