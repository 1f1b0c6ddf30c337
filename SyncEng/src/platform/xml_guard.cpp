#include "xml_guard.h"

#include <utility>

namespace platform {
namespace {

// Returns the position behind the next `mark`, or the end of the text.
std::size_t behind(std::string_view bytes, std::string_view mark, std::size_t from) noexcept
{
    const std::size_t at = mark.size() == 1 ? bytes.find(mark[0], from) : bytes.find(mark, from);
    return at == std::string_view::npos ? bytes.size() : at + mark.size();
}

// Returns the position of the tag's '>', ignoring any '>' in a quoted attribute value.
std::size_t tagEnd(std::string_view bytes, std::size_t from) noexcept
{
    char quote = 0;
    for (std::size_t i = from; i < bytes.size(); ++i) {
        const char c = bytes[i];
        if (quote) {
            if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return i;
        }
    }
    return bytes.size();
}

} // namespace

bool isHarmlessXml(std::string_view bytes) noexcept
{
    constexpr std::string_view blanks = " \t\r\n", byteOrderMark = "\xEF\xBB\xBF";
    std::size_t depth = 0, at = bytes.starts_with(byteOrderMark) ? byteOrderMark.size() : 0;
    bool rootSeen = false;
    while (at < bytes.size()) {
        if (depth == 0) { // only white space may stand outside of the root
            at = bytes.find_first_not_of(blanks, at);
            if (at == std::string_view::npos) break;
            if (bytes[at] != '<') return false;
        }
        if (bytes[at] != '<') at = bytes.find('<', at); // usually a tag follows directly
        if (at == std::string_view::npos) break;
        const char kind = at + 1 < bytes.size() ? bytes[at + 1] : '\0';
        if (kind == '/') {
            if (depth == 0) return false;
            --depth;
            while (at < bytes.size() && bytes[at] != '>') ++at; // a loop, since an end tag is short
            ++at;
        } else if (kind == '?') {
            at = behind(bytes, "?>", at);
        } else if (kind == '!') {
            const std::string_view rest = bytes.substr(at);
            if (rest.starts_with("<!--"))
                at = behind(bytes, "-->", at + 4);
            else if (rest.starts_with("<![CDATA[") && depth > 0)
                at = behind(bytes, "]]>", at);
            else
                return false;
        } else {
            if (depth == 0 && std::exchange(rootSeen, true)) return false;
            const std::size_t end = tagEnd(bytes, at);
            if (end == bytes.size() || bytes[end - 1] != '/')
                if (++depth > deepestXml) return false;
            at = end + 1;
        }
    }
    return rootSeen && depth == 0;
}

} // namespace platform
