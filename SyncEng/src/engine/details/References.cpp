#include "engine/details/References.h"

#include "engine/details/DetailsText.h"
#include "text.h"
#include <algorithm>

namespace mb {
namespace {

constexpr std::u16string_view scheme = u"urn:uuid:";

bool hasScheme(std::u16string_view uid) { return platform::equalNoCase(uid.substr(0, scheme.size()), scheme); }

std::u16string_view plain(std::u16string_view uid) { return hasScheme(uid) ? uid.substr(scheme.size()) : uid; }

// Requires: the line is a reference.
std::u16string_view referredUid(std::u16string_view line)
{
    const std::u16string_view value = partsOf(line).value;
    return value.substr(std::min<std::size_t>(1, value.size()));
}

template <class Take> void forEachLine(std::u16string_view text, Take&& take)
{
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(u'\n'), text.size());
        take(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// Most details refer to nothing: they are not taken apart.
bool mayRefer(std::u16string_view text) { return text.find(u"MEMBER") != text.npos || text.find(u"RELATED") != text.npos; }

} // namespace

Reference referenceOf(std::u16string_view line)
{
    if (!mayRefer(line)) return Reference::None;
    const std::u16string_view name = propertyOf(line);
    if (name == u"MEMBER") return Reference::Member;
    if (name != u"RELATED") return Reference::None;
    const bool isText = std::ranges::any_of(partsOf(line).parameters,
                                            [](std::u16string_view parameter) { return platform::equalNoCase(parameter, u";VALUE=text"); });
    return isText ? Reference::None : Reference::Relation;
}

Reference lastReference(std::u16string_view details)
{
    Reference last = Reference::None;
    if (mayRefer(details)) forEachLine(details, [&](std::u16string_view line) { last = std::max(last, referenceOf(line)); });
    return last;
}

std::u16string uidKey(std::u16string_view uid) { return platform::lowered(plain(uid)); }

std::vector<std::u16string> referredKeys(std::u16string_view details)
{
    std::vector<std::u16string> keys;
    if (!mayRefer(details)) return keys;
    forEachLine(details, [&](std::u16string_view line) {
        if (referenceOf(line) != Reference::None) keys.push_back(uidKey(referredUid(line)));
    });
    return keys;
}

std::u16string_view ownUid(std::u16string_view details)
{
    constexpr std::u16string_view name = u"UID:";
    std::u16string_view uid;
    forEachLine(details, [&](std::u16string_view line) {
        if (uid.empty() && line.starts_with(name)) uid = line.substr(name.size());
    });
    return uid;
}

std::u16string withCounterpart(std::u16string_view line, const Counterparts& counterparts)
{
    std::u16string changed(line);
    if (referenceOf(line) == Reference::None) return changed;
    const std::u16string_view value = referredUid(line);
    const auto at = counterparts.find(uidKey(value));
    if (at == counterparts.end()) return changed;
    changed.resize(line.size() - value.size());
    const std::u16string_view uid = at->second;
    if (!hasScheme(uid) && uid.find(u':') != uid.npos) return changed.append(uid); // of another scheme
    return changed.append(hasScheme(value) ? scheme : std::u16string_view()).append(plain(uid));
}

} // namespace mb
