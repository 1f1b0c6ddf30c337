#include "IdTable.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

namespace mb::vcard {
namespace {

std::uint32_t hashOfId(std::string_view id) { return static_cast<std::uint32_t>(std::hash<std::string_view>()(id)); }

} // namespace

void IdTable::clear()
{
    entries_.clear();
    slots_.clear();
    anyRemoved_ = false;
}

void IdTable::reserve(std::size_t count)
{
    entries_.reserve(count);
    if (slots_.size() < 2 * count) relink(count);
}

bool IdTable::add(std::string id, const Place& place)
{
    if (slots_.size() < 2 * (entries_.size() + 1)) relink(2 * (entries_.size() + 1));
    const std::uint32_t hash = hashOfId(id);
    if (slots_[slotOf(id, hash)] != 0) return false;
    entries_.push_back({std::move(id), place, hash});
    link(entries_.size() - 1);
    return true;
}

void IdTable::remove(std::string_view id)
{
    if (Entry* entry = find(id)) entry->removed = anyRemoved_ = true;
}

const IdTable::Entry* IdTable::find(std::string_view id) const
{
    if (slots_.empty()) return nullptr;
    const std::uint32_t at = slots_[slotOf(id, hashOfId(id))];
    return at == 0 ? nullptr : &entries_[at - 1];
}

IdTable::Entry* IdTable::find(std::string_view id) { return const_cast<Entry*>(std::as_const(*this).find(id)); }

std::size_t IdTable::count() const { return entries().size(); }

const std::string& IdTable::at(std::size_t index) const
{
    takeOutRemoved();
    return entries_.at(index).id;
}

const std::vector<IdTable::Entry>& IdTable::entries() const
{
    takeOutRemoved();
    return entries_;
}

void IdTable::takeOutRemoved() const
{
    if (!std::exchange(anyRemoved_, false)) return;
    std::erase_if(entries_, [](const Entry& entry) { return entry.removed; });
    relink(entries_.size());
}

// Returns the slot of the identifier, or the free one that it would get.
std::size_t IdTable::slotOf(std::string_view id, std::uint32_t hash) const
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = hash & mask;
    for (; slots_[slot] != 0; slot = (slot + 1) & mask) {
        const Entry& entry = entries_[slots_[slot] - 1];
        if (entry.hash == hash && !entry.removed && entry.id == id) break;
    }
    return slot;
}

void IdTable::link(std::size_t index) const
{
    const std::size_t mask = slots_.size() - 1;
    std::size_t slot = entries_[index].hash & mask;
    while (slots_[slot] != 0) slot = (slot + 1) & mask;
    slots_[slot] = static_cast<std::uint32_t>(index + 1);
}

// Makes room for `count` entries: at least half of the slots stay free.
void IdTable::relink(std::size_t count) const
{
    constexpr std::size_t kFewest = 16;
    slots_.assign(std::bit_ceil(std::max(kFewest, 2 * count + 2)), 0);
    for (std::size_t i = 0; i < entries_.size(); ++i) link(i);
}

} // namespace mb::vcard
