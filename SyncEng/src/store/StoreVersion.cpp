#include "store/StoreVersion.h"

#include "text.h"

namespace mb {
namespace {

constexpr LONG noVersion = -1;
constexpr char attribute[] = "Version";

} // namespace

LONG versionFrom(std::string_view text) { return text.empty() ? noVersion : platform::toInt(platform::utf16(text)); }

LONG announcedVersion(std::string_view bytes)
{
    constexpr std::string_view name = "<Scs ";
    constexpr std::size_t farthest = 4096; // covers anything in front of the root
    const std::size_t start = bytes.substr(0, farthest).find(name);
    if (start == bytes.npos) return noVersion;
    const std::string_view tag = bytes.substr(start, bytes.substr(start, farthest).find('>'));
    std::size_t at = tag.find(attribute);
    if (at == tag.npos) return noVersion;
    at = tag.find_first_of("\"'", at);
    if (at == tag.npos) return noVersion;
    const std::string_view value = tag.substr(at + 1);
    return versionFrom(value.substr(0, value.find(tag[at])));
}

} // namespace mb
