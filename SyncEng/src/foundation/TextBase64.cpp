#include "foundation/TextBase64.h"

#include "com.h"
#include <array>
#include <cstdint>

namespace mb {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::size_t lineLength = 76, longest = INT32_MAX;

constexpr auto valueOf = [] {
    std::array<std::int16_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i) values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int16_t>(i);
    return values;
}();

} // namespace

std::size_t encodedTextBase64Length(std::size_t byteCount, unsigned flags)
{
    if (byteCount > longest) throw com::Error(E_FAIL);
    const std::size_t rest = byteCount % 3;
    std::size_t length = byteCount / 3 * 4;
    if (rest != 0) length += flags & base64NoPadding ? rest + 1 : 4;
    if (!(flags & base64NoLineBreaks) && length != 0) length += (length - 1) / lineLength * 2;
    if (length > longest) throw com::Error(E_FAIL);
    return length;
}

std::string encodeTextBase64(std::string_view bytes, unsigned flags)
{
    std::string out;
    out.reserve(encodedTextBase64Length(bytes.size(), flags));
    const auto byte = [&](std::size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0u; };
    std::size_t inLine = 0;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        if (inLine == lineLength && !(flags & base64NoLineBreaks)) {
            out += "\r\n";
            inLine = 0;
        }
        const unsigned bits = byte(i) << 16 | byte(i + 1) << 8 | byte(i + 2);
        const std::size_t letters = std::min<std::size_t>(bytes.size() - i, 3) + 1;
        for (std::size_t k = 0; k < letters; ++k) out += alphabet[bits >> (18 - 6 * k) & 63];
        if (!(flags & base64NoPadding)) out.append(4 - letters, '=');
        inLine += 4;
    }
    return out;
}

std::string decodeTextBase64(std::string_view text)
{
    std::string out;
    out.reserve(text.size() / 4 * 3);
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == '\0') break;
        const int value = valueOf[static_cast<unsigned char>(c)];
        if (value < 0) continue;
        bits = bits << 6 | static_cast<unsigned>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        out += static_cast<char>(bits >> count & 0xFF);
    }
    return out;
}

} // namespace mb
