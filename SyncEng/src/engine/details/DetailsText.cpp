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

std::size_t endOfParameter(std::u16string_view line, std::size_t at)
{
    bool quoted = false;
    for (; at < line.size(); ++at) {
        if (line[at] == u'"') quoted = !quoted;
        if (!quoted && (line[at] == u';' || line[at] == u':')) break;
    }
    return at;
}

} // namespace

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

namespace {

constexpr std::u16string_view altIdName = u";ALTID=", propIdName = u";PROP-ID=", pidName = u";PID=", clientProperty = u"CLIENTPIDMAP";

std::u16string_view parameterOf(const LineParts& parts, std::u16string_view name)
{
    for (const std::u16string_view parameter : parts.parameters)
        if (parameter.starts_with(name)) return parameter.substr(name.size());
    return {};
}

// The number and the URI of a CLIENTPIDMAP. `value` begins with its colon.
std::pair<std::u16string_view, std::u16string_view> clientOf(std::u16string_view value)
{
    const std::size_t semicolon = std::min(value.find(u';'), value.size());
    const std::u16string_view number = value.substr(std::min<std::size_t>(1, semicolon), semicolon - std::min<std::size_t>(1, semicolon));
    return {number, value.substr(std::min(semicolon + 1, value.size()))};
}

// Calls `each` with the number of the program in each value of a PID, such as 1 in "4.1", and with what stands before it.
template <class Each> void eachClient(std::u16string_view pids, Each&& each)
{
    while (!pids.empty()) {
        const std::size_t comma = std::min(pids.find(u','), pids.size()), dot = pids.substr(0, comma).find(u'.');
        const std::size_t number = dot == std::u16string_view::npos ? comma : dot + 1;
        each(pids.substr(0, number), pids.substr(number, comma - number));
        pids.remove_prefix(std::min(comma + 1, pids.size()));
    }
}

std::u16string withClients(std::u16string_view pids, const ClientNumbers& clients)
{
    std::u16string out;
    eachClient(pids, [&](std::u16string_view head, std::u16string_view number) {
        const auto known = clients.find(number);
        out.append(out.empty() ? u"" : u",").append(head).append(known == clients.end() ? number : std::u16string_view(known->second));
    });
    return out;
}

// The line with other names, of those that it has.
std::u16string rewritten(std::u16string_view line, const DetailsUnit& unit, const UnitNames& names)
{
    const LineParts parts = partsOf(line);
    std::u16string out;
    if (!parts.group.empty()) out.append(names.group.empty() ? parts.group : names.group).append(u".");
    out += parts.name;
    for (const std::u16string_view parameter : parts.parameters) {
        if (parameter.starts_with(altIdName) && !names.altId.empty())
            out.append(altIdName).append(names.altId);
        else if (parameter.starts_with(propIdName) && !names.propId.empty() &&
                 platform::lowered(parameter.substr(propIdName.size())) == unit.propId)
            out.append(propIdName).append(names.propId);
        else if (parameter.starts_with(pidName) && !names.clients.empty())
            out.append(pidName).append(withClients(parameter.substr(pidName.size()), names.clients));
        else
            out += parameter;
    }
    if (unit.client.empty() || names.client.empty()) return out.append(parts.value);
    return out.append(u":").append(names.client).append(u";").append(clientOf(parts.value).second);
}

// The line without the names that do not count.
std::u16string hashedLine(std::u16string_view line, const DetailsUnit& unit, const ClientNumbers& clients)
{
    const LineParts parts = partsOf(line);
    std::u16string out(parts.name);
    for (const std::u16string_view parameter : parts.parameters) {
        if (parameter.starts_with(altIdName))
            out += altIdName;
        else if (parameter.starts_with(propIdName))
            out += propIdName;
        else if (parameter.starts_with(pidName))
            out.append(pidName).append(withClients(parameter.substr(pidName.size()), clients));
        else
            out += parameter;
    }
    return unit.client.empty() ? out.append(parts.value) : out.append(u":;").append(clientOf(parts.value).second);
}

bool hasClients(std::u16string_view line) { return line.find(pidName) != std::u16string_view::npos; }

} // namespace

