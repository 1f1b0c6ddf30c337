// Base64 with the standard alphabet and "=" padding. The codecs of the store and of the exchange XML add their rules to it.
#pragma once
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace platform {

inline constexpr std::string_view base64Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two letters for each value of twelve bits.
inline constexpr auto base64Pairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t i = 0; i < pairs.size(); ++i) pairs[i] = {base64Alphabet[i >> 6], base64Alphabet[i & 63]};
    return pairs;
}();

// Encodes bytes, or the units of an ASCII text. If a unit is not ASCII, `all` has a bit above 0x7F and the result is invalid.
template <class Unit> std::string encodeBase64Units(std::basic_string_view<Unit> bytes, std::uint32_t& all)
{
    std::string out((bytes.size() + 2) / 3 * 4, '=');
    char* to = out.data();
    const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Unit>>(bytes[i])); };
    const auto put = [&](std::uint32_t twelveBits) {
        std::memcpy(to, base64Pairs[twelveBits & 0xFFF].data(), 2);
        to += 2;
    };
    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3) {
        const std::uint32_t group = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        all |= byte(i) | byte(i + 1) | byte(i + 2);
        put(group >> 12);
        put(group);
    }
    if (i < bytes.size()) {
        const std::uint32_t last = i + 1 < bytes.size() ? byte(i + 1) : 0, group = byte(i) << 16 | last << 8;
        all |= byte(i) | last;
        put(group >> 12);
        if (i + 1 < bytes.size()) *to++ = base64Alphabet[group >> 6 & 63];
    }
    return out;
}

// Returns one line.
std::string encodeBase64(std::string_view bytes);
// Skips characters outside of the alphabet, among them the padding.
std::string decodeBase64(std::string_view text);
// Returns the number of bytes that decodeBase64 would return.
std::uint64_t decodedBase64Length(std::string_view text);

} // namespace platform
