#include "foundation/XmlText.h"

#include "foundation/TextBase64.h"
#include "text.h"
#include <algorithm>

namespace mb {
namespace {

constexpr char encodedMark[] = "Base64Encoded";

// Quirk kept on purpose: CR and the character 16 are written plain although they are control characters; LF is encoded.
bool needsEncoding(std::u16string_view value)
{
    return std::ranges::any_of(value, [](char16_t c) { return c < 32 && c != 9 && c != 13 && c != 16; });
}

std::u16string withLineEnds(std::u16string text)
{
    constexpr std::u16string_view reference = u"&#x0D;";
    if (text.find(reference) == std::u16string::npos) return text;
    std::u16string out;
    std::u16string_view rest = text;
    for (std::size_t at; (at = rest.find(reference)) != std::u16string_view::npos; rest.remove_prefix(at + reference.size()))
        out.append(rest.substr(0, at)).append(u"\r\n");
    return out.append(rest);
}

platform::XmlElement child(const platform::XmlElement& node, std::u16string_view name)
{
    return name.empty() || !node ? node : node.selectFirst(platform::utf8(name));
}

} // namespace

std::u16string GetNodeText(const platform::XmlElement& node)
{
    if (!node) return {};
    const auto first = node.firstText();
    std::u16string text = platform::utf16(first ? *first : node.text());
    if (!text.empty() && node.attribute(encodedMark) == "1") text = platform::widen(decodeTextBase64(platform::narrow(text)));
    return withLineEnds(std::move(text));
}

std::u16string GetChildText(const platform::XmlElement& node, std::u16string_view name) { return GetNodeText(child(node, name)); }

void SetNodeText(const platform::XmlElement& node, std::u16string_view value, bool forceEncoding, bool useCData)
{
    if (!node) return;
    const bool encode = forceEncoding || needsEncoding(value);
    const std::string text = encode && !value.empty() ? encodeTextBase64(platform::narrow(value)) : platform::utf8(value);
    node.setAttribute(encodedMark, encode ? "1" : "0");
    if (node.setFirstText(text)) return;
    if (useCData && !text.empty())
        node.appendCData(text);
    else
        node.setText(text);
}

void SetChildText(const platform::XmlElement& node, std::u16string_view name, std::u16string_view value, bool forceEncoding, bool useCData)
{
    SetNodeText(child(node, name), value, forceEncoding, useCData);
}

} // namespace mb
