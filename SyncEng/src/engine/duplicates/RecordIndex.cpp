#include "engine/duplicates/RecordIndex.h"

#include "foundation/FieldValue.h"
#include "text.h"
#include <algorithm>
#include <bit>
#include <functional>

namespace mb {
namespace {

using Keys = RecordIndex::Keys;
using Question = RecordIndex::Question;

constexpr std::string_view Keys::*allKeys[] = {&Keys::lastName, &Keys::firstName, &Keys::email, &Keys::digest};

// Which of the keys a question compares.
constexpr std::array<bool, 4> compared(Question question)
{
    switch (question) {
    case Question::ContentAlone: return {true, true, true, true};
    case Question::NameAndContent: return {true, true, false, true};
    case Question::EmailAndContent: return {true, false, true, true};
    case Question::NameAndEmail: return {true, true, true, false};
    case Question::Name: return {true, true, false, false};
    default: return {true, false, true, false};
    }
}

std::size_t hashOf(Question question, const Keys& keys)
{
    const auto asked = compared(question);
    std::size_t hash = 0;
    for (std::size_t i = 0; i < asked.size(); ++i)
        if (asked[i]) hash = hash * 0x9E3779B97F4A7C15u + std::hash<std::string_view>()(keys.*allKeys[i]);
    return hash ^ hash >> 32;
}

std::size_t hashOf(const std::u16string& id) { return std::hash<std::u16string>()(id); }

bool isQuoted(std::u16string_view id) { return id.find(u'"') != std::u16string_view::npos; }

} // namespace

bool RecordIndex::create() { return static_cast<bool>(document_.create("Records")); }

std::size_t RecordIndex::AddToRecordIndex(std::u16string_view id, std::u16string_view lastName, std::u16string_view firstName,
                                          std::u16string_view email, std::u16string_view digest)
{
    Entry entry{document_.root().appendChild("Record"), std::u16string(id), texts_.size(), {}};
    const std::string texts[] = {platform::utf8(EscapeQuotes(lastName)), platform::utf8(EscapeQuotes(firstName)),
                                 platform::utf8(EscapeQuotes(email)), platform::utf8(digest)};
    entry.element.setAttribute("ID", platform::utf8(id));
    entry.element.setAttribute("MappedID", "");
    entry.element.setAttribute("LastName", texts[0]);
    entry.element.setAttribute("FirstName", texts[1]);
    entry.element.setAttribute("Email", texts[2]);
    entry.element.appendChild("Value", texts[3]);
    for (std::size_t i = 0; i < entry.sizes.size(); ++i) {
        texts_ += texts[i];
        entry.sizes[i] = static_cast<std::uint32_t>(texts[i].size());
    }
    entries_.push_back(std::move(entry));
    tables_ = {};
    byId_ = {};
    return entries_.size() - 1;
}

RecordIndex::Keys RecordIndex::keys(std::size_t position) const
{
    const Entry& entry = entries_[position];
    Keys keys;
    std::size_t at = entry.at;
    for (std::size_t i = 0; i < entry.sizes.size(); ++i) {
        keys.*allKeys[i] = std::string_view(texts_).substr(at, entry.sizes[i]);
        at += entry.sizes[i];
    }
    return keys;
}

template <class HashOf> void RecordIndex::make(Table& table, HashOf&& hashOf) const
{
    table.heads.assign(std::bit_ceil(std::max<std::size_t>(16, entries_.size() * 2)), none);
    table.next.resize(entries_.size());
    for (std::size_t i = entries_.size(); i-- > 0;) {
        std::uint32_t& head = table.heads[hashOf(i) & (table.heads.size() - 1)];
        table.next[i] = head;
        head = static_cast<std::uint32_t>(i);
    }
}

std::uint32_t* RecordIndex::firstLink(Question question, const Keys& keys)
{
    Table& asked = table(question);
    if (asked.heads.empty()) make(asked, [&](std::size_t i) { return hashOf(question, this->keys(i)); });
    return &asked.heads[hashOf(question, keys) & (asked.heads.size() - 1)];
}

bool RecordIndex::answers(Question question, const Keys& keys, std::size_t position) const
{
    const auto asked = compared(question);
    const Keys own = this->keys(position);
    for (std::size_t i = 0; i < asked.size(); ++i)
        if (asked[i] && own.*allKeys[i] != keys.*allKeys[i]) return false;
    return true;
}

// The first record with the identifier; the number of records where there is none.
std::size_t RecordIndex::positionOf(const std::u16string& id)
{
    if (byId_.heads.empty()) make(byId_, [&](std::size_t i) { return hashOf(entries_[i].id); });
    std::uint32_t at = byId_.heads[hashOf(id) & (byId_.heads.size() - 1)];
    while (at != none && entries_[at].id != id) at = byId_.next[at];
    return at == none ? entries_.size() : at;
}

std::size_t RecordIndex::positionOf(const platform::XmlElement& element) const
{
    std::size_t position = 0;
    while (position < entries_.size() && entries_[position].element != element) ++position;
    return position;
}

void RecordIndex::MarkRecordMapped(const std::u16string& id, const std::u16string& mappedId)
{
    const std::size_t position =
        isQuoted(id) ? positionOf(document_.root().selectFirst("Record[@ID=\"" + platform::utf8(id) + "\"]")) : positionOf(id);
    if (position == entries_.size()) return;
    entries_[position].mapped = !mappedId.empty();
    entries_[position].element.setAttribute("MappedID", platform::utf8(mappedId));
}

std::vector<std::size_t> RecordIndex::open() const
{
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < entries_.size(); ++i)
        if (isOpen(i)) found.push_back(i);
    return found;
}

} // namespace mb
