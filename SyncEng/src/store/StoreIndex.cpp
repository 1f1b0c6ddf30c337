#include "store/StoreIndex.h"

#include <algorithm>
#include <array>
#include <bit>
#include <functional>

namespace mb {
namespace {

using platform::XmlElement;

constexpr std::uint32_t none = UINT32_MAX;

// The distinct types or names of a section, as numbers. A section that the store wrote has one of each.
struct Numbers {
    std::array<std::uint32_t, 4> of{};
    std::size_t count = 0;
    bool tooMany = false;

    template <class NumberOf> Numbers(const XmlElement& section, const char* kind, NumberOf&& numberOf)
    {
        std::string buffer;
        for (XmlElement e = section.firstChild(kind); e && !tooMany; e = e.nextSibling(kind)) {
            const std::uint32_t number = numberOf(e.text(buffer));
            if (std::find(of.begin(), of.begin() + count, number) != of.begin() + count) continue;
            tooMany = count == of.size();
            if (!tooMany) of[count++] = number;
        }
    }
    [[nodiscard]] auto begin() const { return of.begin(); }
    [[nodiscard]] auto end() const { return of.begin() + count; }
};

std::uint32_t joined(std::uint32_t type, std::uint32_t name)
{
    const std::uint64_t mixed = (std::uint64_t(type) * 0x9E3779B97F4A7C15u ^ name) * 0xC2B2AE3D27D4EB4Fu;
    return static_cast<std::uint32_t>(mixed >> 32);
}

std::uint32_t hashOf(std::string_view name) { return static_cast<std::uint32_t>(std::hash<std::string_view>()(name)); }

bool anyHasText(const XmlElement& section, const char* kind, std::string_view text)
{
    for (XmlElement e = section.firstChild(kind); e; e = e.nextSibling(kind))
        if (e.hasText(text)) return true;
    return false;
}

bool isNamed(const XmlElement& section, std::string_view name) { return anyHasText(section, "SN", name); }
bool isOfType(const XmlElement& section, std::string_view type) { return anyHasText(section, "ST", type); }

} // namespace

std::uint32_t StoreIndex::numberOf(std::string_view type)
{
    const auto known = types_.find(type);
    return known == types_.end() ? types_.emplace(type, static_cast<std::uint32_t>(types_.size())).first->second : known->second;
}

std::uint32_t StoreIndex::knownNumber(std::string_view type) const
{
    const auto known = types_.find(type);
    return known == types_.end() ? none : known->second;
}

// Calls visit(type, hash) for each pair of a type and a name of the section, or for each type if it has no name. Returns false, without a
// call, if there are too many.
template <class F> bool StoreIndex::eachPair(const XmlElement& section, F&& visit)
{
    const Numbers types(section, "ST", [&](std::string_view text) { return numberOf(text); });
    Numbers names(section, "SN", hashOf);
    if (types.tooMany || names.tooMany) return false;
    if (names.count == 0) names.count = 1;
    for (const std::uint32_t type : types)
        for (const std::uint32_t name : names) visit(type, joined(type, name));
    return true;
}

void StoreIndex::build(const XmlElement& root)
{
    types_.clear();
    entries_.clear();
    odd_.clear();
    places_ = 0;
    if (root && root.isNamed("Scs")) {
        for (XmlElement section = root.firstChild("Sc"); section; section = section.nextSibling("Sc")) {
            const std::uint32_t place = places_++;
            if (!eachPair(section, [&](std::uint32_t type, std::uint32_t hash) { entries_.push_back({section, type, hash, place, none}); }))
                odd_.push_back({section, none, 0, place, none});
        }
    }
    relink();
}

std::uint32_t StoreIndex::headOf(std::uint32_t hash) const noexcept { return heads_.empty() ? none : heads_[hash & (heads_.size() - 1)]; }

StoreIndex::Match StoreIndex::match(std::string_view type, std::string_view name) const
{
    const std::uint32_t number = knownNumber(type), hash = joined(number, hashOf(name));
    const Entry* found = nullptr;
    bool more = !odd_.empty();
    for (std::uint32_t at = headOf(hash); at != none && !(found && more); at = entries_[at].next) {
        const Entry& entry = entries_[at];
        if (entry.hash != hash || entry.type != number) continue;
        if (found)
            more = true;
        else if (isNamed(entry.section, name))
            found = &entry;
    }
    for (const Entry& odd : odd_) {
        if (found && odd.place > found->place) break;
        if (isNamed(odd.section, name) && isOfType(odd.section, type)) return {odd.section, true};
    }
    return {found ? found->section : XmlElement(), more};
}

std::vector<XmlElement> StoreIndex::all(std::string_view type, std::string_view name) const
{
    const std::uint32_t number = knownNumber(type), hash = joined(number, hashOf(name));
    std::vector<const Entry*> found;
    for (std::uint32_t at = headOf(hash); at != none; at = entries_[at].next)
        if (entries_[at].hash == hash && entries_[at].type == number && isNamed(entries_[at].section, name)) found.push_back(&entries_[at]);
    for (const Entry& odd : odd_)
        if (isNamed(odd.section, name) && isOfType(odd.section, type)) found.push_back(&odd);
    return inOrder(found);
}

std::vector<XmlElement> StoreIndex::ofType(std::string_view type) const
{
    const std::uint32_t number = knownNumber(type);
    std::vector<const Entry*> found;
    for (const Entry& entry : entries_)
        if (entry.type == number && entry.section) found.push_back(&entry);
    for (const Entry& odd : odd_)
        if (isOfType(odd.section, type)) found.push_back(&odd);
    return inOrder(found);
}

// A section with several names has several entries; each section is returned once.
std::vector<XmlElement> StoreIndex::inOrder(std::vector<const Entry*>& found)
{
    const auto placeOf = [](const Entry* e) { return e->place; };
    if (!std::ranges::is_sorted(found, {}, placeOf)) std::ranges::sort(found, {}, placeOf);
    std::vector<XmlElement> sections;
    sections.reserve(found.size());
    for (const Entry* entry : found)
        if (sections.empty() || sections.back() != entry->section) sections.push_back(entry->section);
    return sections;
}

void StoreIndex::append(const XmlElement& section, std::string_view type, std::string_view name)
{
    if (!section.parent().isNamed("Scs")) return;
    const std::uint32_t number = numberOf(type);
    link({section, number, joined(number, hashOf(name)), places_++, none});
}

void StoreIndex::restore(const XmlElement& section, std::uint32_t place)
{
    if (!eachPair(section, [&](std::uint32_t type, std::uint32_t hash) { link({section, type, hash, place, none}); }))
        odd_.insert(std::ranges::upper_bound(odd_, place, {}, &Entry::place), {section, none, 0, place, none});
}

std::uint32_t StoreIndex::remove(const XmlElement& section)
{
    std::uint32_t place = none;
    const bool hashed = eachPair(section, [&](std::uint32_t type, std::uint32_t hash) {
        if (heads_.empty()) return;
        for (std::uint32_t* at = &heads_[hash & (heads_.size() - 1)]; *at != none; at = &entries_[*at].next) {
            Entry& entry = entries_[*at];
            if (entry.section != section || entry.type != type || entry.hash != hash) continue;
            place = entry.place;
            entry.section = {};
            *at = entry.next;
            break;
        }
    });
    if (hashed) return place;
    const auto odd = std::ranges::find(odd_, section, &Entry::section);
    if (odd == odd_.end()) return none;
    place = odd->place;
    odd_.erase(odd);
    return place;
}

void StoreIndex::link(Entry entry)
{
    if (entries_.size() >= heads_.size() / 2) relink();
    std::uint32_t* at = &heads_[entry.hash & (heads_.size() - 1)];
    while (*at != none && entries_[*at].place <= entry.place) at = &entries_[*at].next;
    entry.next = *at;
    *at = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back(entry);
}

// Drops removed entries and rebuilds the chains with room to grow.
void StoreIndex::relink()
{
    std::erase_if(entries_, [](const Entry& entry) { return !entry.section; });
    if (!std::ranges::is_sorted(entries_, {}, &Entry::place)) std::ranges::stable_sort(entries_, {}, &Entry::place);
    heads_.assign(std::bit_ceil(std::max<std::size_t>(16, entries_.size() * 4)), none);
    for (std::size_t i = entries_.size(); i-- > 0;) {
        std::uint32_t& head = heads_[entries_[i].hash & (heads_.size() - 1)];
        entries_[i].next = head;
        head = static_cast<std::uint32_t>(i);
    }
}

} // namespace mb
