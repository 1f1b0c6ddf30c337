// The details of the cards, which are read only on request.
#include "CardFile.h"

#include "DetailsBytes.h"
#include "DetailsText.h"
#include "text.h"
#include <algorithm>

namespace mb::cardfile {
namespace {

constexpr int firstName = 2, lastName = 4, company = 7, displayName = 79;

} // namespace

using plugin::Step;

std::u16string CardFile::storedDetails(const Open& record, Step step) const
{
    if (record.isNew) return {};
    return guarded(step, [&] {
        readDetails_.bind(1, record.key);
        Rows rows(readDetails_);
        std::u16string text = rows.next() ? platform::utf16(readDetails_.text(0)) : std::u16string();
        requireSnapshot(step);
        return text;
    });
}

bool CardFile::isEmptyIn(const Open& record, int type, Step step) const
{
    return valueIn(record, type).empty() && sizeOfImage(record, type, step) == 0;
}

std::u16string CardFile::currentDetails(const Open& record, Step step) const
{
    const auto changed = record.changes.find(plugin::kDetailsField);
    const std::u16string text = changed == record.changes.end() ? storedDetails(record, step) : changed->second;
    return plugin::withoutAnnotations(text, [&](int field) {
        const std::vector<int> fields = plugin::fieldsOfAnnotation(field);
        return std::all_of(fields.begin(), fields.end(), [&](int type) { return isEmptyIn(record, type, step); });
    });
}

std::u16string CardFile::readWholeDetails(const std::string& id) { return currentDetails(openFor(id), Step::ReadField); }

void CardFile::writeDetails(Open& record, std::u16string_view text)
{
    const std::string held = platform::utf8(storedDetails(record, Step::WriteField));
    std::u16string whole = platform::utf16(plugin::wholeDetails(platform::utf8(plugin::cleanedDetails(text)), held));
    for (const std::u16string_view each : {text, std::u16string_view(whole)})
        if (const std::string refusal = plugin::detailsRefusal(each, nameOf(record)); !refusal.empty())
            throw plugin::StoreError(Step::WriteField, refusal);
    record.changes[plugin::kDetailsField] = std::move(whole);
}

// An annotation that stayed would come back with a later value of its field.
void CardFile::settleDetails(Open& record) const
{
    const bool written = record.changes.contains(plugin::kDetailsField);
    const bool emptied =
        std::any_of(record.changes.begin(), record.changes.end(), [](const auto& change) { return change.second.empty(); }) ||
        std::any_of(record.images.begin(), record.images.end(), [](const auto& image) { return image.second.empty(); });
    if (!written && !emptied) return;
    std::u16string text = currentDetails(record, Step::Save);
    if (text == storedDetails(record, Step::Save))
        record.changes.erase(plugin::kDetailsField);
    else
        record.changes[plugin::kDetailsField] = std::move(text);
}

// Returns the card's name for a message, or its identifier.
std::string CardFile::nameOf(const Open& record)
{
    std::u16string whole = valueIn(record, firstName);
    const std::u16string last = valueIn(record, lastName);
    if (!whole.empty() && !last.empty()) whole += u' ';
    whole += last;
    for (const std::u16string& name : {valueIn(record, displayName), whole, valueIn(record, company)})
        if (!name.empty()) return platform::utf8(name);
    return record.id;
}

} // namespace mb::cardfile
