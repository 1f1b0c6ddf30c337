#include "store/StoreText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace mb {
namespace {

constexpr std::string_view rootStart = "<Scs", rootEnd = "</Scs>", sectionStart = "<Sc>", sectionEnd = "</Sc>", keyStart = "<Ky>",
                           keyEnd = "</Ky>", versionStart = " Version=\"";

// Walks over a text in the form that this program writes, without looking back.
class Cursor {
public:
    explicit Cursor(std::string_view text, std::size_t at = 0) : text_(text), at_(at) {}
    [[nodiscard]] std::size_t at() const noexcept { return at_; }
    [[nodiscard]] bool atEnd() const noexcept { return at_ == text_.size(); }
    bool take(std::string_view expected)
    {
        if (text_.compare(at_, expected.size(), expected) != 0) return false;
        at_ += expected.size();
        return true;
    }
    // Takes <NAME>text</NAME>, or <NAME/>. `name` has two letters.
    bool takeElement(std::string_view name, std::string_view& content)
    {
        constexpr std::size_t tag = 5; // the length of <NAME/> and </NAME>
        if (text_.size() - at_ < tag || text_[at_] != '<' || text_.compare(at_ + 1, 2, name) != 0) return false;
        if (text_[at_ + 3] == '/' && text_[at_ + 4] == '>') {
            content = {};
            at_ += tag;
            return true;
        }
        if (text_[at_ + 3] != '>') return false;
        const std::size_t begin = at_ + 4, end = text_.find('<', begin);
        if (end == text_.npos || text_.size() - end < tag) return false;
        if (text_[end + 1] != '/' || text_.compare(end + 2, 2, name) != 0 || text_[end + 4] != '>') return false;
        content = text_.substr(begin, end - begin);
        at_ = end + tag;
        return true;
    }
    bool takeDigits(std::string_view& digits)
    {
        constexpr std::size_t most = 9;
        const std::size_t end = std::min(text_.find_first_not_of("0123456789", at_), text_.size());
        if (end == at_ || end - at_ > most) return false;
        digits = text_.substr(at_, end - at_);
        at_ = end;
        return true;
    }

private:
    std::string_view text_;
    std::size_t at_;
};

// Whether each byte is a printable one of ASCII that needs no entity, and no ">" stands outside of a tag, given that each tag has one "<".
bool hasPlainBytes(std::string_view bytes)
{
    unsigned odd = 0;
    std::size_t open = 0, closed = 0;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        odd |= static_cast<unsigned>(byte < 0x20) | static_cast<unsigned>(byte > 0x7E) | static_cast<unsigned>(byte == '&');
        open += byte == '<';
        closed += byte == '>';
    }
    return odd == 0 && open == closed;
}

void addElement(std::string& text, std::string_view name, std::string_view content)
{
    text.append("<").append(name);
    if (content.empty())
        text.append("/>");
    else
        text.append(">").append(content).append("</").append(name).append(">");
}

void addKey(std::string& text, const StoreContent::KeyValue& value)
{
    text.append(keyStart);
    addElement(text, "KN", value.key);
    addElement(text, "KV", value.value);
    text.append(keyEnd);
}

std::uint32_t hashOf(std::uint32_t type, std::string_view name)
{
    return static_cast<std::uint32_t>(std::hash<std::string_view>()(name)) ^ (type * 0x9E3779B9U);
}

// A section's name, and where it stands in the section's text.
struct Name {
    std::string_view text;
    std::size_t begin = 0, end = 0;
};

Name nameIn(std::string_view section)
{
    Cursor cursor(section, sectionStart.size());
    std::string_view type;
    Name name;
    cursor.takeElement("ST", type);
    name.begin = cursor.at();
    cursor.takeElement("SN", name.text);
    name.end = cursor.at();
    return name;
}

struct Key {
    std::string_view name, value;
    std::size_t begin = 0, valueBegin = 0, end = 0; // in the section's text; valueBegin: of <KV> or <KV/>
};

// Reads the keys of a section.
class KeyReader {
public:
    explicit KeyReader(std::string_view section) : cursor_(section, nameIn(section).end) {}
    bool next(Key& key)
    {
        key.begin = cursor_.at();
        if (!cursor_.take(keyStart) || !cursor_.takeElement("KN", key.name)) return false;
        key.valueBegin = cursor_.at();
        if (!cursor_.takeElement("KV", key.value) || !cursor_.take(keyEnd)) return false;
        key.end = cursor_.at();
        return true;
    }

private:
    Cursor cursor_;
};

} // namespace

