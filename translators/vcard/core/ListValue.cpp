#include "ListValue.h"

#include "Value.h"

#include <algorithm>
#include <vector>

namespace mb::vcard {
namespace {

constexpr std::u16string_view kSeparator = u", ";

std::u16string escapedValue(std::u16string_view text, Version version)
{
    std::u16string escaped = escape(text, version, true);
    if (version == Version::V21) // whose other structured values have no lists
        for (std::size_t at = 0; (at = escaped.find(u',', at)) != escaped.npos; at += 2) escaped.insert(at, 1, u'\\');
    return escaped;
}

struct Spelled {
    std::u16string text, escaped;
};

// Returns the values of a property, those with the longest text first.
std::vector<Spelled> spellingsOf(std::u16string_view value, Version version)
{
    std::vector<Spelled> spellings;
    for (std::u16string& escaped : splitEscaped(value, u','))
        if (std::u16string text = trimBlanks(unescape(escaped, version, true)); !text.empty())
            spellings.push_back({std::move(text), trimBlanks(escaped)});
    std::ranges::stable_sort(spellings, std::greater{}, [](const Spelled& s) { return s.text.size(); });
    return spellings;
}

// Returns whether `value` is the first value of the text.
bool beginsWith(std::u16string_view text, std::u16string_view value)
{
    return text.starts_with(value) && (text.size() == value.size() || text.substr(value.size()).starts_with(kSeparator));
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
    const std::vector<Spelled> spellings = spellingsOf(before, version);
    std::vector<std::u16string> values;
    for (std::u16string_view rest = text;;) {
        const auto known = std::ranges::find_if(spellings, [&](const Spelled& s) { return beginsWith(rest, s.text); });
        const bool found = known != spellings.end();
        const std::size_t length = found ? known->text.size() : std::min(rest.find(kSeparator), rest.size());
        values.push_back(found ? known->escaped : escapedValue(rest.substr(0, length), version));
        if (length == rest.size()) break;
        rest.remove_prefix(length + kSeparator.size());
    }
    std::u16string value = join(values, u",");
    return readValues(value, version) == text ? value : escapedValue(text, version); // blanks around a value would be lost
}

} // namespace mb::vcard
