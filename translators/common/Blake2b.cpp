#include "Blake2b.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace mb::plugin {
namespace {

constexpr std::size_t kBlock = 128, kResult = 32;

constexpr std::array<std::uint64_t, 8> kStart = {0x6a09e667f3bcc908U, 0xbb67ae8584caa73bU, 0x3c6ef372fe94f82bU, 0xa54ff53a5f1d36f1U,
                                                 0x510e527fade682d1U, 0x9b05688c2b3e6c1fU, 0x1f83d9abfb41bd6bU, 0x5be0cd19137e2179U};

constexpr unsigned char kOrder[10][16] = {
    {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {14, 10, 4, 8, 9, 15, 13, 6, 1, 12, 0, 2, 11, 7, 5, 3},
    {11, 8, 12, 0, 5, 2, 15, 13, 10, 14, 3, 6, 7, 1, 9, 4}, {7, 9, 3, 1, 13, 12, 11, 14, 2, 6, 5, 10, 4, 0, 15, 8},
    {9, 0, 5, 7, 2, 4, 10, 15, 14, 1, 11, 12, 6, 8, 3, 13}, {2, 12, 6, 10, 0, 11, 8, 3, 4, 13, 7, 5, 15, 14, 1, 9},
    {12, 5, 1, 15, 14, 13, 4, 10, 0, 7, 6, 3, 9, 2, 8, 11}, {13, 11, 7, 14, 12, 1, 3, 9, 5, 0, 15, 4, 8, 6, 2, 10},
    {6, 15, 14, 9, 11, 3, 0, 8, 12, 2, 13, 7, 1, 4, 10, 5}, {10, 2, 8, 4, 7, 6, 1, 5, 15, 11, 9, 14, 3, 12, 13, 0}};

using State = std::array<std::uint64_t, 8>;

std::uint64_t littleEndian(const char* bytes)
{
    std::uint64_t word = 0;
    if constexpr (std::endian::native == std::endian::little)
        std::memcpy(&word, bytes, sizeof word);
    else
        for (std::size_t i = 0; i < sizeof word; ++i) word |= std::uint64_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    return word;
}

// A call would cost as much as the work.
[[gnu::always_inline]] inline void mix(std::uint64_t& a, std::uint64_t& b, std::uint64_t& c, std::uint64_t& d, std::uint64_t x,
                                       std::uint64_t y)
{
    a += b + x;
    d = std::rotr(d ^ a, 32);
    c += d;
    b = std::rotr(b ^ c, 24);
    a += b + y;
    d = std::rotr(d ^ a, 16);
    c += d;
    b = std::rotr(b ^ c, 63);
}

// `length`: of all octets up to the end of this block.
void compress(State& state, const char* block, std::uint64_t length, bool last)
{
    std::uint64_t m[16], v[16];
    for (std::size_t i = 0; i < 16; ++i) m[i] = littleEndian(block + 8 * i);
    for (std::size_t i = 0; i < 8; ++i) {
        v[i] = state[i];
        v[i + 8] = kStart[i];
    }
    v[12] ^= length;
    if (last) v[14] = ~v[14];
    for (std::size_t round = 0; round < 12; ++round) {
        const unsigned char* s = kOrder[round % 10];
        mix(v[0], v[4], v[8], v[12], m[s[0]], m[s[1]]);
        mix(v[1], v[5], v[9], v[13], m[s[2]], m[s[3]]);
        mix(v[2], v[6], v[10], v[14], m[s[4]], m[s[5]]);
        mix(v[3], v[7], v[11], v[15], m[s[6]], m[s[7]]);
        mix(v[0], v[5], v[10], v[15], m[s[8]], m[s[9]]);
        mix(v[1], v[6], v[11], v[12], m[s[10]], m[s[11]]);
        mix(v[2], v[7], v[8], v[13], m[s[12]], m[s[13]]);
        mix(v[3], v[4], v[9], v[14], m[s[14]], m[s[15]]);
    }
    for (std::size_t i = 0; i < 8; ++i) state[i] ^= v[i] ^ v[i + 8];
}

} // namespace

std::string blake2b(std::string_view bytes)
{
    State state = kStart;
    state[0] ^= 0x01010000U ^ kResult; // no key
    std::uint64_t length = 0;
    for (; bytes.size() > kBlock; bytes.remove_prefix(kBlock)) compress(state, bytes.data(), length += kBlock, false);
    std::array<char, kBlock> rest{};
    std::ranges::copy(bytes, rest.begin());
    compress(state, rest.data(), length + bytes.size(), true);

    std::string text;
    for (std::size_t i = 0; i < kResult; ++i) {
        const auto octet = static_cast<unsigned>(state[i / 8] >> (8 * (i % 8)) & 0xFFU);
        text += "0123456789abcdef"[octet >> 4U];
        text += "0123456789abcdef"[octet & 15U];
    }
    return text;
}

} // namespace mb::plugin
