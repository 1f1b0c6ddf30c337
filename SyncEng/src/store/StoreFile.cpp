#include "store/StoreFile.h"

#include "files.h"
#include "foundation/Log.h"
#include "foundation/Strings.h"
#include "host.h"
#include "store/CBase64.h"
#include "store/FileResult.h"
#include "store/StoreVersion.h"
#include "text.h"
#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace mb {
namespace {

using platform::XmlElement;

constexpr std::uint64_t largestStore = std::uint64_t(1) << 30;
constexpr HRESULT guidTextAccepted = static_cast<HRESULT>(0x80040151);

void replaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != std::u16string::npos; at += to.size()) text.replace(at, from.size(), to);
}

std::u16string decimal(LONG value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

bool anyValue(const XmlElement& entry, std::string_view encodedValue)
{
    for (XmlElement value = entry.firstChild("KV"); value; value = value.nextSibling("KV"))
        if (value.hasText(encodedValue)) return true;
    return false;
}

const std::string& syncInfoName()
{
    static const std::string name = encodeBase64(u"SyncInfo");
    return name;
}

// Returns the first unused name of NAME.ending, NAME.ending.2, NAME.ending.3, ..., so that no kept file is overwritten.
std::filesystem::path freeNameBeside(const std::filesystem::path& path, const char* ending)
{
    std::filesystem::path first = path;
    first += ending;
    std::filesystem::path name = first;
    std::error_code unknown;
    for (int i = 2; std::filesystem::exists(std::filesystem::symlink_status(name, unknown)); ++i) {
        name = first;
        name += "." + std::to_string(i);
    }
    return name;
}

} // namespace

std::u16string EscapeTypeName(std::u16string_view type, bool encode)
{
    std::u16string out(type);
    if (encode) {
        replaceAll(out, u"'", u"&apos;");
        replaceAll(out, u"\"", u"&quot;");
    } else {
        replaceAll(out, u"&apos;", u"'");
        replaceAll(out, u"&quot;", u"\"");
    }
    return out;
}

std::string encodedType(std::u16string_view type)
{
    type = type.substr(0, type.find(u'\0'));
    return type.find_first_of(u"'\"") == type.npos ? platform::utf8(type) : platform::utf8(EscapeTypeName(type, true));
}

std::u16string fixedPoint(double value)
{
    char buffer[400];
    const auto end = std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed, 15).ptr;
    return {buffer, end};
}

std::u16string decodedText(const XmlElement& element)
{
    std::string buffer;
    const std::string_view text = element.text(buffer);
    return text.empty() ? std::u16string() : decodeBase64(text);
}

void valuesInSection(const XmlElement& section, std::span<const std::string_view> encodedKeys, std::span<XmlElement> values)
{
    for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
        for (XmlElement name = entry.firstChild("KN"); name; name = name.nextSibling("KN"))
            for (std::size_t i = 0; i < encodedKeys.size(); ++i)
                if (!values[i] && name.hasText(encodedKeys[i])) values[i] = entry.firstChild("KV");
}

std::string_view encodedNameOf(const XmlElement& section, std::string& buffer)
{
    const XmlElement name = section.firstChild("SN");
    return name ? name.text(buffer) : std::string_view();
}

bool sameEncodedName(std::string_view a, std::string_view b)
{
    const auto low = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(a, b, {}, low, low);
}

StoreFile::SectionKey StoreFile::sectionKey(std::u16string_view type, std::u16string_view section)
{
    return {encodedType(type), encodeBase64(section)};
}

// ---- The file ----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::Open(const std::filesystem::path& path, bool create)
{
    openFailure_.clear();
    if (path.empty()) return E_FAIL;
    path_ = path;
    Found found = load();
    if (found.state != FileState::missing && found.state != FileState::damaged) return openFound(found);
    if (!create) return found.state == FileState::damaged ? E_FAIL : S_OK;
    const Change change(*this);
    if (FAILED(change.result())) return failToOpen(change.result(), lock_.failure());
    if (shared_) found = load(); // another process may have created the file by now
    if (found.state != FileState::missing && found.state != FileState::damaged) return openFound(found);
    const HRESULT hr = createEmpty(found.state == FileState::damaged);
    return SUCCEEDED(hr) ? hr
                         : failToOpen(hr, Format(LoadText(Text::StoreNotCreated), platform::textOf(path_), platform::systemMessage(hr)));
}

