#include "KeyedHash.h"

#include <random>

namespace mb::plugin {
namespace {

constexpr std::uint64_t prime = (std::uint64_t{1} << 61) - 1;
__extension__ using Wide = unsigned __int128;

// Returns the product modulo the prime. Requires: both factors are below the prime.
std::uint64_t product(std::uint64_t a, std::uint64_t b) noexcept
{
    const Wide whole = Wide{a} * b;
    const std::uint64_t sum = (static_cast<std::uint64_t>(whole) & prime) + static_cast<std::uint64_t>(whole >> 61);
    return sum < prime ? sum : sum - prime;
}

// Appends a coefficient of up to 60 bits to a polynomial whose value at `point` is `value`.
void append(std::uint64_t& value, std::uint64_t point, std::uint64_t block) noexcept
{
    value = product(value, point) + block;
    if (value >= prime) value -= prime;
}

std::uint64_t randomPoint()
{
    std::random_device random;
    return std::uniform_int_distribution<std::uint64_t>(1u << 16, prime - 1)(random);
}

} // namespace

KeyedHash::KeyedHash() : first_(randomPoint()), second_(randomPoint()) {}

// The text is a polynomial whose coefficients are its blocks and its length. Two different polynomials agree at no more points than their
// degree.
KeyedHash::Value KeyedHash::operator()(std::u16string_view text) const noexcept
{
    constexpr std::size_t blockUnits = 3;
    Value value{1, 1};
    for (std::size_t at = 0; at < text.size(); at += blockUnits) {
        std::uint64_t block = 0;
        for (const char16_t unit : text.substr(at, blockUnits)) block = block << 16 | unit;
        append(value.first, first_, block);
        append(value.second, second_, block);
    }
    append(value.first, first_, text.size());
    append(value.second, second_, text.size());
    return value;
}

} // namespace mb::plugin
