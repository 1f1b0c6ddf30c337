#include "PropertyKind.h"

#include <algorithm>
#include <array>

namespace mb::vcard {
namespace {

using enum PropertyKind;

constexpr auto kProperties = std::to_array<Property>({
    {"FN", Text, "text"},
    {"NOTE", Text, "text"},
    {"TITLE", Text, "text"},
    {"ROLE", Text, "text"},
    {"EMAIL", Text, "text"},
    {"TEL", Text, "text"},
    {"LABEL", Text, "text"},
    {"MAILER", Text, "text"},
    {"SORT-STRING", Text, "text"},
    {"KIND", Text, "text"},
    {"X-ABLABEL", Text, "text"},
    {"LANG", Text, "language-tag"},
    {"N", Structured, "text"},
    {"ADR", Structured, "text"},
    {"ORG", Structured, "text"},
    {"CATEGORIES", List, "text"},
    {"NICKNAME", List, "text"},
    {"URL", Uri, "uri"},
    {"SOURCE", Uri, "uri"},
    {"IMPP", Uri, "uri"},
    {"MEMBER", Uri, "uri"},
    {"RELATED", Uri, "uri"},
    {"FBURL", Uri, "uri"},
    {"CALURI", Uri, "uri"},
    {"CALADRURI", Uri, "uri"},
    {"SOCIALPROFILE", Uri, "uri"},
    {"CONTACT-URI", Uri, "uri"},
    {"ORG-DIRECTORY", Uri, "uri"},
    {"PHOTO", Media, "uri"},
    {"LOGO", Media, "uri"},
    {"SOUND", Media, "uri"},
    {"KEY", Media, "uri"},
    {"BDAY", Date, "date-and-or-time"},
    {"ANNIVERSARY", Date, "date-and-or-time"},
    {"DEATHDATE", Date, "date-and-or-time"},
    {"TZ", UtcOffset, "text"},
    {"GEO", Position, "uri"},
    {"UID", Id, "uri"},
    {"CREATED", Unknown, "timestamp"},
});

struct Renamed {
    std::string_view before40, in40;
};
constexpr auto kRenamed = std::to_array<Renamed>({
    {"X-ANNIVERSARY", "ANNIVERSARY"},
    {"X-ADDRESSBOOKSERVER-KIND", "KIND"},
    {"X-ADDRESSBOOKSERVER-MEMBER", "MEMBER"},
});

} // namespace

Property propertyOf(std::string_view name)
{
    const auto found = std::find_if(kProperties.begin(), kProperties.end(), [&](const Property& p) { return p.name == name; });
    return found == kProperties.end() ? Property{name, Unknown, "text"} : *found;
}

std::string_view nameInVersion40(std::string_view name)
{
    for (const Renamed& r : kRenamed)
        if (r.before40 == name) return r.in40;
    return name;
}

std::string_view nameBeforeVersion40(std::string_view name)
{
    for (const Renamed& r : kRenamed)
        if (r.in40 == name) return r.before40;
    return name;
}

} // namespace mb::vcard
