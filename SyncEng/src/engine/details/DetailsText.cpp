#include "engine/details/DetailsText.h"

#include "text.h"
#include <algorithm>
#include <map>
#include <utility>

namespace mb {
namespace {

constexpr std::u16string_view singleProperties[] = {u"ANNIVERSARY", u"BDAY",   u"BIRTHPLACE", u"CLASS",    u"CREATED", u"DEATHDATE",
                                                    u"DEATHPLACE",  u"GENDER", u"KIND",       u"LANGUAGE", u"N",       u"SORT-STRING"};

// A record has such a property at most once.
bool isSingle(std::u16string_view name) { return std::ranges::find(singleProperties, name) != std::end(singleProperties); }

bool isOwn(std::u16string_view name) { return name == u"UID" || name == u"VERSION"; }

// The parts of a property line. A parameter begins with its semicolon.
struct LineParts {
    std::u16string_view group, name, value;
    std::vector<std::u16string_view> parameters;
};

std::size_t endOfParameter(std::u16string_view line, std::size_t at)
{
    bool quoted = false;
    for (; at < line.size(); ++at) {
        if (line[at] == u'"') quoted = !quoted;
        if (!quoted && (line[at] == u';' || line[at] == u':')) break;
    }
    return at;
}

LineParts partsOf(std::u16string_view line)
{
    LineParts parts;
    std::size_t at = std::min(line.find_first_of(u";:"), line.size());
    parts.name = line.substr(0, at);
    if (const std::size_t dot = parts.name.find(u'.'); dot != std::u16string_view::npos) {
        parts.group = parts.name.substr(0, dot);
        parts.name.remove_prefix(dot + 1);
    }
    while (at < line.size() && line[at] == u';') {
        const std::size_t end = endOfParameter(line, at + 1);
        parts.parameters.push_back(line.substr(at, end - at));
        at = end;
    }
    parts.value = line.substr(at);
    return parts;
}

constexpr std::u16string_view altIdName = u";ALTID=";

std::u16string_view altIdOf(const LineParts& parts)
{
    for (const std::u16string_view parameter : parts.parameters)
        if (parameter.starts_with(altIdName)) return parameter.substr(altIdName.size());
    return {};
}

// The line with another group and ALTID, of those that it has.
std::u16string rewritten(std::u16string_view line, std::u16string_view group, std::u16string_view altId)
{
    const LineParts parts = partsOf(line);
    std::u16string out;
    if (!parts.group.empty() && !group.empty()) out.append(group).append(u".");
    out += parts.name;
    for (const std::u16string_view parameter : parts.parameters) {
        if (parameter.starts_with(altIdName))
            out.append(altIdName).append(altId);
        else
            out += parameter;
    }
    return out.append(parts.value);
}

DetailsHash hashOf(const DetailsUnit& unit)
{
    // The usual case: the line is not copied.
    if (unit.lines.size() == 1 && unit.group.empty() && unit.altId.empty()) return detailsHash(unit.lines.front());
    std::vector<std::u16string> plain;
    plain.reserve(unit.lines.size());
    for (const std::u16string_view line : unit.lines) plain.push_back(rewritten(line, {}, {}));
    std::ranges::sort(plain);
    std::u16string all;
    for (const std::u16string& line : plain) all.append(all.empty() ? u"" : u"\n").append(line);
    return detailsHash(all);
}

// Where the annotation's parameters begin; npos for a line that is none.
std::size_t parametersOf(std::u16string_view line)
{
    std::size_t at = 1;
    if (!line.starts_with(u'@')) return std::u16string_view::npos;
    while (at < line.size() && platform::isDigit(line[at])) ++at;
    return at == 1 || at > 7 || (at < line.size() && line[at] != u';') ? std::u16string_view::npos : at;
}

class Parser {
public:
    DetailsText parse(std::u16string_view text)
    {
        while (!text.empty()) {
            const std::size_t end = std::min(text.find(u'\n'), text.size());
            std::u16string_view line = text.substr(0, end);
            text.remove_prefix(std::min(end + 1, text.size()));
            while (line.ends_with(u'\r')) line.remove_suffix(1);
            if (!line.empty()) take(line);
        }
        for (DetailsUnit& unit : details_.units) {
            setKey(unit);
            unit.hash = hashOf(unit);
        }
        return std::move(details_);
    }

private:
    void take(std::u16string_view line)
    {
        DetailsUnit unit;
        if (const std::size_t at = parametersOf(line); at != std::u16string_view::npos)
            unit.field = platform::toInt(line.substr(1, at - 1));
        if (!unit.isAnnotation()) {
            const LineParts parts = partsOf(line);
            unit.name = parts.name;
            unit.group = platform::lowered(parts.group);
            if (unit.group.empty() && isOwn(unit.name)) return details_.ownLines.push_back(line);
            if (unit.group.empty()) unit.altId = platform::lowered(altIdOf(parts));
        }
        std::u16string together = unit.group;
        if (!unit.altId.empty()) together = u";" + std::u16string(unit.name) + u";" + unit.altId;
        if (together.empty()) return add(std::move(unit), line);
        const auto [at, first] = together_.emplace(std::move(together), details_.units.size());
        if (first) return add(std::move(unit), line);
        details_.units[at->second].lines.push_back(line);
    }