HRESULT StoreFile::openFound(const Found& found)
{
    const std::u16string name = platform::textOf(path_);
    switch (found.state) {
    case FileState::later:
        return failToOpen(storeOfLaterVersion, Format(LoadText(Text::StoreOfLaterVersion), name, found.version, currentStoreVersion));
    case FileState::unreadable:
        return failToOpen(found.reason, Format(LoadText(Text::StoreUnreadable), name, platform::systemMessage(found.reason)));
    case FileState::damaged: return E_FAIL;
    default: return S_OK;
    }
}

HRESULT StoreFile::failToOpen(HRESULT hr, std::u16string sentence)
{
    WriteLogText(logFailures, u"%s", sentence);
    openFailure_ = std::move(sentence);
    return hr;
}

// Loads the file into the document. Without success no document is open.
StoreFile::Found StoreFile::load()
{
    document_.reset();
    dirty_ = false;
    std::error_code error;
    std::string bytes = platform::readFile(path_, error, largestStore);
    if (error == std::errc::no_such_file_or_directory) return {FileState::missing};
    if (error == std::errc::file_too_large) return {FileState::damaged};
    if (error) return {FileState::unreadable, readingResultOf(error)};
    platform::XmlDocument document;
    const Found found = read(std::move(bytes), document);
    if (found.state != FileState::loaded) return found;
    document_ = std::move(document);
    rebuildIndex();
    return found;
}

StoreFile::Found StoreFile::read(std::string bytes, platform::XmlDocument& document)
{
    const LONG announced = announcedVersion(bytes);
    if (shared_) lastBytes_ = bytes;
    const bool parsed = document.load(std::move(bytes));
    const LONG version = parsed ? versionOf(document.root()) : announced;
    if (version > currentStoreVersion) return {FileState::later, S_OK, version};
    return {parsed ? FileState::loaded : FileState::damaged};
}

// Renames a damaged file, and renames it back if the empty store cannot be written.
HRESULT StoreFile::createEmpty(bool damaged)
{
    std::error_code error;
    const std::filesystem::path kept = freeNameBeside(path_, ".damaged");
    const bool inTheWay = damaged && platform::fileExists(path_) && std::filesystem::file_size(path_, error) != 0;
    if (inTheWay) {
        std::filesystem::rename(path_, kept, error);
        if (error) return resultOf(error);
    }
    document_.emplace().create("Scs");
    rebuildIndex();
    dirty_ = true;
    HRESULT hr = SetVersion(currentStoreVersion);
    if (SUCCEEDED(hr)) hr = Save();
    if (SUCCEEDED(hr)) return hr;
    document_.reset();
    dirty_ = false;
    if (inTheWay && !platform::fileExists(path_)) std::filesystem::rename(kept, path_, error);
    return hr;
}

HRESULT StoreFile::Revert()
{
    if (!isOpen()) return E_POINTER;
    return !dirty_ || load().state == FileState::loaded ? S_OK : E_FAIL;
}

HRESULT StoreFile::Save(bool release)
{
    if (!isOpen()) return E_POINTER;
    HRESULT hr = S_OK;
    if (scopes_ > 0 && !release) {
        saveWanted_ = true;
        return S_OK;
    }
    if (dirty_ || (document_->root() && !platform::fileExists(path_))) hr = write();
    if (release) document_.reset();
    return hr;
}

HRESULT StoreFile::write()
{
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    if (!dirty_ && platform::fileExists(path_)) return S_OK; // Refresh() replaced the unsaved changes by another process's file
    platform::AtomicFile file(path_);
    std::string bytes;
    document_->write([&](std::string_view piece) {
        file.write(piece);
        if (shared_) bytes += piece;
    });
    const HRESULT hr = resultOf(file.commit());
    if (FAILED(hr)) return hr;
    dirty_ = false;
    lastBytes_ = std::move(bytes);
    return hr;
}

