#include "store/EntryFinder.h"

namespace mb {
namespace {

using platform::XmlElement;

constexpr int largeSection = 32;

} // namespace

bool entryHasKey(const XmlElement& entry, std::string_view key)
{
    for (XmlElement name = entry.firstChild("KN"); name; name = name.nextSibling("KN"))
        if (name.hasText(key)) return true;
    return false;
}

XmlElement EntryFinder::firstValue(const XmlElement& section, std::string_view key)
{
    if (section_ && section == section_) return remembered(key);
    int walked = 0;
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky")) {
        if (entryHasKey(entry, key))
            if (const XmlElement value = entry.firstChild("KV")) return value;
        if (++walked < largeSection) continue;
        remember(section);
        return remembered(key);
    }
    return {};
}

std::vector<XmlElement> EntryFinder::entries(const XmlElement& section, std::string_view key)
{
    std::vector<XmlElement> found;
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
        if (entryHasKey(entry, key)) found.push_back(entry);
    return found;
}

void EntryFinder::appended(const XmlElement& section, const XmlElement& entry, std::string_view key)
{
    if (section_ && section == section_) byKey_[std::string(key)].push_back(entry);
}

void EntryFinder::forget()
{
    section_ = {};
    byKey_.clear();
}

void EntryFinder::remember(const XmlElement& section)
{
    forget();
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
        for (XmlElement name = entry.firstChild("KN"); name; name = name.nextSibling("KN")) byKey_[name.text()].push_back(entry);
    section_ = section;
}

XmlElement EntryFinder::remembered(std::string_view key) const
{
    const auto found = byKey_.find(key);
    if (found == byKey_.end()) return {};
    for (const XmlElement& entry : found->second)
        if (const XmlElement value = entry.firstChild("KV")) return value;
    return {};
}

} // namespace mb
