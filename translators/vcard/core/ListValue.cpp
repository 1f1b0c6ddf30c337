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
        const bool ended = splitEscaped(escaped + u',', u',').size() > 1; // a backslash at the end would escape the next comma
        if (std::u16string text = unescape(escaped, version, true); !text.empty() && ended) spellings.push_back({std::move(text), escaped});
    }
    std::ranges::stable_sort(spellings, std::greater{}, [](const Spelled& s) { return s.text.size(); });
    return spellings;
}

// Returns the first value of the text; its spelling is that of `spellings`, if it is one of them.
Spelled firstValue(std::u16string_view text, std::u16string_view separator, const std::vector<Spelled>& spellings, Version version)
{
    const auto isFirst = [&](const Spelled& s) {
        return text.starts_with(s.text) && (text.size() == s.text.size() || text.substr(s.text.size()).starts_with(separator));
    };
    if (const auto known = std::ranges::find_if(spellings, isFirst); known != spellings.end()) return *known;
    const std::u16string_view first = text.substr(0, text.find(separator));
    return {std::u16string(first), escapedValue(first, version)};
}

// Returns the list of the values that the separator separates in the text.
std::u16string listOf(std::u16string_view text, std::u16string_view separator, const std::vector<Spelled>& spellings, Version version)
{
    std::vector<std::u16string> values;
    for (;;) {
        Spelled first = firstValue(text, separator, spellings, version);
        values.push_back(std::move(first.escaped));
        if (first.text.size() == text.size()) return join(values, u",");
        text.remove_prefix(first.text.size() + separator.size());
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

std::u16string readNames(std::u16string_view value, Version version)
{
    std::vector<std::u16string> names = splitEscaped(value, u',');
    for (std::u16string& name : names) name = trimBlanks(unescape(name, version, true));
    return join(names, kSeparator);
}

std::u16string writeNames(std::u16string_view text, Version version, std::u16string_view before)
{
    const std::vector<Spelled> spellings = spellingsOf(before, version);
    std::vector<std::u16string> names;
    while (!text.empty()) {
        if (text.front() == u' ' || text.front() == u',') {
            text.remove_prefix(1);
            continue;
        }
        const Spelled first = firstValue(text, u",", spellings, version);
        names.push_back(trimBlanks(first.escaped));
        text.remove_prefix(first.text.size());
    }
    return join(names, u",");
}

std::u16string writeComponent(std::u16string_view text, Version version, std::u16string_view before)
{
    if (splitEscaped(before, u',').size() == 1) return escape(text, version, true);
    return listOf(text, u",", spellingsOf(before, version), version);
}

} // namespace mb::vcard
