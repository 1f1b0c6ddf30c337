#include "engine/details/DetailsBase.h"

#include "base64.h"
#include <algorithm>

namespace mb {
namespace {

constexpr std::size_t hashLength = 11; // of 64 bits in Base64 without padding
constexpr char16_t noHash = u'-', betweenHashes = u',', betweenPairs = u' ';

std::u16string hashText(DetailsHash hash)
{
    std::string bytes;
    for (unsigned shift = 64; shift > 0; shift -= 8) bytes += static_cast<char>(hash >> (shift - 8) & 0xFFU);
    const std::string text = platform::encodeBase64(bytes);
    return {text.begin(), text.begin() + hashLength};
}

std::u16string hashText(const std::optional<DetailsHash>& hash) { return hash ? hashText(*hash) : std::u16string(1, noHash); }

// Takes a hash from the front of the text. False for anything else.
bool takeHash(std::u16string_view& text, std::optional<DetailsHash>& hash)
{
    hash.reset();
    if (text.starts_with(noHash)) {
        text.remove_prefix(1);
        return true;
    }
    if (text.size() < hashLength) return false;
    std::string letters;
    for (const char16_t letter : text.substr(0, hashLength)) letters += letter < 0x80 ? static_cast<char>(letter) : '-';
    text.remove_prefix(hashLength);
    const std::string bytes = platform::decodeBase64(letters + '=');
    if (bytes.size() != sizeof(DetailsHash)) return false;
    hash = 0;
    for (const char byte : bytes) hash = *hash << 8U | static_cast<unsigned char>(byte);
    return true;
}

bool take(std::u16string_view& text, char16_t letter)
{
    if (!text.starts_with(letter)) return false;
    text.remove_prefix(1);
    return true;
}

} // namespace

std::u16string composeDetailsBase(DetailsBase base)
{
    if (base.empty()) return {};
    std::ranges::sort(base);
    std::u16string pairs;
    for (const DetailsPair& pair : base) {
        pairs += betweenPairs;
        pairs.append(hashText(pair.own)).append(1, betweenHashes).append(hashText(pair.other));
    }
    return hashText(detailsHash(pairs)) + pairs;
}

std::optional<DetailsBase> parseDetailsBase(std::u16string_view text)
{
    DetailsBase base;
    if (text.empty()) return base;
    if (text.size() < hashLength || text.substr(0, hashLength) != hashText(detailsHash(text.substr(hashLength)))) return std::nullopt;
    text.remove_prefix(hashLength);
    while (!text.empty()) {
        DetailsPair pair;
        if (!take(text, betweenPairs) || !takeHash(text, pair.own) || !take(text, betweenHashes) || !takeHash(text, pair.other))
            return std::nullopt;
        base.push_back(pair);
    }
    return base;
}

DetailsBase mirrored(DetailsBase base)
{
    for (DetailsPair& pair : base) std::swap(pair.own, pair.other);
    return base;
}

bool isMirror(const DetailsBase& own, const DetailsBase& other) { return composeDetailsBase(own) == composeDetailsBase(mirrored(other)); }

} // namespace mb
