#include "CardLines.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace mbtest {
namespace {

std::string mapped(std::string text, int (*change)(int))
{
    for (char& c : text)
        if (static_cast<unsigned char>(c) < 0x80) c = static_cast<char>(change(c));
    return text;
}
std::string upper(std::string text) { return mapped(std::move(text), std::toupper); }
std::string lower(std::string text) { return mapped(std::move(text), std::tolower); }

// Splits at the separators outside of quotes.
std::vector<std::string> split(std::string_view text, char separator)
{
    std::vector<std::string> parts(1);
    bool quoted = false;
    for (const char c : text) {
        if (c == '"') quoted = !quoted;
        if (c == separator && !quoted)
            parts.emplace_back();
        else
            parts.back() += c;
    }
    return parts;
}

std::string joined(const std::vector<std::string>& parts, const char* separator)
{
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) text.append(i ? separator : "").append(parts[i]);
    return text;
}

std::size_t colonOf(std::string_view line) { return split(line, ':').front().size(); }

void replaceAll(std::string& text, std::string_view from, std::string_view to)
{
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) text.replace(at, from.size(), to);
}

bool isOneOf(const std::string& name, std::initializer_list<const char*> names)
{
    return std::ranges::any_of(names, [&](const char* each) { return name == each; });
}

bool isText(const std::string& name) { return isOneOf(name, {"NOTE", "TITLE", "ROLE", "EMAIL", "TEL", "SORT-STRING", "X-ABLABEL"}); }
bool isStructured(const std::string& name) { return isOneOf(name, {"N", "ADR", "ORG"}); }
bool isDate(const std::string& name) { return isOneOf(name, {"BDAY", "ANNIVERSARY"}); }
bool isMedia(const std::string& name) { return isOneOf(name, {"KEY", "SOUND"}); }
bool isUri(const std::string& name) { return isMedia(name) || isOneOf(name, {"URL", "SOURCE", "CALURI", "IMPP", "RELATED", "GEO"}); }

constexpr const char* pgp = "application/pgp-keys";

bool isQuotedPrintable(std::string_view line)
{
    return upper(std::string(line.substr(0, colonOf(line)))).find("QUOTED-PRINTABLE") != std::string::npos;
}

// Splits bytes after each line break.
std::vector<std::string> physicalLines(std::string_view bytes)
{
    std::vector<std::string> lines;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
        lines.emplace_back(bytes.substr(0, end));
        bytes.remove_prefix(end);
    }
    return lines;
}

std::string withoutLineEnd(const std::string& line) { return line.substr(0, line.find_last_not_of("\r\n") + 1); }

std::string unfolded(const std::string& folded)
{
    const bool quotedPrintable = isQuotedPrintable(folded);
    std::string text;
    bool soft = false;
    for (const std::string& physical : physicalLines(folded)) {
        const std::string line = withoutLineEnd(physical);
        if (line.empty()) break;
        text += text.empty() || soft ? line : line.substr(1);
        soft = quotedPrintable && text.ends_with('=');
        if (soft) text.pop_back();
    }
    return text;
}

std::string decoded(const std::string& quotedPrintable)
{
    std::string text;
    for (std::size_t i = 0; i < quotedPrintable.size(); ++i) {
        if (quotedPrintable[i] == '=') {
            text += static_cast<char>(std::stoi(quotedPrintable.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            text += quotedPrintable[i];
        }
    }
    replaceAll(text, "\r\n", "\n");
    return text;
}

std::string escapedIn40(const std::string& value, const std::string& name)
{
    std::string text;
    for (const char c : value) {
        if ((c == ',' && (isText(name) || isStructured(name))) || ((c == ';' || c == '\\') && isText(name))) text += '\\';
        text += c;
    }
    replaceAll(text, "\n", "\\n");
    return text;
}

std::string unescapedIn21(const std::string& value, const std::string& name)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        const char next = value[i] == '\\' && i + 1 < value.size() ? value[i + 1] : '\0';
        const bool plain = (isText(name) && next) || (isStructured(name) && next == ',');
        if (next == 'n')
            text += '\n';
        else
            text.append(plain ? "" : std::string(1, value[i])).append(next ? 1 : 0, next);
        if (next) ++i;
    }
    return text;
}