HRESULT StoreFile::Close()
{
    const HRESULT hr = isOpen() ? Save(true) : S_OK;
    path_.clear();
    return hr;
}

HRESULT StoreFile::DeleteStoreFile()
{
    if (!isOpen()) return E_POINTER;
    document_.reset();
    dirty_ = false;
    std::error_code error;
    if (!std::filesystem::remove(path_, error) && !error) error = std::make_error_code(std::errc::no_such_file_or_directory);
    return error.value();
}

HRESULT StoreFile::saved(bool save)
{
    dirty_ = true;
    return save ? Save() : S_OK;
}

HRESULT SaveScope::finish() noexcept
{
    if (std::exchange(finished_, true) || --store_.scopes_ > 0) return change_.result();
    if (!std::exchange(store_.saveWanted_, false)) return change_.result();
    return com::guarded([&] { return store_.Save(); });
}

void StoreFile::rebuildIndex()
{
    entries_.forget();
    index_.build(document_->root());
}

HRESULT StoreFile::GetVersion(LONG& version) const
{
    version = -1;
    if (!isOpen()) return E_FAIL;
    const XmlElement root = document_->root();
    if (!root || !root.isNamed("Scs")) return E_FAIL;
    version = versionOf(root);
    return root.attribute("Version").value_or("").empty() ? S_FALSE : S_OK;
}

HRESULT StoreFile::SetVersion(LONG version)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    const XmlElement root = document_->root();
    if (!root || !root.isNamed("Scs")) return E_FAIL;
    const std::string text = std::to_string(version);
    if (root.attribute("Version") != text) {
        root.setAttribute("Version", text);
        dirty_ = true;
    }
    return Save();
}

// ---- Finding -----------------------------------------------------------------------------------------------------------

XmlElement StoreFile::findValue(const SectionKey& section, const StoreIndex::Match& found, std::string_view key) const
{
    if (!found.first) return {};
    if (const XmlElement value = entries_.firstValue(found.first, key)) return value;
    if (!found.more) return {};
    for (const XmlElement& other : index_.all(section.type, section.name)) // another program may have written several sections of the name
        if (other != found.first)
            if (const XmlElement value = entries_.firstValue(other, key)) return value;
    return {};
}

// Finds several keys in one walk if only one section matches; otherwise looks each key up, which uses the cache for large sections.
void StoreFile::findValues(const SectionKey& section, const StoreIndex::Match& found, std::span<const std::string_view> keys,
                           std::span<XmlElement> values) const
{
    if (keys.size() > 1 && !found.more) return valuesInSection(found.first, keys, values);
    for (std::size_t i = 0; i < keys.size(); ++i) values[i] = findValue(section, found, keys[i]);
}

XmlElement StoreFile::findValue(const SectionKey& section, std::string_view key) const
{
    return findValue(section, index_.match(section.type, section.name), key);
}

std::vector<XmlElement> StoreFile::findEntries(const SectionKey& section, std::string_view key) const
{
    std::vector<XmlElement> found;
    for (const XmlElement& element : index_.all(section.type, section.name)) {
        const auto entries = EntryFinder::entries(element, key);
        found.insert(found.end(), entries.begin(), entries.end());
    }
    return found;
}

bool StoreFile::hasEncodedKey(const std::string& type, const std::string& name, std::string_view key) const
{
    const StoreIndex::Match found = isOpen() ? index_.match(type, name) : StoreIndex::Match();
    if (!found.first) return false;
    return entries_.firstValue(found.first, key) || (found.more && findValue({type, name}, found, key));
}

std::vector<XmlElement> StoreFile::sectionsOfType(std::u16string_view type) const
{
    return isOpen() ? index_.ofType(encodedType(type)) : std::vector<XmlElement>();
}

std::vector<XmlElement> StoreFile::sectionsWithValue(std::u16string_view type, std::u16string_view key, std::u16string_view value) const
{
    const std::string encodedKey = encodeBase64(key), encodedValue = encodeBase64(value);
    std::vector<XmlElement> found = sectionsOfType(type);
    std::erase_if(found, [&](const XmlElement& section) {
        for (XmlElement entry = section.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
            if (entryHasKey(entry, encodedKey) && anyValue(entry, encodedValue)) return false;
        return true;
    });
    return found;
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::ReadValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string& value) const
{
    value.clear();
    if (!isOpen()) return E_POINTER;
    const XmlElement found = findValue(sectionKey(type, section), encodeBase64(key));
    if (!found) return E_FAIL;
    value = decodedText(found);
    return S_OK;
}

HRESULT StoreFile::ReadInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (SUCCEEDED(hr)) value = platform::toInt(text);
    return hr;
}

