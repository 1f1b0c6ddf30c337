#include "ExpressionStore.h"

#include "store/CBase64.h"
#include "store/StoreFile.h"
#include "text.h"

namespace mbtest {
namespace {

using mb::decodeBase64, mb::encodeBase64;
using platform::XmlElement;

std::string typePath(const std::u16string& type) { return "Scs/Sc[ST = '" + platform::utf8(mb::EscapeTypeName(type, true)) + "']"; }

std::string sectionPath(const std::u16string& type, const std::u16string& section)
{
    return "Scs/Sc[ST = '" + platform::utf8(mb::EscapeTypeName(type, true)) + "' and SN = '" + encodeBase64(section) + "']";
}

std::string entriesPath(const std::u16string& type, const std::u16string& section, const std::u16string& key)
{
    return sectionPath(type, section) + "/Ky[KN = '" + encodeBase64(key) + "']";
}

std::u16string decodedText(const XmlElement& e) { return e.text().empty() ? std::u16string() : decodeBase64(e.text()); }

void appendEntry(const XmlElement& section, const std::string& key, const std::string& value)
{
    const XmlElement entry = section.appendChild("Ky");
    entry.appendChild("KN").setText(key);
    entry.appendChild("KV").setText(value);
}

} // namespace

HRESULT ExpressionStore::ReadValue(const std::u16string& type, const std::u16string& section, const std::u16string& key,
                                   std::u16string& value) const
{
    const XmlElement found = document.selectFirst(entriesPath(type, section, key) + "/KV");
    value = found ? decodedText(found) : std::u16string();
    return found ? S_OK : E_FAIL;
}

// An equal value leaves the element unchanged, whatever else it contains.
static void assign(const XmlElement& element, const std::string& text)
{
    if (element.text() != text) element.setText(text);
}

HRESULT ExpressionStore::WriteValue(const std::u16string& type, const std::u16string& section, const std::u16string& key,
                                    const std::u16string& value, bool append)
{
    const XmlElement found = document.selectFirst(entriesPath(type, section, key) + "/KV");
    if (found && !append) {
        assign(found, encodeBase64(value));
        return S_OK;
    }
    XmlElement node = document.selectFirst(sectionPath(type, section));
    if (!node) {
        if (!document.root()) return E_FAIL;
        node = document.root().appendChild("Sc");
        node.appendChild("ST").setText(platform::utf8(mb::EscapeTypeName(type, true)));
        node.appendChild("SN").setText(encodeBase64(section));
    }
    appendEntry(node, encodeBase64(key), encodeBase64(value));
    return S_OK;
}

void ExpressionStore::removeAll(const std::string& path)
{
    for (const XmlElement& e : document.select(path)) e.parent().removeChild(e);
}

void ExpressionStore::RemoveKey(const std::u16string& type, const std::u16string& section, const std::u16string& key)
{
    removeAll(entriesPath(type, section, key));
}

void ExpressionStore::RemoveSection(const std::u16string& type, const std::u16string& section) { removeAll(sectionPath(type, section)); }
void ExpressionStore::RemoveType(const std::u16string& type) { removeAll(typePath(type)); }

HRESULT ExpressionStore::RenameSection(const std::u16string& type, const std::u16string& from, const std::u16string& to)
{
    const XmlElement section = document.selectFirst(sectionPath(type, from));
    const XmlElement name = section ? section.selectFirst("SN") : XmlElement();
    if (!name) return E_FAIL;
    name.setText(encodeBase64(to));
    return S_OK;
}

bool ExpressionStore::KeyHasValue(const std::u16string& type, const std::u16string& section, const std::u16string& key,
                                  const std::u16string& value) const
{
    const XmlElement name = document.selectFirst(sectionPath(type, section) + "/Ky[KV = '" + encodeBase64(value) + "']/KN");
    return name && name.text() == encodeBase64(key);
}

ExpressionStore::Texts ExpressionStore::decodedTexts(const std::string& path) const
{
    Texts texts;
    for (const XmlElement& e : document.select(path)) texts.push_back(decodedText(e));
    return texts;
}

ExpressionStore::Texts ExpressionStore::ListSections(const std::u16string& type) const { return decodedTexts(typePath(type) + "/SN"); }

ExpressionStore::Texts ExpressionStore::ListKeys(const std::u16string& type, const std::u16string& section) const
{
    return decodedTexts(sectionPath(type, section) + "/Ky/KN");
}

ExpressionStore::Texts ExpressionStore::ListValues(const std::u16string& type, const std::u16string& section,
                                                   const std::u16string& key) const
{
    return decodedTexts(entriesPath(type, section, key) + "/KV");
}

void ExpressionStore::SetFlagInAllSections(const std::u16string& type, LONG flag)
{
    const std::string key = encodeBase64(u"FieldMapChanged"), value = encodeBase64(flag == 1 ? u"1" : u"0");
    for (const XmlElement& section : document.select(typePath(type))) {
        const XmlElement name = section.selectFirst("SN");
        if (name && platform::equalNoCase(platform::utf16(name.text()), platform::utf16(encodeBase64(u"SyncInfo")))) continue;
        if (const XmlElement found = section.selectFirst("Ky[KN = '" + key + "']/KV"))
            assign(found, value);
        else
            appendEntry(section, key, value);
    }
}

ExpressionStore::Texts ExpressionStore::sectionsWithValue(const std::u16string& type, const std::u16string& key,
                                                          const std::u16string& value) const
{
    Texts texts;
    const std::string path = typePath(type) + "/Ky[KN='" + encodeBase64(key) + "' and KV='" + encodeBase64(value) + "']/..";
    for (const XmlElement& section : document.select(path)) {
        const XmlElement name = section.selectFirst("SN");
        texts.push_back(name ? decodedText(name) : std::u16string());
    }
    return texts;
}

} // namespace mbtest
