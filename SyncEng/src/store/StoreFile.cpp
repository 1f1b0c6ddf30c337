#include "store/StoreFile.h"

#include "files.h"
#include "store/CBase64.h"
#include "store/FileResult.h"
#include "text.h"
#include <charconv>
#include <cstdio>

namespace mb {
namespace {

using platform::XmlElement;

constexpr std::uint64_t largestStore = std::uint64_t(1) << 30;
constexpr HRESULT guidTextAccepted = static_cast<HRESULT>(0x80040151);

void replaceFromStart(std::u16string& text, std::u16string_view from, std::u16string_view to)
{
    for (std::size_t at = 0; (at = text.find(from)) != std::u16string::npos;) text.replace(at, from.size(), to);
}

std::u16string decimal(LONG value)
{
    const std::string digits = std::to_string(value);
    return {digits.begin(), digits.end()};
}

// "%.15f", whatever the locale.
std::u16string fixedPoint(double value)
{
    char buffer[400];
    const auto end = std::to_chars(buffer, std::end(buffer), value, std::chars_format::fixed, 15).ptr;
    return {buffer, end};
}

// The predicates of the expressions, whose literals never hold an apostrophe.
std::string sectionPath(const std::string& type, const std::string& name) { return "Scs/Sc[ST = '" + type + "' and SN = '" + name + "']"; }

bool isNamed(const XmlElement& e, const char* name) { return e.name() == name; }

XmlElement childNamed(const XmlElement& parent, const char* name)
{
    for (XmlElement e = parent.firstChild(); e; e = e.nextSibling())
        if (isNamed(e, name)) return e;
    return {};
}

// Calls visit(entry, key element, value element) for each entry of a section until it answers true.
template <class F> void eachEntry(const XmlElement& section, F&& visit)
{
    for (XmlElement entry = section.firstChild(); entry; entry = entry.nextSibling())
        if (isNamed(entry, "Ky") && visit(entry, childNamed(entry, "KN"), childNamed(entry, "KV"))) return;
}

XmlElement valueElement(const XmlElement& section, std::string_view encodedKey)
{
    XmlElement found;
    eachEntry(section, [&](const XmlElement&, const XmlElement& key, const XmlElement& value) {
        if (key && key.text() == encodedKey) found = value;
        return static_cast<bool>(found);
    });
    return found;
}

void appendEntry(const XmlElement& section, const std::string& key, const std::string& value)
{
    const XmlElement entry = section.appendChild("Ky");
    entry.appendChild("KN").setText(key);
    entry.appendChild("KV").setText(value);
}

std::u16string decoded(const std::string& text) { return text.empty() ? std::u16string() : decodeBase64(text); }

const std::string& syncInfoName()
{
    static const std::string name = encodeBase64(u"SyncInfo");
    return name;
}

bool equalAsciiNoCase(std::string_view a, std::string_view b)
{
    const auto low = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::ranges::equal(a, b, {}, low, low);
}

} // namespace

std::u16string EscapeTypeName(std::u16string_view type, bool encode)
{
    std::u16string out(type);
    if (encode) {
        replaceFromStart(out, u"'", u"&apos;");
        replaceFromStart(out, u"\"", u"&quot;");
    } else {
        replaceFromStart(out, u"&apos;", u"'");
        replaceFromStart(out, u"&quot;", u"\"");
    }
    return out;
}

std::optional<std::u16string> valueInSection(const XmlElement& section, std::string_view encodedKey)
{
    const XmlElement value = valueElement(section, encodedKey);
    return value ? std::optional(decoded(value.text())) : std::nullopt;
}

std::string encodedNameOf(const XmlElement& section)
{
    const XmlElement name = childNamed(section, "SN");
    return name ? name.text() : std::string();
}

StoreFile::SectionKey StoreFile::sectionKey(std::u16string_view type, std::u16string_view section)
{
    return {platform::utf8(EscapeTypeName(type, true)), encodeBase64(section)};
}

// ---- The file ----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::Open(const std::filesystem::path& path, bool create)
{
    if (path.empty()) return E_FAIL;
    path_ = path;
    const HRESULT hr = loadExisting();
    if (SUCCEEDED(hr) && isOpen()) return S_OK;
    if (!create) return hr;
    if (FAILED(hr)) {
        const HRESULT kept = keepDamaged();
        if (FAILED(kept)) return kept;
    }
    return createEmpty();
}

// No document and success for a file that is missing or cannot be read; a failure for a damaged one.
HRESULT StoreFile::loadExisting()
{
    document_.reset();
    dirty_ = false;
    std::error_code error;
    std::string bytes = platform::readFile(path_, error, largestStore);
    if (error == std::errc::file_too_large) return E_FAIL;
    if (error) return S_OK;
    platform::XmlDocument document;
    if (!document.load(std::move(bytes))) return E_FAIL;
    document_ = std::move(document);
    rebuildIndex();
    return S_OK;
}

HRESULT StoreFile::keepDamaged()
{
    std::filesystem::path kept = path_;
    kept += ".damaged";
    std::error_code error;
    if (std::filesystem::file_size(path_, error) == 0) return S_OK; // no bytes, nothing to keep
    return resultOf(platform::copyReplacing(path_, kept));
}

HRESULT StoreFile::createEmpty()
{
    document_.emplace();
    document_->create("Scs");
    rebuildIndex();
    HRESULT hr = SetVersion(currentStoreVersion);
    if (SUCCEEDED(hr)) hr = Save();
    return hr;
}

HRESULT StoreFile::Revert()
{
    if (!isOpen()) return E_POINTER;
    return dirty_ ? loadExisting() : S_OK;
}

HRESULT StoreFile::Save(bool release)
{
    if (!isOpen()) return E_POINTER;
    HRESULT hr = S_OK;
    if (scopes_ > 0 && !release) {
        saveWanted_ = true;
        return S_OK;
    }
    if (dirty_) {
        platform::AtomicFile file(path_);
        document_->write([&](std::string_view piece) { file.write(piece); });
        hr = resultOf(file.commit());
        if (SUCCEEDED(hr)) dirty_ = false;
    }
    if (release) document_.reset();
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
    if (std::exchange(finished_, true) || --store_.scopes_ > 0) return S_OK;
    if (!std::exchange(store_.saveWanted_, false)) return S_OK;
    return com::guarded([&] { return store_.Save(); });
}

void StoreFile::rebuildIndex() { index_.build(document_->root()); }

HRESULT StoreFile::GetVersion(LONG& version) const
{
    version = -1;
    if (!isOpen()) return E_FAIL;
    const XmlElement root = document_->root();
    if (!root || !isNamed(root, "Scs")) return E_FAIL;
    const auto text = root.attribute("Version");
    if (!text || text->empty()) return S_FALSE;
    version = platform::toInt(platform::utf16(*text));
    return S_OK;
}

HRESULT StoreFile::SetVersion(LONG version)
{
    if (!isOpen()) return E_POINTER;
    const XmlElement root = document_->root();
    if (!root || !isNamed(root, "Scs")) return E_FAIL;
    const std::string text = std::to_string(version);
    if (root.attribute("Version") != text) {
        root.setAttribute("Version", text);
        dirty_ = true;
    }
    return Save();
}

// ---- Finding -----------------------------------------------------------------------------------------------------------

XmlElement StoreFile::findSection(const SectionKey& key) const
{
    const StoreIndex::Answer answer = index_.find(key.type, key.name);
    return answer.known ? answer.section : document_->selectFirst(sectionPath(key.type, key.name));
}

std::vector<XmlElement> StoreFile::findSections(const SectionKey& key) const
{
    const StoreIndex::Answer answer = index_.find(key.type, key.name);
    if (!answer.known) return document_->select(sectionPath(key.type, key.name));
    return answer.section ? std::vector{answer.section} : std::vector<XmlElement>();
}

XmlElement StoreFile::findValue(const SectionKey& section, const std::string& key) const
{
    const StoreIndex::Answer answer = index_.find(section.type, section.name);
    if (!answer.known) return document_->selectFirst(sectionPath(section.type, section.name) + "/Ky[KN = '" + key + "']/KV");
    return answer.section ? valueElement(answer.section, key) : XmlElement();
}

std::vector<XmlElement> StoreFile::findEntries(const SectionKey& section, const std::string& key) const
{
    const StoreIndex::Answer answer = index_.find(section.type, section.name);
    if (!answer.known) return document_->select(sectionPath(section.type, section.name) + "/Ky[KN = '" + key + "']");
    std::vector<XmlElement> found;
    if (answer.section)
        eachEntry(answer.section, [&](const XmlElement& entry, const XmlElement& name, const XmlElement&) {
            if (name && name.text() == key) found.push_back(entry);
            return false;
        });
    return found;
}

bool StoreFile::hasKey(std::u16string_view type, std::u16string_view section, std::u16string_view key) const
{
    return isOpen() && findValue(sectionKey(type, section), encodeBase64(key));
}

std::vector<XmlElement> StoreFile::sectionsOfType(std::u16string_view type) const
{
    std::vector<XmlElement> found;
    if (!isOpen()) return found;
    const std::string wanted = platform::utf8(EscapeTypeName(type, true));
    if (!index_.regular()) return document_->select("Scs/Sc[ST = '" + wanted + "']");
    for (XmlElement section = document_->root().firstChild(); section; section = section.nextSibling())
        if (isNamed(section, "Sc") && childNamed(section, "ST").text() == wanted) found.push_back(section);
    return found;
}

std::vector<XmlElement> StoreFile::sectionsWithValue(std::u16string_view type, std::u16string_view key, std::u16string_view value) const
{
    const std::string encodedKey = encodeBase64(key), encodedValue = encodeBase64(value);
    std::vector<XmlElement> found;
    for (const XmlElement& section : sectionsOfType(type)) {
        bool holds = false;
        eachEntry(section, [&](const XmlElement&, const XmlElement& name, const XmlElement& content) {
            holds = name && content && name.text() == encodedKey && content.text() == encodedValue;
            return holds;
        });
        if (holds) found.push_back(section);
    }
    return found;
}

// ---- Reading -----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::ReadValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string& value) const
{
    value.clear();
    if (!isOpen()) return E_POINTER;
    const XmlElement found = findValue(sectionKey(type, section), encodeBase64(key));
    if (!found) return E_FAIL;
    value = decoded(found.text());
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
    const std::string wanted = encodeBase64(value), encodedKey = encodeBase64(key);
    const StoreIndex::Answer answer = index_.find(place.type, place.name);
    XmlElement name;
    if (!answer.known)
        name = document_->selectFirst(sectionPath(place.type, place.name) + "/Ky[KV = '" + wanted + "']/KN");
    else if (answer.section)
        eachEntry(answer.section, [&](const XmlElement&, const XmlElement& keyName, const XmlElement& content) {
            if (content && content.text() == wanted) name = keyName;
            return static_cast<bool>(name);
        });
    if (!name) return S_FALSE;
    if (name.text() == encodedKey) has = VARIANT_TRUE;
    return S_OK;
}

HRESULT StoreFile::ListSections(std::u16string_view type, std::vector<std::u16string>& names) const
{
    names.clear();
    if (!isOpen()) return E_POINTER;
    if (!index_.regular()) {
        for (const XmlElement& name : document_->select("Scs/Sc[ST = '" + platform::utf8(EscapeTypeName(type, true)) + "']/SN"))
            names.push_back(decoded(name.text()));
        return S_OK;
    }
    for (const XmlElement& section : sectionsOfType(type)) names.push_back(decoded(encodedNameOf(section)));
    return S_OK;
}

HRESULT StoreFile::ListKeys(std::u16string_view type, std::u16string_view section, std::vector<std::u16string>& keys) const
{
    keys.clear();
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    const StoreIndex::Answer answer = index_.find(place.type, place.name);
    if (!answer.known) {
        for (const XmlElement& name : document_->select(sectionPath(place.type, place.name) + "/Ky/KN"))
            keys.push_back(decoded(name.text()));
    } else if (answer.section) {
        eachEntry(answer.section, [&](const XmlElement&, const XmlElement& name, const XmlElement&) {
            keys.push_back(decoded(name.text()));
            return false;
        });
    }
    return S_OK;
}

HRESULT StoreFile::ListValues(std::u16string_view type, std::u16string_view section, std::u16string_view key,
                              std::vector<std::u16string>& values) const
{
    values.clear();
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    const std::string encodedKey = encodeBase64(key);
    if (!index_.find(place.type, place.name).known) {
        for (const XmlElement& value : document_->select(sectionPath(place.type, place.name) + "/Ky[KN = '" + encodedKey + "']/KV"))
            values.push_back(decoded(value.text()));
        return S_OK;
    }
    for (const XmlElement& entry : findEntries(place, encodedKey)) values.push_back(decoded(childNamed(entry, "KV").text()));
    return S_OK;
}

// ---- Writing -----------------------------------------------------------------------------------------------------------

HRESULT StoreFile::WriteValue(std::u16string_view type, std::u16string_view section, std::u16string_view key, std::u16string_view value,
                              bool append, bool save)
{
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    const std::string encodedKey = encodeBase64(key), encodedValue = encodeBase64(value);
    const XmlElement existing = append ? XmlElement() : findValue(place, encodedKey);
    if (existing) {
        if (existing.text() == encodedValue) return save ? Save() : S_OK;
        existing.setText(encodedValue);
        return saved(save);
    }
    XmlElement node = findSection(place);
    if (!node) {
        const XmlElement root = document_->root();
        if (!root) return E_FAIL;
        node = root.appendChild("Sc");
        node.appendChild("ST").setText(place.type);
        node.appendChild("SN").setText(place.name);
        index_.add(place.type, place.name, node);
    }
    appendEntry(node, encodedKey, encodedValue);
    return saved(save);
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
    const auto entries = findEntries(sectionKey(type, section), encodeBase64(key));
    for (const XmlElement& entry : entries) entry.parent().removeChild(entry);
    if (!entries.empty()) dirty_ = true;
    return Save();
}

HRESULT StoreFile::RemoveSection(std::u16string_view type, std::u16string_view section, bool save)
{
    if (!isOpen()) return E_POINTER;
    const SectionKey place = sectionKey(type, section);
    const auto found = findSections(place);
    for (const XmlElement& node : found) node.parent().removeChild(node);
    if (!found.empty()) {
        dirty_ = true;
        if (index_.regular())
            index_.remove(place.type, place.name);
        else
            rebuildIndex();
    }
    return save ? Save() : S_OK;
}

HRESULT StoreFile::RemoveType(std::u16string_view type)
{
    if (!isOpen()) return E_POINTER;
    const auto found = sectionsOfType(type);
    for (const XmlElement& node : found) node.parent().removeChild(node);
    if (!found.empty()) {
        dirty_ = true;
        rebuildIndex();
    }
    return Save();
}

HRESULT StoreFile::RenameSection(std::u16string_view type, std::u16string_view oldSection, std::u16string_view newSection, bool save)
{
    if (!isOpen()) return E_POINTER;
    const SectionKey from = sectionKey(type, oldSection), to = sectionKey(type, newSection);
    const XmlElement section = findSection(from);
    const XmlElement name = section ? childNamed(section, "SN") : XmlElement();
    if (!name) return E_FAIL;
    const bool known = index_.find(from.type, from.name).known;
    name.setText(to.name);
    if (known)
        index_.rename(from.type, from.name, to.name);
    else
        rebuildIndex();
    return saved(save);
}

HRESULT StoreFile::SetFlagInAllSections(std::u16string_view type, LONG flag, bool save)
{
    if (!isOpen()) return E_POINTER;
    const std::string key = encodeBase64(u"FieldMapChanged"), value = encodeBase64(flag == 1 ? u"1" : u"0");
    for (const XmlElement& section : sectionsOfType(type)) {
        if (equalAsciiNoCase(encodedNameOf(section), syncInfoName())) continue;
        if (const XmlElement existing = valueElement(section, key))
            existing.setText(value);
        else
            appendEntry(section, key, value);
        dirty_ = true;
    }
    return save ? Save() : S_OK;
}

} // namespace mb
