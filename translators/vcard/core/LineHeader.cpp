#include "LineHeader.h"

#include "Ascii.h"

#include <algorithm>
#include <array>
#include <string>

namespace mb::vcard {
namespace {

// Returns a part of a header without quotes, blanks and folds.
std::string packed(std::string_view part)
{
    std::string text;
    for (const char c : part)
        if (c != ' ' && c != '\t' && c != '\r' && c != '\n' && c != '"') text += c;
    return text;
}

} // namespace

std::size_t findOutsideQuotes(std::string_view text, char wanted, std::size_t from)
{
    const std::size_t first = text.find(wanted, from);
    if (first == std::string_view::npos || text.substr(from, first - from).find('"') == std::string_view::npos) return first;
    bool quoted = false;
    for (std::size_t i = from; i < text.size(); ++i) {
        if (text[i] == '"') quoted = !quoted;
        if (!quoted && text[i] == wanted) return i;
    }
    return quoted ? first : std::string_view::npos;
}

std::size_t endOfHeader(std::string_view line)
{
    const std::size_t colon = findOutsideQuotes(line, ':', 0);
    return colon == std::string_view::npos ? line.find(':') : colon;
}

std::string_view bareWordName(std::string_view word)
{
    constexpr std::array<std::string_view, 5> kEncodings = {"QUOTED-PRINTABLE", "BASE64", "7BIT", "8BIT", "B"};
    return std::any_of(kEncodings.begin(), kEncodings.end(), [&](auto e) { return equalFold(e, word); }) ? "ENCODING" : "TYPE";
}

Encoding encodingOf(std::string_view header)
{
    std::size_t at = std::min(header.find(';'), header.size());
    while (at < header.size()) {
        const std::size_t end = std::min(findOutsideQuotes(header, ';', at + 1), header.size());
        const std::string param = packed(header.substr(at + 1, end - at - 1));
        at = end;
        const std::size_t equals = param.find('=');
        const std::string_view value = std::string_view(param).substr(equals == std::string_view::npos ? 0 : equals + 1);
        if (!equalFold(equals == std::string_view::npos ? bareWordName(value) : std::string_view(param).substr(0, equals), "ENCODING")) continue;
        if (equalFold(value, "QUOTED-PRINTABLE")) return Encoding::QuotedPrintable;
        return equalFold(value, "BASE64") || equalFold(value, "B") ? Encoding::Base64 : Encoding::Plain;
    }
    return Encoding::Plain;
}

bool endsInLoneBackslash(std::string_view text)
{
    const std::size_t last = text.find_last_not_of('\\');
    return (text.size() - (last == std::string_view::npos ? 0 : last + 1)) % 2 != 0;
}

} // namespace mb::vcard
