#include "engine/RecordIndex.h"

#include "foundation/FieldValue.h"
#include "text.h"

namespace mb {
namespace {

// Keys are joined by a character that no store of contacts holds.
template <class... Parts> std::u16string joined(std::u16string_view first, const Parts&... parts)
{
    std::u16string key(first);
    ((key += u'\x1f', key += parts), ...);
    return key;
}

bool isQuoted(std::u16string_view id) { return id.find(u'"') != std::u16string_view::npos; }

} // namespace

bool RecordIndex::create() { return static_cast<bool>(document_.create("Records")); }

void RecordIndex::AddToRecordIndex(std::u16string_view id, std::u16string_view lastName, std::u16string_view firstName,
                                   std::u16string_view email, std::u16string_view digest)
{
    Entry entry{std::u16string(id), {}, EscapeQuotes(lastName), EscapeQuotes(firstName), EscapeQuotes(email), std::u16string(digest), {}};
    entry.element = document_.root().appendChild("Record");
    entry.element.setAttribute("ID", platform::utf8(entry.id));
    entry.element.setAttribute("MappedID", "");
    entry.element.setAttribute("LastName", platform::utf8(entry.lastName));
    entry.element.setAttribute("FirstName", platform::utf8(entry.firstName));
    entry.element.setAttribute("Email", platform::utf8(entry.email));
    entry.element.appendChild("Value").setText(platform::utf8(entry.digest));

    const std::size_t position = entries_.size();
    if (entry.lastName.empty() && entry.firstName.empty() && entry.email.empty()) byContent_[entry.digest].positions.push_back(position);
    byId_.try_emplace(entry.id, position);
    byNameContent_[joined(entry.lastName, entry.firstName, entry.digest)].positions.push_back(position);
    byEmailContent_[joined(entry.lastName, entry.email, entry.digest)].positions.push_back(position);
    byNameEmail_[joined(entry.lastName, entry.firstName, entry.email)].positions.push_back(position);
    byName_[joined(entry.lastName, entry.firstName)].positions.push_back(position);
    byEmail_[joined(entry.lastName, entry.email)].positions.push_back(position);
    entries_.push_back(std::move(entry));
}

std::size_t RecordIndex::positionOf(const platform::XmlElement& element) const
{
    std::size_t position = 0;
    while (position < entries_.size() && entries_[position].element != element) ++position;
    return position;
}

void RecordIndex::MarkRecordMapped(const std::u16string& id, const std::u16string& mappedId)
{
    std::size_t position = entries_.size();
    if (isQuoted(id)) {
        const auto element = document_.root().selectFirst("Record[@ID=\"" + platform::utf8(id) + "\"]");
        if (element) position = positionOf(element);
    } else if (const auto at = byId_.find(id); at != byId_.end()) {
        position = at->second;
    }
    if (position == entries_.size()) return;
    entries_[position].mappedId = mappedId;
    entries_[position].element.setAttribute("MappedID", platform::utf8(mappedId));
}

std::vector<std::size_t> RecordIndex::open() const
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (entries_[i].mappedId.empty()) found.push_back(i);
    return found;
}

RecordIndex::Found RecordIndex::openOf(Buckets& buckets, const std::u16string& key)
{
    const auto at = buckets.find(key);
    if (at == buckets.end()) return {};
    Bucket& bucket = at->second;
    while (bucket.front < bucket.positions.size() && !isOpen(bucket.positions[bucket.front])) ++bucket.front;
    return std::span(bucket.positions).subspan(bucket.front);
}

RecordIndex::Found RecordIndex::withContentAlone(std::u16string_view digest) { return openOf(byContent_, std::u16string(digest)); }

RecordIndex::Found RecordIndex::withNameAndContent(std::u16string_view last, std::u16string_view first, std::u16string_view digest)
{
    return openOf(byNameContent_, joined(last, first, digest));
}

RecordIndex::Found RecordIndex::withEmailAndContent(std::u16string_view last, std::u16string_view email, std::u16string_view digest)
{
    return openOf(byEmailContent_, joined(last, email, digest));
}

RecordIndex::Found RecordIndex::withNameAndEmail(std::u16string_view last, std::u16string_view first, std::u16string_view email)
{
    return openOf(byNameEmail_, joined(last, first, email));
}

RecordIndex::Found RecordIndex::withName(std::u16string_view last, std::u16string_view first)
{
    return openOf(byName_, joined(last, first));
}
RecordIndex::Found RecordIndex::withEmail(std::u16string_view last, std::u16string_view email)
{
    return openOf(byEmail_, joined(last, email));
}

} // namespace mb