HRESULT StoreFile::ReadDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (SUCCEEDED(hr)) value = platform::toDouble(text);
    return hr;
}

HRESULT StoreFile::ReadGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, GUID& value) const
{
    std::u16string text;
    const HRESULT hr = ReadValue(type, section, key, text);
    if (FAILED(hr)) return hr;
    const HRESULT parsed = com::parseGuid(text, &value);
    return SUCCEEDED(parsed) || parsed == guidTextAccepted ? S_OK : parsed;
}

HRESULT StoreFile::KeyHasValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                               VARIANT_BOOL& has) const
{
    has = VARIANT_FALSE;
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    const std::string encodedValue = encodeBase64(value);
    for (const XmlElement& element : index_.all(place.type, place.name))
        for (XmlElement entry = element.firstChild("Ky"); entry; entry = entry.nextSibling("Ky")) {
            const XmlElement name = entry.firstChild("KN");
            if (!name || !anyValue(entry, encodedValue)) continue;
            if (name.hasText(encodeBase64(key))) has = VARIANT_TRUE;
            return S_OK;
        }
    return S_FALSE;
}

HRESULT StoreFile::ListSections(std::u16string_view type, std::vector<std::u16string>& names) const
{
    names.clear();
    if (!isOpen()) return E_POINTER;
    for (const XmlElement& section : sectionsOfType(type))
        for (XmlElement name = section.firstChild("SN"); name; name = name.nextSibling("SN")) names.push_back(decodedText(name));
    return S_OK;
}

HRESULT StoreFile::ListKeys(std::u16string_view type, std::u16string_view section, std::vector<std::u16string>& keys) const
{
    keys.clear();
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    for (const XmlElement& element : index_.all(place.type, place.name))
        for (XmlElement entry = element.firstChild("Ky"); entry; entry = entry.nextSibling("Ky"))
            for (XmlElement name = entry.firstChild("KN"); name; name = name.nextSibling("KN")) keys.push_back(decodedText(name));
    return S_OK;
}

HRESULT StoreFile::ListValues(std::u16string_view type, std::u16string_view section, std::u16string_view key,
                              std::vector<std::u16string>& values) const
{
    values.clear();
    if (!isOpen()) return E_POINTER;
    for (const XmlElement& entry : findEntries(sectionKey(type, section), encodeBase64(key)))
        for (XmlElement value = entry.firstChild("KV"); value; value = value.nextSibling("KV")) values.push_back(decodedText(value));
    return S_OK;
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::WriteValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                              bool append, bool save)
{
    const std::string encodedKey = encodeBase64(key);
    return WriteValues(type, section, {{encodedKey, value}}, append, save);
}

HRESULT StoreFile::WriteValues(std::u16string_view type, std::u16string_view section, std::initializer_list<KeyValue> values, bool append,
                               bool save)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    if (values.size() > mostAtOnce) return E_INVALIDARG;
    const SectionKey place = sectionKey(type, section);
    StoreIndex::Match found = index_.match(place.type, place.name);
    std::array<std::string_view, mostAtOnce> keys;
    std::ranges::transform(values, keys.begin(), &KeyValue::encodedKey);
    std::array<XmlElement, mostAtOnce> present;
    if (!append && found.first) findValues(place, found, std::span(keys).first(values.size()), present);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const KeyValue& each = values.begin()[i];
        const std::string encodedValue = encodeBase64(each.value);
        const XmlElement& existing = present[i];
        if (existing && existing.hasText(encodedValue)) continue;
        if (existing) {
            existing.setText(encodedValue);
        } else {
            if (!found.first) found.first = appendSection(place);
            if (!found.first) return E_FAIL;
            appendEntry(found.first, each.encodedKey, encodedValue);
        }
        dirty_ = true;
    }
    return save ? Save() : S_OK;
}

