#include "store/FieldData.h"

#include "text.h"
#include <charconv>

namespace mb {
namespace {

constexpr std::size_t longestNumber = 11;

char16_t* putNumber(char16_t* to, LONG number)
{
    char digits[longestNumber];
    return std::copy(digits, std::to_chars(digits, std::end(digits), number).ptr, to);
}

// Returns false for a text that does not begin with a number.
bool parseType(std::u16string_view text, LONG& type)
{
    std::size_t at = 0;
    while (at < text.size() && platform::isSpace(text[at])) ++at;
    const std::size_t sign = at < text.size() && (text[at] == u'-' || text[at] == u'+') ? 1 : 0;
    if (at + sign >= text.size() || !platform::isDigit(text[at + sign])) return false;
    type = platform::toInt(text.substr(at));
    return true;
}

} // namespace

std::u16string composeFieldData(const FieldValueMap& fields)
{
    std::size_t size = 0;
    for (const auto& [type, value] : fields) size += longestNumber + value.size() + 2 * FieldSeparator.size();
    std::u16string out(size, u'\0');
    char16_t* to = out.data();
    for (const auto& [type, value] : fields) {
        to = putNumber(to, type);
        // copy() copies a block; std::copy would copy 16-bit units one by one.
        for (const std::u16string_view part : {FieldSeparator, std::u16string_view(value), FieldSeparator})
            to += part.copy(to, part.size());
    }
    out.resize(static_cast<std::size_t>(to - out.data()));
    return out;
}

FieldValueMap parseFieldData(std::u16string_view text)
{
    FieldValueMap fields;
    while (!text.empty()) {
        const std::size_t first = text.find(FieldSeparator);
        if (first == std::u16string_view::npos) break;
        const std::size_t start = first + FieldSeparator.size(), second = text.find(FieldSeparator, start);
        LONG type = 0;
        if (second == std::u16string_view::npos || !parseType(text.substr(0, first), type)) break;
        fields[type] = text.substr(start, second - start);
        text.remove_prefix(second + FieldSeparator.size());
    }
    return fields;
}

} // namespace mb