bool StoreText::canHold(std::string_view type)
{
    return std::ranges::all_of(type, [](char c) { return c >= 0x20 && c <= 0x7E && c != '&' && c != '<' && c != '>'; });
}

std::unique_ptr<StoreText> StoreText::create() { return std::unique_ptr<StoreText>(new StoreText); }

std::unique_ptr<StoreText> StoreText::read(std::string& bytes)
{
    if (!hasPlainBytes(bytes)) return nullptr;
    std::unique_ptr<StoreText> text(new StoreText);
    text->bytes_ = std::move(bytes);
    if (text->index()) return text;
    bytes = std::move(text->bytes_);
    return nullptr;
}

// Finds the sections. False for any other form of file.
bool StoreText::index()
{
    Cursor cursor(bytes_);
    std::string_view version;
    if (!cursor.take(rootStart) || !cursor.take(versionStart) || !cursor.takeDigits(version) || !cursor.take("\"")) return false;
    version_ = version;
    if (cursor.take("/>")) return cursor.atEnd();
    if (!cursor.take(">")) return false;
    while (!cursor.take(rootEnd)) {
        const std::size_t begin = cursor.at();
        std::string_view type, name, text;
        if (!cursor.take(sectionStart) || !cursor.takeElement("ST", type) || !cursor.takeElement("SN", name)) return false;
        Section section;
        for (; cursor.take(keyStart); ++section.keys)
            if (!cursor.takeElement("KN", text) || !cursor.takeElement("KV", text) || !cursor.take(keyEnd)) return false;
        if (!cursor.take(sectionEnd) || section.keys > mostKeys) return false;
        section.text = std::string_view(bytes_).substr(begin, cursor.at() - begin);
        section.type = numberOf(type);
        section.hash = hashOf(section.type, name);
        sections_.push_back(std::move(section));
    }
    if (!cursor.atEnd() || sections_.empty()) return false;
    living_ = sections_.size();
    slots_.clear();
    slots_.assign(std::bit_ceil(2 * sections_.size()), none);
    for (std::uint32_t i = 0; i < sections_.size(); ++i)
        if (!link(i)) return false;
    return true;
}

// ---- The index ---------------------------------------------------------------------------------------------------------

std::uint32_t StoreText::knownNumber(std::string_view type) const
{
    const auto known = numbers_.find(type);
    return known == numbers_.end() ? none : known->second;
}

std::uint32_t StoreText::numberOf(std::string_view type)
{
    if (!types_.empty() && types_.back() == type) return static_cast<std::uint32_t>(types_.size() - 1);
    const auto [known, isNew] = numbers_.try_emplace(std::string(type), static_cast<std::uint32_t>(types_.size()));
    if (isNew) types_.push_back(known->first);
    return known->second;
}

// Enters a section. False if another one has its type and name.
bool StoreText::link(std::uint32_t section)
{
    Section& added = sections_[section];
    std::uint32_t* at = &slots_[added.hash & (slots_.size() - 1)];
    const std::string_view name = nameIn(added.text).text;
    for (; *at != none; at = &sections_[*at].next) {
        const Section& other = sections_[*at];
        if (other.hash == added.hash && other.type == added.type && nameIn(other.text).text == name) return false;
    }
    *at = section;
    added.next = none;
    return true;
}

void StoreText::unlink(std::uint32_t section)
{
    std::uint32_t* at = &slots_[sections_[section].hash & (slots_.size() - 1)];
    while (*at != section) at = &sections_[*at].next;
    *at = sections_[section].next;
}

// Makes room for twice the sections.
void StoreText::relink()
{
    slots_.clear();
    slots_.assign(std::bit_ceil(4 * sections_.size() + 16), none);
    for (std::uint32_t i = 0; i < sections_.size(); ++i)
        if (!sections_[i].removed) (void)link(i);
}

const StoreText::Section* StoreText::find(std::string_view type, std::string_view name) const
{
    const std::uint32_t number = slots_.empty() ? none : knownNumber(type);
    if (number == none) return nullptr;
    const std::uint32_t hash = hashOf(number, name);
    for (std::uint32_t at = slots_[hash & (slots_.size() - 1)]; at != none; at = sections_[at].next) {
        const Section& section = sections_[at];
        if (section.hash == hash && section.type == number && nameIn(section.text).text == name) return &section;
    }
    return nullptr;
}