DetailsHash hashOf(const DetailsUnit& unit, const ClientNumbers& clients)
{
    // The usual case: the line is not copied.
    const bool named = !unit.group.empty() || !unit.altId.empty() || !unit.propId.empty() || !unit.client.empty();
    if (unit.lines.size() == 1 && !named && (clients.empty() || !hasClients(unit.lines.front()))) return detailsHash(unit.lines.front());
    std::vector<std::u16string> plain;
    plain.reserve(unit.lines.size());
    for (const std::u16string_view line : unit.lines) plain.push_back(hashedLine(line, unit, clients));
    std::ranges::sort(plain);
    std::u16string all;
    for (const std::u16string& line : plain) all.append(all.empty() ? u"" : u"\n").append(line);
    return detailsHash(all);
}

namespace {

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
            unit.hash = hashOf(unit, details_.clients);
            if (unit.isAnnotation() && !details_.clients.empty() && hasClients(unit.lines.front()))
                unit.plain = hashedLine(unit.lines.front(), unit, details_.clients);
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
            if (unit.group.empty()) setNames(unit, parts);
        }
        std::size_t at = details_.units.size();
        const std::vector<std::u16string> together = togetherBy(unit);
        for (const std::u16string& each : together)
            if (const auto known = together_.find(each); known != together_.end()) at = std::min(at, known->second);
        for (const std::u16string& each : together) together_.emplace(each, at);
        if (at == details_.units.size()) return add(std::move(unit), line);
        DetailsUnit& known = details_.units[at];
        if (known.altId.empty()) known.altId = unit.altId;
        if (known.propId.empty()) known.propId = unit.propId;
        known.lines.push_back(line);
    }

    void setNames(DetailsUnit& unit, const LineParts& parts)
    {
        unit.altId = platform::lowered(parameterOf(parts, altIdName));
        unit.propId = platform::lowered(parameterOf(parts, propIdName));
        if (unit.name != clientProperty) return;
        const auto [number, uri] = clientOf(parts.value);
        unit.client = number;
        details_.clients.emplace(number, uri);
    }

    // What the lines of one unit have in common.
    static std::vector<std::u16string> togetherBy(const DetailsUnit& unit)
    {
        std::vector<std::u16string> names;
        if (!unit.group.empty()) names.push_back(unit.group);
        if (!unit.altId.empty()) names.push_back(std::u16string(unit.name).append(altIdName).append(unit.altId));
        if (!unit.propId.empty()) names.push_back(std::u16string(unit.name).append(propIdName).append(unit.propId));
        return names;
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

std::u16string annotationLine(const DetailsUnit& annotation, LONG field, const ClientNumbers& clients)
{
    const std::u16string_view line = annotation.lines.front();
    const std::size_t at = parametersOf(line);
    if (clients.empty()) return annotationKey(field).append(line.substr(at));
    return annotationKey(field).append(rewritten(line, annotation, {.clients = clients}).substr(at));
}

DetailsHash annotationHash(const DetailsUnit& annotation, LONG field)
{
    if (annotation.plain.empty()) return detailsHash(annotationLine(annotation, field));
    return detailsHash(annotationKey(field).append(annotation.plain.substr(parametersOf(annotation.lines.front()))));
}

std::vector<std::u16string> renamedLines(const DetailsUnit& unit, const UnitNames& names)
{
    std::vector<std::u16string> lines;
    lines.reserve(unit.lines.size());
    for (const std::u16string_view line : unit.lines)
        lines.push_back(names == UnitNames() ? std::u16string(line) : rewritten(line, unit, names));
    return lines;
}

std::vector<std::u16string> clientsOf(const DetailsUnit& unit)
{
    std::vector<std::u16string> numbers;
    for (const std::u16string_view line : unit.lines) {
        if (!hasClients(line)) continue;
        eachClient(parameterOf(partsOf(line), pidName),
                   [&](std::u16string_view, std::u16string_view number) { numbers.emplace_back(number); });
    }
    return numbers;
}

std::u16string_view propertyOf(std::u16string_view line)
{
    return parametersOf(line) == std::u16string_view::npos ? partsOf(line).name : std::u16string_view();
}

std::u16string_view valueOf(std::u16string_view line)
{
    const std::u16string_view value = parametersOf(line) == std::u16string_view::npos ? partsOf(line).value : std::u16string_view();
    return value.substr(value.empty() ? 0 : 1);
}

} // namespace mb
