#include "store/FieldData.h"

#include "text.h"
#include <charconv>

namespace mb {
namespace {

void appendNumber(std::u16string& out, LONG number)
{
    char digits[12];
    out.append(digits, std::to_chars(digits, std::end(digits), number).ptr);
}

// A text that does not begin with a number names no field.
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
    std::u16string out;
    std::size_t size = 0;
    for (const auto& [type, value] : fields) size += value.size() + 8;
    out.reserve(size);
    for (const auto& [type, value] : fields) {
        appendNumber(out, type);
        out += FieldSeparator;
        out += value;
        out += FieldSeparator;
    }
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
