#include "CardStorage.h"

#include "Charset.h"

namespace mb::vcard {

std::string shown(const std::string& id, const Card& card)
{
    std::u16string name = card.get(kDisplayNameField);
    if (name.empty()) name = card.composedName();
    return "The card \"" + id + "\"" + (name.empty() ? "" : " (" + toUtf8(name.substr(0, 100)) + ")");
}

void requireReadBack(const OpenedCards& cards, const StoredCard& record, FileText::Form form)
{
    const bool wide = form == FileText::Form::Utf16Little || form == FileText::Form::Utf16Big; // UTF-16 can only contain valid text
    if (record.card.readsBackFrom(record.bytes) && (!wide || isUtf8(record.bytes))) return;
    throw StoreError(Step::Save, shown(record.id, record.card) + " is not written to " + cards.folder->pathOf(cards.singleFile) +
                                     ": it would not read back unchanged. The file is left as it is.");
}

} // namespace mb::vcard
