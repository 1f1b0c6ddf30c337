#include "store/StoreTree.h"

#include <algorithm>

namespace mb {
namespace {

using platform::XmlElement;

constexpr char rootName[] = "Scs", versionName[] = "Version";

bool anyValue(const XmlElement& entry, std::string_view value)
{
    for (XmlElement each = entry.firstChild("KV"); each; each = each.nextSibling("KV"))
        if (each.hasText(value)) return true;
    return false;
}

// Returns the section's name, valid until the section or the buffer changes.
std::string_view nameOf(const XmlElement& section, std::string& buffer)
{
    const XmlElement name = section.firstChild("SN");
    return name ? name.text(buffer) : std::string_view();
}

bool hasEntry(const XmlElement& section, const StoreContent::KeyValue& wanted)
{
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
        if (entryHasKey(entry, wanted.key) && anyValue(entry, wanted.value)) return true;
    return false;
}

// Finds the first value of several keys of a section in one walk, as Ky[KN = K]/KV does; the value of an absent key stays empty.
void valuesInSection(const XmlElement& section, std::span<const std::string_view> keys, std::span<XmlElement> values)
{
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
        for (XmlElement name = entry.firstChild("KN"); name; name = name.nextSibling("KN"))
            for (std::size_t i = 0; i < keys.size(); ++i)
                if (!values[i] && name.hasText(keys[i])) values[i] = entry.firstChild("KV");
}

StoreContent::Change changeOf(bool made) { return made ? StoreContent::Change::Made : StoreContent::Change::None; }

} // namespace

std::unique_ptr<StoreTree> StoreTree::read(std::string&& bytes)
{
    std::unique_ptr<StoreTree> tree(new StoreTree);
    if (!tree->document_.load(std::move(bytes))) return nullptr;
    tree->rebuildIndex();
    return tree;
}

void StoreTree::rebuildIndex()
{
    entries_.forget();
    index_.build(document_.root());
}

bool StoreTree::isStore() const
{
    const XmlElement root = document_.root();
    return root && root.isNamed(rootName);
}

std::string StoreTree::version() const
{
    const XmlElement root = document_.root();
    return root ? root.attribute(versionName).value_or("") : std::string();
}

StoreContent::Change StoreTree::setVersion(const std::string& version)
{
    if (!isStore()) return Change::Impossible;
    const XmlElement root = document_.root();
    if (root.attribute(versionName) == version) return Change::None;
    root.setAttribute(versionName, version);
    return Change::Made;
}

// ---- Finding -----------------------------------------------------------------------------------------------------------

XmlElement StoreTree::findValue(const std::string& type, const std::string& name, const StoreIndex::Match& found,
                                std::string_view key) const
{
    if (!found.first) return {};
    if (const XmlElement value = entries_.firstValue(found.first, key)) return value;
    if (!found.more) return {};
    for (const XmlElement& other : index_.all(type, name)) // another program may have written several sections of the name
        if (other != found.first)
            if (const XmlElement value = entries_.firstValue(other, key)) return value;
    return {};
}

XmlElement StoreTree::findValue(const std::string& type, const std::string& name, std::string_view key) const
{
    return findValue(type, name, index_.match(type, name), key);
}

std::vector<XmlElement> StoreTree::findEntries(const std::string& type, const std::string& name, std::string_view key) const
{
    std::vector<XmlElement> found;
    for (const XmlElement& section : index_.all(type, name)) {
        const auto entries = EntryFinder::entries(section, key);
        found.insert(found.end(), entries.begin(), entries.end());
    }
    return found;
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

std::optional<std::string_view> StoreTree::value(const std::string& type, const std::string& name, std::string_view key,
                                                 std::string& buffer) const
{
    const XmlElement found = findValue(type, name, key);
    return found ? std::optional(found.text(buffer)) : std::nullopt;
}

std::optional<bool> StoreTree::firstHolderIs(const std::string& type, const std::string& name, std::string_view key,
                                             std::string_view value) const
{
    for (const XmlElement& section : index_.all(type, name))
        for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky")) {
            const XmlElement keyName = entry.firstChild("KN");
            if (keyName && anyValue(entry, value)) return keyName.hasText(key);
        }
    return std::nullopt;
}

void StoreTree::listSections(const std::string& type, const TakeText& take) const
{
    std::string buffer;
    for (const XmlElement& section : index_.ofType(type))
        for (XmlElement name = section.firstChild("SN"); name; name = name.nextSibling("SN")) take(name.text(buffer));
}

void StoreTree::listKeys(const std::string& type, const std::string& name, const TakeText& take) const
{
    std::string buffer;
    for (const XmlElement& section : index_.all(type, name))
        for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
            for (XmlElement key = entry.firstChild("KN"); key; key = key.nextSibling("KN")) take(key.text(buffer));
}

void StoreTree::listValues(const std::string& type, const std::string& name, std::string_view key, const TakeText& take) const
{
    std::string buffer;
    for (const XmlElement& entry : findEntries(type, name, key))
        for (XmlElement value = entry.firstChild("KV"); value; value = value.nextSibling("KV")) take(value.text(buffer));
}

void StoreTree::listRows(const std::string& type, std::span<const std::string_view> keys, const KeyValue* having, const TakeRow& take) const
{
    std::string nameBuffer;
    std::array<std::string, mostInRow> buffers;
    for (const XmlElement& section : index_.ofType(type)) {
        if (having && !hasEntry(section, *having)) continue;
        std::array<XmlElement, mostInRow> values;
        valuesInSection(section, keys, values);
        Row row;
        row.name = nameOf(section, nameBuffer);
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (values[i]) row.values[i] = values[i].text(buffers[i]);
        take(row);
    }
}

// ---- Changing ----------------------------------------------------------------------------------------------------------

StoreContent::Change StoreTree::write(const std::string& type, const std::string& name, std::span<const KeyValue> values, bool append)
{
    StoreIndex::Match found = index_.match(type, name);
    // In a section alone of its name all keys are found in one walk, before the first one is added.
    std::vector<std::string_view> keys;
    for (const KeyValue& each : values) keys.push_back(each.key);
    std::vector<XmlElement> present(values.size());
    if (!append && found.first) {
        if (keys.size() > 1 && !found.more)
            valuesInSection(found.first, keys, present);
        else
            for (std::size_t i = 0; i < keys.size(); ++i) present[i] = findValue(type, name, found, keys[i]);
    }
    Change change = Change::None;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (present[i] && present[i].hasText(values[i].value)) continue;
        if (present[i]) {
            present[i].setText(values[i].value);
        } else {
            if (!found.first) found.first = appendSection(type, name);
            if (!found.first) return Change::Impossible;
            appendEntry(found.first, values[i].key, values[i].value);
        }
        change = Change::Made;
    }
    return change;
}