StoreText::Section* StoreText::find(std::string_view type, std::string_view name)
{
    return const_cast<Section*>(std::as_const(*this).find(type, name));
}

// Calls `visit` with the sections of the type, in their order, until it returns false.
template <class Visit> void StoreText::eachOfType(std::string_view type, Visit&& visit) const
{
    const std::uint32_t number = knownNumber(type);
    if (number == none) return;
    for (const Section& section : sections_)
        if (section.type == number && !section.removed && !visit(section)) return;
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

std::optional<std::string_view> StoreText::value(const std::string& type, const std::string& name, std::string_view key, std::string&) const
{
    const Section* section = find(type, name);
    if (!section) return std::nullopt;
    KeyReader keys(section->text);
    for (Key each; keys.next(each);)
        if (each.name == key) return each.value;
    return std::nullopt;
}

std::optional<bool> StoreText::firstHolderIs(const std::string& type, const std::string& name, std::string_view key,
                                             std::string_view value) const
{
    const Section* section = find(type, name);
    if (!section) return std::nullopt;
    KeyReader keys(section->text);
    for (Key each; keys.next(each);)
        if (each.value == value) return each.name == key;
    return std::nullopt;
}

void StoreText::listSections(const std::string& type, const TakeText& take) const
{
    eachOfType(type, [&](const Section& section) {
        take(nameIn(section.text).text);
        return true;
    });
}

void StoreText::listKeys(const std::string& type, const std::string& name, const TakeText& take) const
{
    const Section* section = find(type, name);
    if (!section) return;
    KeyReader keys(section->text);
    for (Key each; keys.next(each);) take(each.name);
}

void StoreText::listValues(const std::string& type, const std::string& name, std::string_view key, const TakeText& take) const
{
    const Section* section = find(type, name);
    if (!section) return;
    KeyReader keys(section->text);
    for (Key each; keys.next(each);)
        if (each.name == key) take(each.value);
}

void StoreText::listRows(const std::string& type, std::span<const std::string_view> wanted, const KeyValue* having,
                         const TakeRow& take) const
{
    eachOfType(type, [&](const Section& section) {
        Row row;
        row.name = nameIn(section.text).text;
        bool taken = having == nullptr;
        KeyReader keys(section.text);
        for (Key each; keys.next(each);) {
            taken = taken || (each.name == having->key && each.value == having->value);
            for (std::size_t i = 0; i < wanted.size(); ++i)
                if (!row.values[i] && each.name == wanted[i]) row.values[i] = each.value;
        }
        if (taken) take(row);
        return true;
    });
}

// ---- Changing ----------------------------------------------------------------------------------------------------------

StoreContent::Change StoreText::setVersion(const std::string& version)
{
    if (version_ == version) return Change::None;
    version_ = version;
    return Change::Made;
}

// Replaces a part of a section's text. The new text has no room to grow: most sections change once or twice in a run.
void StoreText::replace(Section& section, std::size_t begin, std::size_t length, std::string_view with)
{
    const std::string_view former = section.text;
    const std::size_t size = former.size() - length + with.size();
    auto text = std::make_unique_for_overwrite<char[]>(size);
    char* at = std::ranges::copy(former.substr(0, begin), text.get()).out;
    at = std::ranges::copy(with, at).out;
    std::ranges::copy(former.substr(begin + length), at);
    section.text = {text.get(), size};
    section.own = std::move(text);
}

// Overwrites the first value of the key. False if the section has no such key.
bool StoreText::overwrite(Section& section, const KeyValue& value, Change& change)
{
    KeyReader keys(section.text);
    for (Key each; keys.next(each);) {
        if (each.name != value.key) continue;
        if (each.value == value.value) return true;
        std::string element;
        addElement(element, "KV", value.value);
        replace(section, each.valueBegin, each.end - keyEnd.size() - each.valueBegin, element);
        change = Change::Made;
        return true;
    }
    return false;
}

void StoreText::append(Section& section, std::string_view keys, std::size_t count)
{
    replace(section, section.text.size() - sectionEnd.size(), 0, keys);
    section.keys += static_cast<std::uint32_t>(count);
}

StoreText::Section& StoreText::addSection(const std::string& type, const std::string& name)
{
    std::string text(sectionStart);
    addElement(text, "ST", type);
    addElement(text, "SN", name);
    text.append(sectionEnd);
    Section section;
    section.type = numberOf(type);
    section.hash = hashOf(section.type, name);
    replace(section, 0, 0, text);
    sections_.push_back(std::move(section));
    ++living_;
    if (slots_.size() < 2 * sections_.size())
        relink();
    else
        (void)link(static_cast<std::uint32_t>(sections_.size() - 1));
    return sections_.back();
}

StoreContent::Change StoreText::write(const std::string& type, const std::string& name, std::span<const KeyValue> values, bool append)
{
    Section* section = find(type, name);
    if (!canHold(type) || (section ? section->keys : 0) + values.size() > mostKeys) return Change::NeedsTree;
    Change change = Change::None;
    std::string added;
    std::size_t count = 0;
    for (const KeyValue& each : values) {
        if (section && !append && overwrite(*section, each, change)) continue;
        addKey(added, each);
        ++count;
    }
    if (count == 0) return change;
    StoreText::append(section ? *section : addSection(type, name), added, count);
    return Change::Made;
}

StoreContent::Change StoreText::removeKey(const std::string& type, const std::string& name, std::string_view key)
{
    Section* section = find(type, name);
    if (!section) return Change::None;
    std::string kept;
    std::size_t begin = 0, end = 0; // of the removed keys and those between them
    KeyReader keys(section->text);
    for (Key each; keys.next(each);) {
        if (each.name != key) continue;
        if (end == 0)
            begin = each.begin;
        else
            kept.append(section->text.substr(end, each.begin - end));
        end = each.end;
        --section->keys;
    }
    if (end == 0) return Change::None;
    replace(*section, begin, end - begin, kept);
    return Change::Made;
}

void StoreText::remove(Section& section)
{
    unlink(static_cast<std::uint32_t>(&section - sections_.data()));
    section.removed = true;
    section.own.reset();
    section.text = {};
    if (--living_ > 0) return;
    sections_ = std::vector<Section>();
    slots_ = std::vector<std::uint32_t>();
    bytes_ = std::string();
}

StoreContent::Change StoreText::removeSections(const std::string& type, const std::string& name)
{
    Section* section = find(type, name);
    if (!section) return Change::None;
    remove(*section);
    return Change::Made;
}

StoreContent::Change StoreText::removeType(const std::string& type)
{
    const std::uint32_t number = knownNumber(type);
    Change change = Change::None;
    for (std::size_t i = 0; i < sections_.size(); ++i) { // the last removal empties the list
        if (sections_[i].type != number || sections_[i].removed) continue;
        remove(sections_[i]);
        change = Change::Made;
    }
    return change;
}

StoreContent::Change StoreText::renameSection(const std::string& type, const std::string& oldName, const std::string& newName)
{
    Section* section = find(type, oldName);
    if (!section) return Change::Impossible;
    if (oldName != newName && find(type, newName)) return Change::NeedsTree; // two sections of one name
    std::string element;
    addElement(element, "SN", newName);
    const auto number = static_cast<std::uint32_t>(section - sections_.data());
    unlink(number);
    const Name former = nameIn(section->text);
    replace(*section, former.begin, former.end - former.begin, element);
    section->hash = hashOf(section->type, newName);
    (void)link(number);
    return Change::Made;
}

StoreContent::Change StoreText::setInAll(const std::string& type, const KeyValue& value, std::string_view exceptName)
{
    const std::uint32_t number = knownNumber(type);
    const auto concerns = [&](const Section& section) {
        return section.type == number && !section.removed && !sameEncodedName(nameIn(section.text).text, exceptName);
    };
    for (const Section& section : sections_)
        if (concerns(section) && section.keys >= mostKeys) return Change::NeedsTree;
    Change change = Change::None;
    std::string added;
    addKey(added, value);
    for (Section& section : sections_) {
        if (!concerns(section) || overwrite(section, value, change)) continue;
        append(section, added, 1);
        change = Change::Made;
    }
    return change;
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

void StoreText::writeTo(const TakeText& take) const
{
    std::string start(rootStart);
    if (!version_.empty()) start.append(versionStart).append(version_).append("\"");
    if (living_ == 0) return take(start.append("/>"));
    take(start.append(">"));
    std::string_view run; // of sections that follow each other in bytes_
    for (const Section& section : sections_) {
        if (section.removed) continue;
        const bool follows = !section.own && !run.empty() && run.data() + run.size() == section.text.data();
        if (follows) {
            run = {run.data(), run.size() + section.text.size()};
            continue;
        }
        if (!run.empty()) take(run);
        run = section.text;
        if (section.own) take(std::exchange(run, {}));
    }
    if (!run.empty()) take(run);
    take(rootEnd);
}

} // namespace mb
