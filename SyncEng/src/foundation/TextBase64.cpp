#include "foundation/TextBase64.h"

#include "base64.h"
#include "com.h"
#include <cstdint>

namespace mb {
namespace {

constexpr std::size_t lineLength = 76, longest = INT32_MAX;

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
    const std::size_t length = encodedTextBase64Length(bytes.size(), flags);
    std::string letters = platform::encodeBase64(bytes);
    if (flags & base64NoPadding) letters.resize(letters.find_last_not_of('=') + 1);
    if (flags & base64NoLineBreaks) return letters;
    std::string out;
    out.reserve(length);
    for (std::size_t at = 0; at < letters.size(); at += lineLength) {
        if (at > 0) out += "\r\n";
        out.append(letters, at, lineLength);
    }
    return out;
}

std::string decodeTextBase64(std::string_view text) { return platform::decodeBase64(text.substr(0, text.find('\0'))); }

} // namespace mb