void setType(CardProperty& property, const std::string& word)
{
    auto& words = property.params["TYPE"];
    words.push_back(word);
    std::ranges::sort(words);
    words.erase(std::unique(words.begin(), words.end()), words.end());
}

bool takeType(CardProperty& property, const std::string& word)
{
    const auto types = property.params.find("TYPE");
    if (types == property.params.end() || std::erase(types->second, word) == 0) return false;
    if (types->second.empty()) property.params.erase(types);
    return true;
}

std::string takeValueType(CardProperty& property)
{
    const auto type = property.params.find("VALUE");
    if (type == property.params.end()) return {};
    std::string text = lower(type->second.front());
    property.params.erase(type);
    return text == "url" ? "uri" : text;
}

// Reads the parameters. Returns the encoding in upper case.
std::string readParams(CardProperty& property, const std::vector<std::string>& params)
{
    std::string encoding;
    for (std::size_t i = 1; i < params.size(); ++i) {
        const std::size_t equals = params[i].find('=');
        std::string name = equals == std::string::npos ? "TYPE" : upper(params[i].substr(0, equals));
        const std::string value = equals == std::string::npos ? params[i] : params[i].substr(equals + 1);
        if (equals == std::string::npos && isOneOf(upper(value), {"QUOTED-PRINTABLE", "BASE64", "8BIT"})) name = "ENCODING";
        if (name == "ENCODING") encoding = upper(value);
        if (isOneOf(name, {"ENCODING", "CHARSET", "X-MB-FIELD"})) continue;
        for (std::string part : split(value, ',')) {
            std::erase(part, '"');
            if (name != "TYPE")
                property.params[name].push_back(part);
            else
                for (const std::string& word : split(part, ',')) setType(property, lower(word));
        }
    }
    return encoding;
}

void readValue(CardProperty& property, CardVersion version)
{
    std::string type = takeValueType(property);
    std::string& value = property.value;
    if (version == CardVersion::V21) value = escapedIn40(value, property.name);
    replaceAll(value, "\\N", "\\n");
    replaceAll(value, "\\:", ":");
    if (isDate(property.name) && value.size() == 10 && value[4] == '-') std::erase(value, '-');
    if (isDate(property.name) && (type == "date" || type == "date-and-or-time")) type.clear();
    if (property.name == "TZ" && version != CardVersion::V40 && type.empty()) type = "utc-offset";
    if (property.name == "TZ" && type == "utc-offset") std::erase(value, ':');
    if (property.name == "GEO" && !value.starts_with("geo:")) {
        std::erase(value, '\\');
        std::ranges::replace(value, ';', ',');
        value.insert(0, "geo:");
    }
    if (type == (isUri(property.name) ? "uri" : "text")) type.clear();
    if (!type.empty()) property.params["VALUE"] = {type};
}

} // namespace

std::string CardProperty::text() const
{
    std::string text = name;
    for (const auto& [param, values] : params) {
        std::vector<std::string> quoted;
        for (const std::string& each : values) quoted.push_back(each.find_first_of(",:;") == each.npos ? each : '"' + each + '"');
        text.append(";").append(param).append("=").append(joined(quoted, ","));
    }
    return text.append(":").append(value);
}

std::vector<std::string> foldedLines(std::string_view bytes)
{
    std::vector<std::string> lines;
    bool soft = false;
    for (const std::string& physical : physicalLines(bytes)) {
        if (!lines.empty() && (soft || withoutLineEnd(physical).empty() || physical.starts_with(' ') || physical.starts_with('\t')))
            lines.back() += physical;
        else
            lines.push_back(physical);
        soft = withoutLineEnd(physical).ends_with('=') && isQuotedPrintable(lines.back());
    }
    return lines;
}

CardProperty parseProperty(std::string_view text)
{
    CardProperty property;
    const std::size_t colon = colonOf(text);
    const std::vector<std::string> params = split(text.substr(0, colon), ';');
    property.name = params.front();
    readParams(property, params);
    property.value = text.substr(colon + 1);
    return property;
}