XmlElement StoreTree::appendSection(const std::string& type, const std::string& name)
{
    const XmlElement root = document_.root();
    if (!root) return {};
    const XmlElement node = root.appendChild("Sc");
    node.appendChild("ST", type);
    node.appendChild("SN", name);
    index_.append(node, type, name);
    return node;
}

void StoreTree::appendEntry(const XmlElement& section, std::string_view key, std::string_view value)
{
    const XmlElement entry = section.appendChild("Ky");
    entry.appendChild("KN", key);
    entry.appendChild("KV", value);
    entries_.appended(section, entry, key);
}

StoreContent::Change StoreTree::removeKey(const std::string& type, const std::string& name, std::string_view key)
{
    const auto entries = findEntries(type, name, key);
    if (!entries.empty()) entries_.forget();
    for (const XmlElement& entry : entries) entry.parent().removeChild(entry);
    return changeOf(!entries.empty());
}

StoreContent::Change StoreTree::remove(const std::vector<XmlElement>& sections)
{
    if (sections.empty()) return Change::None;
    entries_.forget();
    for (const XmlElement& section : sections) {
        (void)index_.remove(section);
        section.parent().removeChild(section);
    }
    if (!document_.root().firstChild()) releaseRemoved();
    return Change::Made;
}

// A document frees its loaded buffer only when it is destroyed, so an emptied document is reloaded from its serialised form.
void StoreTree::releaseRemoved()
{
    platform::XmlDocument empty;
    if (!empty.load(document_.bytes())) return;
    document_ = std::move(empty);
    rebuildIndex();
}

StoreContent::Change StoreTree::removeSections(const std::string& type, const std::string& name) { return remove(index_.all(type, name)); }

StoreContent::Change StoreTree::removeType(const std::string& type) { return remove(index_.ofType(type)); }

StoreContent::Change StoreTree::renameSection(const std::string& type, const std::string& oldName, const std::string& newName)
{
    const XmlElement section = index_.first(type, oldName);
    const XmlElement name = section ? section.firstChild("SN") : XmlElement();
    if (!name) return Change::Impossible;
    const std::uint32_t place = index_.remove(section);
    name.setText(newName);
    index_.restore(section, place);
    return Change::Made;
}

StoreContent::Change StoreTree::setInAll(const std::string& type, const KeyValue& value, std::string_view exceptName)
{
    Change change = Change::None;
    std::string buffer;
    for (const XmlElement& section : index_.ofType(type)) {
        if (sameEncodedName(nameOf(section, buffer), exceptName)) continue;
        const XmlElement existing = entries_.firstValue(section, value.key);
        if (existing && existing.hasText(value.value)) continue;
        if (existing)
            existing.setText(value.value);
        else
            appendEntry(section, value.key, value.value);
        change = Change::Made;
    }
    return change;
}

void StoreTree::writeTo(const TakeText& take) const
{
    document_.write([&](std::string_view piece) { take(piece); });
}

} // namespace mb