    void add(DetailsUnit&& unit, std::u16string_view line)
    {
        unit.lines.push_back(line);
        details_.units.push_back(std::move(unit));
    }

    // A second unit of a key that a record has once is merged by its content.
    void setKey(DetailsUnit& unit)
    {
        std::u16string key;
        if (unit.isAnnotation())
            key = annotationKey(unit.field);
        else if (unit.group.empty() && isSingle(unit.name))
            key = unit.name;
        if (!key.empty() && keys_.emplace(key, 0).second) unit.key = std::move(key);
    }

    DetailsText details_;
    std::map<std::u16string, std::size_t> together_, keys_; // by what lines of one unit have in common: the unit's index
};

} // namespace

DetailsHash detailsHash(std::u16string_view text) noexcept
{
    DetailsHash hash = 0xCBF29CE484222325U; // FNV-1a
    for (const char16_t unit : text)
        for (const DetailsHash byte : {unit & 0xFFU, static_cast<unsigned>(unit) >> 8U}) hash = (hash ^ byte) * 0x100000001B3U;
    // Spreads each bit over all bits of the result.
    hash = (hash ^ (hash >> 33U)) * 0xFF51AFD7ED558CCDU;
    hash = (hash ^ (hash >> 33U)) * 0xC4CEB9FE1A85EC53U;
    return hash ^ (hash >> 33U);
}

DetailsText parseDetails(std::u16string_view text) { return Parser().parse(text); }

bool holdsOnlyOwnLines(std::u16string_view text) { return parseDetails(text).units.empty(); }

std::u16string annotationKey(LONG field)
{
    const std::string number = std::to_string(field);
    return u"@" + std::u16string(number.begin(), number.end());
}

std::u16string annotationLine(const DetailsUnit& annotation, LONG field)
{
    const std::u16string_view line = annotation.lines.front();
    return annotationKey(field).append(line.substr(parametersOf(line)));
}

DetailsHash annotationHash(const DetailsUnit& annotation, LONG field) { return detailsHash(annotationLine(annotation, field)); }

std::vector<std::u16string> renamedLines(const DetailsUnit& unit, std::u16string_view group, std::u16string_view altId)
{
    std::vector<std::u16string> lines;
    lines.reserve(unit.lines.size());
    for (const std::u16string_view line : unit.lines)
        lines.push_back(group.empty() && altId.empty() ? std::u16string(line)
                                                       : rewritten(line, group.empty() ? std::u16string_view(unit.group) : group,
                                                                   altId.empty() ? std::u16string_view(unit.altId) : altId));
    return lines;
}

std::u16string_view propertyOf(std::u16string_view line)
{
    return parametersOf(line) == std::u16string_view::npos ? partsOf(line).name : std::u16string_view();
}

} // namespace mb
