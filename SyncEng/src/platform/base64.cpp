#include "base64.h"

#include <algorithm>

namespace platform {
namespace {

constexpr std::uint8_t noLetter = 0xFF;
constexpr auto valueOf = [] {
    std::array<std::uint8_t, 256> values{};
    values.fill(noLetter);
    for (std::size_t i = 0; i < base64Alphabet.size(); ++i)
        values[static_cast<unsigned char>(base64Alphabet[i])] = static_cast<std::uint8_t>(i);
    return values;
}();

} // namespace

std::string encodeBase64(std::string_view bytes)
{
    std::uint32_t all = 0;
    return encodeBase64Units(bytes, all);
}

std::string decodeBase64(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const std::uint8_t value = valueOf[static_cast<unsigned char>(c)];
        if (value == noLetter) continue;
        bits = bits << 6 | value;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xFF);
        }
    }
    return bytes;
}

std::uint64_t decodedBase64Length(std::string_view text)
{
    const auto letters = std::ranges::count_if(text, [](char c) { return valueOf[static_cast<unsigned char>(c)] != noLetter; });
    return static_cast<std::uint64_t>(letters) * 6 / 8;
}

} // namespace platform
