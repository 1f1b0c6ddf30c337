#include "DetailsText.h"

#include <algorithm>

namespace mb::plugin {
namespace {

constexpr auto npos = std::u16string_view::npos;

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

char16_t upper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c; }

bool isNameCharacter(char16_t c) { return isDigit(c) || (upper(c) >= u'A' && upper(c) <= u'Z') || c == u'-' || c == u'_'; }

bool isName(std::u16string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isNameCharacter); }

bool sameName(std::u16string_view a, std::u16string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char16_t x, char16_t y) { return upper(x) == upper(y); });
}

// Returns the offset behind the parameters that begin at `at`, each with its semicolon in front; npos if they are not well-formed.
std::size_t endOfParams(std::u16string_view line, std::size_t at)
{
    while (at < line.size() && line[at] == u';') {
        const std::size_t equals = line.find(u'=', at);
        if (equals == npos) return npos;
        const std::u16string_view name = line.substr(at + 1, equals - at - 1);
        if (!isName(name) || sameName(name, u"ENCODING") || sameName(name, u"CHARSET")) return npos;
        bool quoted = false;
        for (at = equals + 1; at < line.size() && (quoted || (line[at] != u';' && line[at] != u':')); ++at)
            if (line[at] == u'"') quoted = !quoted;
        if (quoted) return npos;
    }
    return at;
}

bool isProperty(std::u16string_view line)
{
    const std::size_t end = line.find_first_of(u":;");
    if (end == npos) return false;
    const std::u16string_view head = line.substr(0, end);
    const std::size_t dot = head.rfind(u'.');
    const std::u16string_view name = dot == npos ? head : head.substr(dot + 1);
    if (!isName(name) || sameName(name, u"BEGIN") || sameName(name, u"END")) return false;
    for (const char16_t c : head.substr(0, dot == npos ? 0 : dot))
        if (!isNameCharacter(c) && c != u'.') return false;
    if (dot == 0) return false;
    const std::size_t colon = endOfParams(line, end);
    return colon != npos && colon < line.size() && line[colon] == u':';
}

bool isAnnotation(std::u16string_view line)
{
    const std::size_t params = std::min(line.find(u';'), line.size());
    return annotatedField(line) > 0 && params < line.size() && endOfParams(line, params) == line.size();
}

bool isHigh(char16_t c) { return c >= 0xD800 && c < 0xDC00; }
bool isLow(char16_t c) { return c >= 0xDC00 && c < 0xE000; }

std::u16string withoutControls(std::u16string_view line)
{
    std::u16string clean;
    clean.reserve(line.size() + 1);
    for (const char16_t c : line)
        if (c >= u' ' || c == u'\t') clean += c;
    for (std::size_t i = 0; i < clean.size(); ++i) {
        if (isHigh(clean[i]) && i + 1 < clean.size() && isLow(clean[i + 1]))
            ++i;
        else if (isHigh(clean[i]) || isLow(clean[i]))
            clean[i] = 0xFFFD;
    }
    return clean;
}

} // namespace

std::u16string cleanedDetailsLine(std::u16string_view line)
{
    std::u16string clean = withoutControls(line);
    if (isAnnotation(clean)) return clean;
    if (!isProperty(clean)) return {};
    const std::size_t last = clean.find_last_not_of(u'\\'); // a property has a name, so there is one
    if ((clean.size() - last - 1) % 2 != 0) clean += u'\\';
    return clean;
}

std::u16string cleanedDetails(std::u16string_view text)
{
    std::u16string clean;
    clean.reserve(text.size());
    for (const std::u16string_view line : detailsLines(text)) {
        const std::u16string kept = cleanedDetailsLine(line);
        if (!kept.empty()) clean.append(clean.empty() ? u"" : u"\n").append(kept);
    }
    return clean;
}

std::vector<std::u16string_view> detailsLines(std::u16string_view text)
{
    std::vector<std::u16string_view> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find(u'\n', at), text.size());
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
}

int annotatedField(std::u16string_view line)
{
    constexpr std::size_t kMaxDigits = 4;
    if (!line.starts_with(u'@')) return 0;
    const std::u16string_view digits = line.substr(1, std::min(line.find(u';'), line.size()) - 1);
    if (digits.empty() || digits.size() > kMaxDigits || digits[0] == u'0' || !std::all_of(digits.begin(), digits.end(), isDigit)) return 0;
    int field = 0;
    for (const char16_t digit : digits) field = field * 10 + (digit - u'0');
    return field;
}

std::vector<int> fieldsOfAnnotation(int field)
{
    static const std::vector<int> shared[] = {
        {1, 2, 3, 4, 5},      // the name
        {7, 68},              // company and department
        {8, 9, 10, 11, 12},   // the business address
        {13, 14, 15, 16, 17}, // the home address
        {51, 52, 53, 54, 55}, // the other address
    };
    const auto* const found = std::find_if(std::begin(shared), std::end(shared), [&](const auto& fields) { return fields[0] == field; });
    return found == std::end(shared) ? std::vector{field} : *found;
}

std::u16string withoutAnnotations(std::u16string_view text, const std::function<bool(int field)>& isEmpty)
{
    std::u16string kept;
    kept.reserve(text.size());
    for (const std::u16string_view line : detailsLines(text)) {
        const int field = annotatedField(line);
        if (field == 0 || !isEmpty(field)) kept.append(kept.empty() ? u"" : u"\n").append(line);
    }
    return kept;
}

std::u16string ownDetail(std::u16string_view text, std::u16string_view name)
{
    for (const std::u16string_view line : detailsLines(text))
        if (line.size() > name.size() && line[name.size()] == u':' && sameName(line.substr(0, name.size()), name))
            return std::u16string(line.substr(name.size() + 1));
    return {};
}

std::size_t detailsOctets(std::u16string_view text)
{
    std::size_t octets = 0;
    for (const char16_t c : text) octets += c < 0x80 ? 1 : c < 0x800 || isHigh(c) || isLow(c) ? 2 : 3;
    return octets;
}

std::string detailsRefusal(std::u16string_view text, const std::string& card, const std::string& refused)
{
    const auto message = [&](const char* what, std::size_t limit) {
        return "The card \"" + card + "\" " + refused + ": " + what + " has more than " + std::to_string(limit >> 20) +
               " MiB. Remove it from the contact, or make it smaller.";
    };
    // No UTF-16 unit takes more than three octets, so most texts need no look at each character.
    if (text.size() <= kMaxDetailsLine / 3) return {};
    std::size_t octets = 0;
    for (const std::u16string_view line : detailsLines(text)) {
        const std::size_t ofLine = detailsOctets(line);
        if (ofLine > kMaxDetailsLine) return message("a line of its details", kMaxDetailsLine);
        octets += ofLine + 1;
    }
    return octets > kMaxDetails ? message("the text of its details", kMaxDetails) : std::string();
}

} // namespace mb::plugin
