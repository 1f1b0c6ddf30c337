#include "store/CBase64.h"

#include "base64.h"
#include "thread_text.h"
#include <algorithm>
#include <array>
#include <cstdint>

namespace mb {
namespace {

constexpr std::uint8_t paddingValue = 255, strangerValue = 254;

constexpr std::array<std::uint8_t, 256> makeDecodeTable()
{
    std::array<std::uint8_t, 256> table{};
    table.fill(strangerValue);
    for (std::uint8_t i = 0; i < 64; ++i) {
        const auto letter = static_cast<unsigned char>(platform::base64Alphabet[i]);
        table[letter] = table[letter | 0x80] = i;
    }
    table['='] = table['=' | 0x80] = paddingValue;
    return table;
}

constexpr auto decodeTable = makeDecodeTable();

bool isAscii(std::u16string_view text)
{
    char16_t all = 0;
    for (const char16_t c : text) all |= c;
    return all < 0x80;
}

bool isDropped(unsigned char c) { return (c >= 7 && c <= 13) || c == ' '; }

// Decodes a group to three bytes. Padding in the last two places counts as zero; other invalid characters are not checked.
template <class Unit> void decodeGroup(std::array<std::uint8_t, 4> group, Unit* to)
{
    for (std::size_t i = 2; i < 4; ++i)
        if (group[i] == paddingValue) group[i] = 0;
    to[0] = static_cast<std::uint8_t>(group[0] << 2 | group[1] >> 4);
    to[1] = static_cast<std::uint8_t>(group[1] << 4 | group[2] >> 2);
    to[2] = static_cast<std::uint8_t>(group[2] << 6 | group[3]);
}

// Returns the decoded bytes, one per unit, up to the first zero.
template <class Unit> std::basic_string<Unit> decodeUnits(std::string_view encoded)
{
    std::basic_string<Unit> plain(encoded.size() / 4 * 3 + 3, Unit());
    Unit* to = plain.data();
    std::array<std::uint8_t, 4> group{};
    std::size_t filled = 0;
    for (const char c : encoded) {
        const auto value = static_cast<unsigned char>(c);
        if (isDropped(value)) continue;
        group[filled++] = decodeTable[value];
        if (filled < 4) continue;
        decodeGroup(group, to);
        to += 3;
        group = {};
        filled = 0;
    }
    decodeGroup(group, to); // missing characters count as zero; the result has as many bytes as remaining characters
    plain.resize(static_cast<std::size_t>(to - plain.data()) + filled);
    const std::size_t end = plain.find(Unit());
    if (end != plain.npos) plain.resize(end);
    return plain;
}

} // namespace

CBase64::CBase64(std::u16string_view text, bool encode)
{
    if (encode)
        Encode(text);
    else
        Decode(text);
}

void CBase64::Buffer::assign(std::string_view content, std::size_t request)
{
    constexpr std::size_t step = 4096;
    if (request > capacity) {
        const std::size_t size = (request / step + 1) * step;
        bytes = std::make_unique<char[]>(size);
        capacity = size;
    }
    std::ranges::copy(content, bytes.get());
    used = content.size();
}

void CBase64::Encode(std::u16string_view text)
{
    const std::string bytes = platform::narrowByThread(text);
    plain_.assign(bytes, bytes.size());
    encoded_.assign(platform::encodeBase64(bytes), 2 * bytes.size());
}

void CBase64::Decode(std::u16string_view text)
{
    const std::string bytes = platform::narrowByThread(text);
    encoded_.assign(bytes, bytes.size());
    plain_.assign(decodeUnits<char>(bytes), bytes.size());
}

std::u16string CBase64::EncodedText() const { return platform::widenByThread(encoded_.view()); }
std::u16string CBase64::PlainText() const { return platform::widenByThread(plain_.view()); }

std::string encodeBase64(std::u16string_view text)
{
    // Every code page in use encodes ASCII unchanged, so ASCII text needs no conversion.
    std::uint32_t all = 0;
    std::string encoded = platform::encodeBase64Units(text, all);
    return all < 0x80 ? encoded : platform::encodeBase64(platform::narrowByThread(text));
}

std::u16string decodeBase64(std::string_view encoded)
{
    std::u16string text = decodeUnits<char16_t>(encoded);
    if (isAscii(text)) return text;
    std::string bytes(text.size(), '\0');
    std::ranges::transform(text, bytes.begin(), [](char16_t unit) { return static_cast<char>(unit); });
    return platform::widenByThread(bytes);
}

} // namespace mb
