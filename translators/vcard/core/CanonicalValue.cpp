#include "CanonicalValue.h"

#include "Ascii.h"

#include <algorithm>

namespace mb::vcard {
namespace {

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// Returns whether the text has the form of the pattern, in which 0 stands for any digit.
bool hasForm(std::string_view text, std::string_view pattern)
{
    if (text.size() != pattern.size()) return false;
    for (std::size_t i = 0; i < text.size(); ++i)
        if (pattern[i] == '0' ? !isDigit(text[i]) : text[i] != pattern[i]) return false;
    return true;
}

std::string without(std::string_view text, char dropped)
{
    std::string rest(text);
    std::erase(rest, dropped);
    return rest;
}

// Texts of later versions: the escapes stay, apart from \N and \:, which have another spelling, and a backslash at the end, which escapes
// nothing.
std::string withKnownEscapes(std::string_view text)
{
    std::string value;
    value.reserve(text.size() + 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\n') {
            value += "\\n";
        } else if (text[i] != '\\') {
            value += text[i];
        } else if (i + 1 == text.size() || text[i + 1] == '\n') {
            value += "\\\\";
        } else {
            const char c = text[++i];
            if (c != ':') value += '\\';
            value += c == 'N' ? 'n' : c;
        }
    }
    return value;
}

std::string withAllEscapes(std::string_view plain)
{
    std::string value;
    value.reserve(plain.size() + 8);
    for (const char c : plain) {
        if (c == '\n') {
            value += "\\n";
            continue;
        }
        if (c == '\\' || c == ',' || c == ';') value += '\\';
        value += c;
    }
    return value;
}

// Version 2.1 has no escape for a line break and none for a comma, which separates the values of a list but not those of a component.
std::string fromSeparated(std::string_view text, bool commasSeparate)
{
    std::string value;
    value.reserve(text.size() + 8);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\n';
        if (text[i] == '\n') {
            value += "\\n";
        } else if (text[i] == ',' && !commasSeparate) {
            value += "\\,";
        } else if (text[i] != '\\') {
            value += text[i];
        } else if (next == '\n' || next == 'n' || next == 'N') {
            value += "\\\\";
        } else {
            if (next != ':') value += '\\';
            value += next;
            ++i;
        }
    }
    return value;
}

} // namespace

std::string canonicalEscapes(std::string_view text, Version version, PropertyKind kind)
{
    const bool uri = kind == PropertyKind::Uri || kind == PropertyKind::Media || kind == PropertyKind::Id;
    if (version != Version::V21 || uri) return withKnownEscapes(text);
    if (kind == PropertyKind::Text) return withAllEscapes(text);
    return fromSeparated(text, kind != PropertyKind::Structured);
}

std::string escapesOfVersion21(std::string_view canonical, PropertyKind kind)
{
    const bool uri = kind == PropertyKind::Uri || kind == PropertyKind::Media || kind == PropertyKind::Id;
    if (uri) return std::string(canonical);
    std::string text;
    text.reserve(canonical.size());
    for (std::size_t i = 0; i < canonical.size(); ++i) {
        if (canonical[i] != '\\' || i + 1 == canonical.size()) {
            text += canonical[i];
            continue;
        }
        const char c = canonical[++i];
        const bool plain =
            (kind == PropertyKind::Text && (c == '\\' || c == ',' || c == ';')) || (kind == PropertyKind::Structured && c == ',');
        if (c == 'n') {
            text += '\n';
        } else {
            if (!plain) text += '\\';
            text += c;
        }
    }
    return text;
}

namespace {

// Splits the offset from the end of a time: "Z", "-05:00", "-0500" or nothing.
std::string_view takeZone(std::string_view& time)
{
    const std::size_t at = std::min(time.find_first_of("+-Zz"), time.size());
    const std::string_view zone = time.substr(at);
    time = time.substr(0, at);
    return zone;
}

std::string_view takeFraction(std::string_view& time)
{
    const std::size_t at = std::min(time.find('.'), time.size());
    const std::string_view fraction = time.substr(at);
    time = time.substr(0, at);
    return fraction;
}

bool isFraction(std::string_view text) { return text.empty() || (text.size() > 1 && std::all_of(text.begin() + 1, text.end(), isDigit)); }

bool isPossible(std::string_view month, std::string_view day) { return month >= "01" && month <= "12" && day >= "01" && day <= "31"; }

// A time without its zone, and whether it may be one.
struct Time {
    std::string_view clock, fraction, zone;