XmlElement StoreFile::appendSection(const SectionKey& place)
{
    const XmlElement root = document_->root();
    if (!root) return {};
    const XmlElement node = root.appendChild("Sc");
    node.appendChild("ST", place.type);
    node.appendChild("SN", place.name);
    index_.append(node, place.type, place.name);
    return node;
}

void StoreFile::appendEntry(const XmlElement& section, std::string_view key, std::string_view value)
{
    const XmlElement entry = section.appendChild("Ky");
    entry.appendChild("KN", key);
    entry.appendChild("KV", value);
    entries_.appended(section, entry, key);
}

HRESULT StoreFile::WriteInt(std::u16string_view type, std::u16string_view section, std::u16string_view key, LONG value, bool append,
                            bool save)
{
    return WriteValue(type, section, key, decimal(value), append, save);
}

HRESULT StoreFile::WriteDouble(std::u16string_view type, std::u16string_view section, std::u16string_view key, double value, bool append,
                               bool save)
{
    return WriteValue(type, section, key, fixedPoint(value), append, save);
}

HRESULT StoreFile::WriteGuid(std::u16string_view type, std::u16string_view section, std::u16string_view key, const GUID& value, bool append,
                             bool save)
{
    return WriteValue(type, section, key, com::guidText(value), append, save);
}

HRESULT StoreFile::RemoveKey(std::u16string_view type, std::u16string_view section, std::u16string_view key)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    const auto entries = findEntries(sectionKey(type, section), encodeBase64(key));
    if (!entries.empty()) entries_.forget();
    for (const XmlElement& entry : entries) entry.parent().removeChild(entry);
    if (!entries.empty()) dirty_ = true;
    return Save();
}

void StoreFile::removeSections(const std::vector<XmlElement>& sections)
{
    if (sections.empty()) return;
    entries_.forget();
    for (const XmlElement& section : sections) {
        (void)index_.remove(section);
        section.parent().removeChild(section);
    }
    dirty_ = true;
    if (!document_->root().firstChild()) releaseRemoved();
}

// A document frees its loaded buffer only when it is destroyed, so an emptied document is reloaded from its serialised form.
void StoreFile::releaseRemoved()
{
    platform::XmlDocument empty;
    if (!empty.load(document_->bytes())) return;
    document_ = std::move(empty);
    rebuildIndex();
}

HRESULT StoreFile::RemoveSection(std::u16string_view type, std::u16string_view section, bool save)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    const SectionKey place = sectionKey(type, section);
    removeSections(index_.all(place.type, place.name));
    return save ? Save() : S_OK;
}

HRESULT StoreFile::RemoveType(std::u16string_view type)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    removeSections(sectionsOfType(type));
    return Save();
}

HRESULT StoreFile::RenameSection(std::u16string_view type, std::u16string_view oldSection, std::u16string_view newSection, bool save)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    const SectionKey from = sectionKey(type, oldSection);
    const XmlElement section = index_.first(from.type, from.name);
    const XmlElement name = section ? section.firstChild("SN") : XmlElement();
    if (!name) return E_FAIL;
    const std::uint32_t place = index_.remove(section);
    name.setText(encodeBase64(newSection));
    index_.restore(section, place);
    return saved(save);
}

HRESULT StoreFile::SetFlagInAllSections(std::u16string_view type, LONG flag, bool save)
{
    if (!isOpen()) return E_POINTER;
    const Change change(*this);
    if (FAILED(change.result())) return change.result();
    const std::string key = encodeBase64(u"FieldMapChanged"), value = encodeBase64(flag == 1 ? u"1" : u"0");
    for (const XmlElement& section : sectionsOfType(type)) {
        std::string buffer;
        if (sameEncodedName(encodedNameOf(section, buffer), syncInfoName())) continue;
        const XmlElement existing = entries_.firstValue(section, key);
        if (existing && existing.hasText(value)) continue;
        if (existing)
            existing.setText(value);
        else
            appendEntry(section, key, value);
        dirty_ = true;
    }
    return save ? Save() : S_OK;
}

} // namespace mb
