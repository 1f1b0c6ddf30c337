#include "ListValue.h"

#include "Value.h"

#include <algorithm>
#include <vector>

namespace mb::vcard {
namespace {

constexpr std::u16string_view kSeparator = u", ";

// As escape(), but with an escape of commas in version 2.1 too, whose other values have no lists.
std::u16string escapedValue(std::u16string_view text, Version version)
{
    const std::u16string escaped = escape(text, version, true);
    if (version != Version::V21) return escaped;
    std::u16string value;
    value.reserve(escaped.size());
    for (const char16_t c : escaped) {
        if (c == u',') value += u'\\';
        value += c;
    }
    return value;
}

struct Spelled {
    std::u16string text, escaped;
};

// Returns the values of a list, those with the longest text first; none of a list that is too long to be looked up value by value.
std::vector<Spelled> spellingsOf(std::u16string_view list, Version version)
{
    constexpr std::size_t kMostValues = 200;
    std::vector<Spelled> spellings;
    const std::vector<std::u16string> values = splitEscaped(list, u',');
    if (values.size() > kMostValues) return spellings;
    for (const std::u16string& value : values) {
        const std::u16string escaped = trimBlanks(value);
        if (std::u16string text = unescape(escaped, version, true); !text.empty()) spellings.push_back({std::move(text), escaped});
    }
    std::ranges::stable_sort(spellings, std::greater{}, [](const Spelled& s) { return s.text.size(); });
    return spellings;
}

// Returns the list of the values that the separator separates in the text. Values of `spellings` are spelled as there.
std::u16string listOf(std::u16string_view text, std::u16string_view separator, const std::vector<Spelled>& spellings, Version version)
{
    std::vector<std::u16string> values;
    for (std::u16string_view rest = text;;) {
        const auto isFirst = [&](const Spelled& s) {
            return rest.starts_with(s.text) && (rest.size() == s.text.size() || rest.substr(s.text.size()).starts_with(separator));
        };
        const auto known = std::ranges::find_if(spellings, isFirst);
        const bool found = known != spellings.end();
        const std::size_t length = found ? known->text.size() : std::min(rest.find(separator), rest.size());
        values.push_back(found ? known->escaped : escapedValue(rest.substr(0, length), version));
        if (length == rest.size()) return join(values, u",");
        rest.remove_prefix(length + separator.size());
    }
}

} // namespace

std::u16string readValues(std::u16string_view value, Version version)
{
    std::vector<std::u16string> values = splitEscaped(value, u',');
    if (values.size() == 1) return unescape(value, version, true);
    for (std::u16string& v : values) v = trimBlanks(unescape(v, version, true));
    return join(values, kSeparator);
}

std::u16string writeValues(std::u16string_view text, Version version, std::u16string_view before)
{
    std::u16string value = listOf(text, kSeparator, spellingsOf(before, version), version);
    return readValues(value, version) == text ? value : escapedValue(text, version); // blanks around a value would be lost
}

std::u16string writeComponent(std::u16string_view text, Version version, std::u16string_view before)
{
    if (splitEscaped(before, u',').size() == 1) return escape(text, version, true);
    std::u16string list = listOf(text, u",", spellingsOf(before, version), version);
    return unescape(list, version, true) == text ? list : escape(text, version, true); // a backslash at the end of `before` escapes nothing
}

} // namespace mb::vcard