CardProperty readProperty(const std::string& foldedLine, CardVersion version)
{
    CardProperty property;
    const std::string line = unfolded(foldedLine);
    const std::size_t colon = colonOf(line);
    const std::vector<std::string> params = split(line.substr(0, colon), ';');
    const std::size_t dot = params.front().rfind('.');
    property.group = dot == std::string::npos ? "" : lower(params.front().substr(0, dot));
    property.name = upper(dot == std::string::npos ? params.front() : params.front().substr(dot + 1));
    if (property.name == "X-ANNIVERSARY") property.name = "ANNIVERSARY";
    property.value = colon < line.size() ? line.substr(colon + 1) : std::string();
    const std::string encoding = readParams(property, params);
    if (takeType(property, "pref") && !property.params.contains("PREF")) property.params["PREF"] = {"1"};
    if (property.name == "EMAIL" && property.params["TYPE"].size() <= 1) takeType(property, "internet");
    if (const auto types = property.params.find("TYPE"); types != property.params.end() && types->second.empty())
        property.params.erase(types);
    if (encoding == "QUOTED-PRINTABLE") property.value = decoded(property.value);
    if (encoding == "B" || encoding == "BASE64") {
        takeType(property, "pgp");
        property.value = std::string("data:").append(pgp).append(";base64,").append(property.value);
        property.params["VALUE"] = {"uri"};
    }
    if (property.name == "KEY" && takeType(property, "pgp")) property.params["MEDIATYPE"] = {pgp};
    readValue(property, version);
    return property;
}

CardLines::CardLines(std::vector<std::string> folded) : folded_(std::move(folded)), version_(CardVersion::V40)
{
    const std::string version = only("VERSION");
    version_ = version == "2.1" ? CardVersion::V21 : version == "3.0" ? CardVersion::V30 : CardVersion::V40;
}

std::string CardLines::only(const std::string& name) const
{
    for (const std::string& line : folded_)
        if (const CardProperty property = readProperty(line, version_); property.name == name) return property.value;
    return {};
}

std::vector<CardLines::Found> CardLines::found() const
{
    std::vector<Found> all;
    std::map<std::string, std::pair<std::multiset<std::string>, std::vector<std::size_t>>> together;
    for (std::size_t i = 1; i < end(); ++i) {
        CardProperty property = readProperty(folded_[i], version_);
        if (isOneOf(property.name, {"FN", "N", "UID", "VERSION", "REV", "PRODID", ""})) continue;
        std::string key = property.group;
        if (const auto altId = property.params.find("ALTID"); altId != property.params.end() && key.empty()) {
            key = ";" + property.name + ";" + altId->second.front();
            property.params.erase(altId);
        }
        if (key.empty()) {
            all.push_back({property.text(), {i}});
        } else {
            together[key].first.insert(property.text());
            together[key].second.push_back(i);
        }
    }
    for (auto& [key, held] : together) all.push_back({joined({held.first.begin(), held.first.end()}, "|"), std::move(held.second)});
    return all;
}

CardUnits CardLines::units() const
{
    CardUnits units;
    for (const Found& each : found()) units.insert(each.unit);
    return units;
}

std::vector<std::string> CardLines::linesOf(const CardUnit& unit) const
{
    std::vector<std::string> lines;
    for (const Found& each : found())
        if (each.unit == unit)
            for (const std::size_t at : each.lines) lines.push_back(folded_[at]);
    return lines;
}

std::string CardLines::bytes() const { return joined(folded_, ""); }

bool CardLines::usesGroup(const std::string& name) const
{
    return std::ranges::any_of(folded_, [&](const std::string& line) {
        const CardProperty property = readProperty(line, version_);
        const auto altId = property.params.find("ALTID");
        return property.group == name || (altId != property.params.end() && altId->second.front() == name);
    });
}

std::size_t CardLines::remove(const CardUnit& unit)
{
    for (Found& each : found()) {
        if (each.unit != unit) continue;
        std::ranges::sort(each.lines, std::greater<>());
        for (const std::size_t at : each.lines) folded_.erase(folded_.begin() + static_cast<std::ptrdiff_t>(at));
        return each.lines.back();
    }
    return end();
}

void CardLines::insert(std::size_t at, const std::vector<std::string>& folded)
{
    folded_.insert(folded_.begin() + static_cast<std::ptrdiff_t>(at), folded.begin(), folded.end());
}

std::vector<std::string> CardSpeller::spelled(const CardUnit& unit, const std::string& group, const std::string& altId) const
{
    std::vector<std::string> lines, texts = split(unit, '|');
    for (const std::string& text : texts) {
        CardProperty property = parseProperty(text);
        if (texts.size() > 1 && group.empty()) property.params["ALTID"] = {altId};
        lines.push_back(spelled(std::move(property), group));
    }
    return lines;
}

