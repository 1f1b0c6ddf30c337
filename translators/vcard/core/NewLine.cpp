#include "NewLine.h"

#include "Ascii.h"
#include "Charset.h"
#include "PropertyKind.h"
#include "Value.h"

#include <algorithm>
#include <array>

namespace mb::vcard {
namespace {

std::string makeHeader(const Field& field, Version version)
{
    const bool v21 = version == Version::V21, v40 = version == Version::V40;
    std::string_view property = field.property;
    std::string_view words = field.types;
    if (field.shape == Shape::Gender && !v40) property = "X-GENDER";
    if (field.shape == Shape::Kind && !v40) property = nameBeforeVersion40(property);
    if (property == "EMAIL" && v40) words = {};
    std::string header(property);
    for (bool first = true; !words.empty();) {
        const std::size_t comma = std::min(words.find(','), words.size());
        std::string word(words.substr(0, comma));
        words.remove_prefix(std::min(comma + 1, words.size()));
        if (v40)
            for (char& c : word) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
        if (v21 && word == "MAIN") continue; // not a TYPE word of version 2.1
        if (v21)
            header += (word.starts_with("X-") ? ";TYPE=" : ";") + word;
        else
            header += (first ? ";TYPE=" : ",") + word;
        first = false;
    }
    return header;
}

// Walks over a value once, and notes what decides whether it is spelt as a new line spells it.
struct Spelling {
    bool plain = true;  // no control character, no blank at an end, and no escape but those that new lines have
    bool comma = false; // one that separates
    std::size_t separators = 0;
    std::uint32_t filled = 0; // the parts that are not empty, one bit each
};

Spelling spellingOf(std::string_view body)
{
    Spelling found;
    if (body.starts_with(' ') || body.ends_with(' ')) found.plain = false;
    for (std::size_t i = 0; i < body.size(); ++i) {
        const char c = body[i];
        if (static_cast<unsigned char>(c) < 0x20) found.plain = false;
        if (c == ';') {
            ++found.separators;
            continue;
        }
        if (found.separators < 32) found.filled |= 1u << found.separators;
        if (c == ',') found.comma = true;
        if (c != '\\') continue;
        ++i;
        if (i == body.size() || std::string_view("\\;,n").find(body[i]) == std::string_view::npos) found.plain = false;
    }
    return found;
}

// Texts between commas, without escapes, and without blanks around the commas.
bool isPlainList(std::string_view body)
{
    if (body.ends_with(',') || body.find('\\') != std::string_view::npos) return false;
    for (std::size_t at = 0; (at = body.find(',', at)) != std::string_view::npos; ++at)
        if (at == 0 || body[at - 1] == ',' || body[at - 1] == ' ' || body[at + 1] == ' ') return false;
    return true;
}

bool isPlainParts(const Spelling& spelling, const Field& first)
{
    std::uint32_t ofFields = 0;
    for (const Field* field : fieldsOf(first.slot)) ofFields |= 1u << field->part;
    if (spelling.comma || spelling.filled == 0 || (spelling.filled & ~ofFields) != 0) return false;
    if (first.property == "N") return spelling.separators == 4;
    if (first.property == "ADR") return spelling.separators == 6;
    return spelling.separators < 32 && (spelling.filled >> spelling.separators & 1u) != 0; // a new ORG does not end in empty parts
}

bool isPlainDate(std::string_view body, Version version)
{
    return body.size() == (version == Version::V40 ? 8 : 10) && body.front() != '-' && body.find('T') == std::string_view::npos &&
           isDate(readDate(fromUtf8(body)));
}

bool startsWithScheme(std::string_view body)
{
    constexpr std::string_view kScheme = "tel:";
    return body.size() >= kScheme.size() && equalFold(body.substr(0, kScheme.size()), kScheme);
}

} // namespace

const std::string& newHeader(const Field& field, Version version)
{
    static const auto headers = [] {
        std::array<std::array<std::string, kSlots>, 3> all;
        for (const Version each : {Version::V21, Version::V30, Version::V40})
            for (const Field& of : fields()) all[static_cast<std::size_t>(each)][indexOf(of)] = makeHeader(of, each);
        return all;
    }();
    return headers[static_cast<std::size_t>(version)][indexOf(field)];
}

bool isAsNew(const Line& line, const Field& first, Version version)
{
    // In version 2.1 most values have no escapes.
    if (version == Version::V21 || first.shape == Shape::Image || line.header() != newHeader(first, version)) return false;
    const std::string_view body = line.body();
    const Spelling spelling = spellingOf(body);
    if (body.empty() || !spelling.plain) return false;
    if (first.shape == Shape::Part) return isPlainParts(spelling, first);
    if (spelling.separators > 0) return false;
    switch (first.shape) {
    case Shape::List:
    case Shape::Values: return isPlainList(body);
    case Shape::Date: return isPlainDate(body, version);
    case Shape::Phone: return !spelling.comma && !startsWithScheme(body);
    case Shape::Chat: return !spelling.comma && line.name() != "IMPP";
    case Shape::Gender:             // a value of two parts
    case Shape::Kind: return false; // case counts
    case Shape::Text: return !spelling.comma;
    case Shape::Part:
    case Shape::Image: break;
    }
    return false;
}

} // namespace mb::vcard
