#include "store/StoreIndex.h"

namespace mb {
namespace {

using platform::XmlElement;

bool isRegularEntry(const XmlElement& entry)
{
    int names = 0, values = 0;
    for (XmlElement e = entry.firstChild(); e; e = e.nextSibling()) {
        const std::string name = e.name();
        names += name == "KN";
        values += name == "KV";
    }
    return names == 1 && values == 1;
}

struct SectionHead {
    bool regular = true;
    std::string type, name;
};

SectionHead headOf(const XmlElement& section)
{
    SectionHead head;
    int types = 0, names = 0;
    for (XmlElement e = section.firstChild(); e; e = e.nextSibling()) {
        const std::string kind = e.name();
        if (kind == "Ky") {
            head.regular = head.regular && isRegularEntry(e);
        } else if (kind == "ST") {
            if (types++ == 0) head.type = e.text();
        } else if (kind == "SN") {
            if (names++ == 0) head.name = e.text();
        }
    }
    head.regular = head.regular && types == 1 && names == 1;
    return head;
}

} // namespace

std::string StoreIndex::keyOf(std::string_view type, std::string_view name)
{
    std::string key;
    key.reserve(type.size() + 1 + name.size());
    key.append(type).append(1, '\x1f').append(name);
    return key;
}

void StoreIndex::build(const XmlElement& root)
{
    slots_.clear();
    regular_ = root && root.name() == "Scs";
    if (!regular_) return;
    slots_.reserve(root.elementCount());
    for (XmlElement section = root.firstChild(); section; section = section.nextSibling()) {
        if (section.name() != "Sc") continue;
        const SectionHead head = headOf(section);
        regular_ = regular_ && head.regular;
        add(head.type, head.name, section);
    }
}

StoreIndex::Answer StoreIndex::find(std::string_view type, std::string_view name) const
{
    if (!regular_) return {false, {}};
    const auto at = slots_.find(keyOf(type, name));
    if (at == slots_.end()) return {};
    return {!at->second.ambiguous, at->second.section};
}

void StoreIndex::add(std::string_view type, std::string_view name, const XmlElement& section)
{
    const auto [at, isNew] = slots_.try_emplace(keyOf(type, name), Slot{section});
    if (!isNew) at->second.ambiguous = true;
}

void StoreIndex::remove(std::string_view type, std::string_view name) { slots_.erase(keyOf(type, name)); }

void StoreIndex::rename(std::string_view type, std::string_view oldName, std::string_view newName)
{
    auto moved = slots_.extract(keyOf(type, oldName));
    if (moved.empty()) return;
    moved.key() = keyOf(type, newName);
    const auto result = slots_.insert(std::move(moved));
    if (!result.inserted) result.position->second.ambiguous = true;
}

} // namespace mb