    explicit Time(std::string_view text) : clock(text), fraction(), zone(takeZone(clock)) { fraction = takeFraction(clock); }
    bool isPossible(std::string_view hours, std::string_view minutes, std::string_view seconds) const
    {
        const bool known = hasForm(clock, seconds) || (fraction.empty() && (hasForm(clock, minutes) || hasForm(clock, hours)));
        return known && clock.substr(0, 2) <= "23" && isFraction(fraction) && (zone.empty() || zone == "Z" || isUtcOffset(zone));
    }
};

} // namespace

std::string basicDate(std::string_view text)
{
    if (hasForm(text, "--00-00") && isPossible(text.substr(2, 2), text.substr(5, 2))) return std::string(text).erase(4, 1);
    const std::string_view date = text.substr(0, 10);
    if (!hasForm(date, "0000-00-00") || !isPossible(date.substr(5, 2), date.substr(8, 2))) return std::string(text);
    if (text.size() == 10) return without(date, '-');
    const Time time(text.substr(11));
    if (text[10] != 'T' || !time.isPossible("00", "00:00", "00:00:00")) return std::string(text);
    return without(date, '-').append("T").append(without(time.clock, ':')).append(time.fraction).append(without(time.zone, ':'));
}

std::string extendedDate(std::string_view text)
{
    if (hasForm(text, "--0000") && isPossible(text.substr(2, 2), text.substr(4, 2))) return std::string(text).insert(4, "-");
    const std::string_view date = text.substr(0, 8);
    if (!hasForm(date, "00000000") || !isPossible(date.substr(4, 2), date.substr(6, 2))) return std::string(text);
    std::string extended = std::string(date).insert(6, "-").insert(4, "-");
    if (text.size() == 8) return extended;
    const Time time(text.substr(9));
    if (text[8] != 'T' || !time.isPossible("00", "0000", "000000")) return std::string(text);
    extended += 'T';
    for (std::size_t i = 0; i < time.clock.size(); i += 2) extended.append(i == 0 ? "" : ":").append(time.clock.substr(i, 2));
    return extended.append(time.fraction).append(time.zone == "Z" ? std::string(time.zone) : extendedOffset(time.zone));
}

bool isBasicDate(std::string_view text)
{
    if (extendedDate(text) != text) return true;
    if (text.starts_with('T') && Time(text.substr(1)).isPossible("00", "0000", "000000")) return true;
    return hasForm(text, "0000") || hasForm(text, "0000-00") || hasForm(text, "--00") || hasForm(text, "---00");
}

bool hasTime(std::string_view date) { return date.size() > 10 && (date[8] == 'T' || date[10] == 'T'); }

bool isUtcOffset(std::string_view text)
{
    if (text.empty() || (text[0] != '+' && text[0] != '-')) return false;
    return hasForm(text.substr(1), "00:00") || hasForm(text.substr(1), "0000") || hasForm(text.substr(1), "00");
}

std::string basicOffset(std::string_view text) { return isUtcOffset(text) ? without(text, ':') : std::string(text); }

std::string extendedOffset(std::string_view text)
{
    std::string extended(text);
    if (isUtcOffset(text) && text.size() == 5) extended.insert(3, ":");
    return extended;
}

namespace {

bool isNumber(std::string_view text)
{
    if (text.starts_with('-') || text.starts_with('+')) text.remove_prefix(1);
    const std::size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point), rest = point == std::string_view::npos ? "0" : text.substr(point + 1);
    const auto digits = [](std::string_view part) { return !part.empty() && std::all_of(part.begin(), part.end(), isDigit); };
    return digits(whole) && digits(rest);
}

constexpr std::string_view kGeo = "geo:";

} // namespace

std::string geoUri(std::string_view text, char separator)
{
    const std::string plain = without(text, '\\');
    if (equalFold(std::string_view(plain).substr(0, kGeo.size()), kGeo)) return plain;
    const std::size_t end = plain.find(separator);
    if (end == std::string_view::npos || !isNumber(plain.substr(0, end)) || !isNumber(plain.substr(end + 1))) return std::string(text);
    return std::string(kGeo).append(plain.substr(0, end)).append(",").append(plain.substr(end + 1));
}

std::string geoPair(std::string_view text)
{
    if (!text.starts_with(kGeo)) return std::string(text);
    const std::string_view pair = text.substr(kGeo.size());
    const std::size_t comma = pair.find(',');
    if (comma == std::string_view::npos || !isNumber(pair.substr(0, comma)) || !isNumber(pair.substr(comma + 1))) return std::string(text);
    return std::string(pair).replace(comma, 1, ";");
}

} // namespace mb::vcard