std::string CardSpeller::spelled(CardProperty property, const std::string& group) const
{
    std::string encoding, type = takeValueType(property), &value = property.value;
    const bool before40 = version_ != CardVersion::V40, v21 = version_ == CardVersion::V21;
    const std::string name = property.name == "ANNIVERSARY" && before40 ? "X-ANNIVERSARY" : property.name;
    if (before40 && name == "EMAIL" && !property.params.contains("TYPE")) setType(property, "internet");
    if (before40 && property.params.contains("PREF") && property.params["PREF"].front() == "1") {
        property.params.erase("PREF");
        setType(property, "pref");
    }
    const std::string data = std::string("data:").append(pgp).append(";base64,");
    if (before40 && value.starts_with(data)) {
        value.erase(0, data.size());
        setType(property, "pgp");
        encoding = v21 ? ";ENCODING=BASE64" : ";ENCODING=b";
    } else if (before40 && isMedia(property.name)) {
        type = v21 ? "URL" : "uri";
    }
    if (isDate(property.name) && before40 && type.empty() && below_(2) == 0) value.insert(6, "-").insert(4, "-");
    if (property.name == "TZ" && before40) {
        if (type == "utc-offset" && below_(2) == 0) value.insert(3, ":");
        type = type.empty() ? "text" : "";
    }
    if (property.name == "GEO" && before40) {
        value.erase(0, 4);
        std::ranges::replace(value, ',', ';');
    }
    if (v21) {
        value = unescapedIn21(value, property.name);
        if (value.find('\n') != value.npos || std::ranges::any_of(value, [](char c) { return static_cast<unsigned char>(c) >= 0x80; })) {
            encoding = ";CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE";
            constexpr char digits[] = "0123456789ABCDEF";
            std::string text;
            for (const char each : value) {
                const auto c = static_cast<unsigned char>(each);
                if (each == '\n')
                    text += "=0D=0A";
                else if (c >= 0x80 || each == '=')
                    text.append("=").append(1, digits[c >> 4U]).append(1, digits[c & 15U]);
                else
                    text += each;
            }
            value = text;
        }
    }
    std::string line = group.empty() ? std::string() : group + ".";
    line += cased(name) + encoding;
    if (!type.empty()) property.params["VALUE"] = {type};
    if (const auto words = property.params.find("TYPE"); words != property.params.end()) {
        line += types(words->second);
        property.params.erase(words);
    }
    CardProperty bare{{}, {}, property.params, {}};
    std::string params = bare.text();
    params.pop_back();
    const bool base64In21 = encoding == ";ENCODING=BASE64"; // a blank line ends it
    return folded(line + params + ":" + value) + (base64In21 ? lineEnd_ : "");
}

std::string CardSpeller::cased(std::string text) const { return below_(4) == 0 ? lower(std::move(text)) : text; }

std::string CardSpeller::types(const std::vector<std::string>& words) const
{
    std::string text;
    const bool apart = below_(2) == 0;
    for (const std::string& word : words) {
        const bool bare = version_ == CardVersion::V21 && isOneOf(word, {"home", "work", "cell", "fax", "voice", "pref", "internet"});
        const std::string spelling = below_(2) == 0 ? upper(word) : word;
        if (bare)
            text += ";" + spelling;
        else if (apart || text.empty() || version_ == CardVersion::V21)
            text += ";TYPE=" + spelling;
        else
            text += "," + spelling;
    }
    return text;
}

std::string CardSpeller::folded(const std::string& line) const
{
    std::string text;
    const bool folds = version_ != CardVersion::V21 && below_(3) == 0;
    std::size_t column = 0, limit = folds ? static_cast<std::size_t>(4 + below_(30)) : 75;
    for (const char c : line) {
        const bool inCharacter = (static_cast<unsigned char>(c) & 0xC0U) == 0x80;
        if (version_ != CardVersion::V21 && column >= limit && !inCharacter) {
            text.append(lineEnd_).append(below_(4) == 0 ? "\t" : " ");
            column = 1;
        }
        text += c;
        ++column;
    }
    return text + lineEnd_;
}

} // namespace mbtest
