// Base64 for the exchange XML: lines of 76 characters, tolerant decoder. (The store uses CBase64.)
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace mb {

enum TextBase64Flags : unsigned {
    base64NoPadding = 1,
    base64NoLineBreaks = 2,
};

// Returns the length of encodeTextBase64's result. Throws E_FAIL if it exceeds INT32_MAX.
std::size_t encodedTextBase64Length(std::size_t byteCount, unsigned flags = 0);
std::string encodeTextBase64(std::string_view bytes, unsigned flags = 0);

// Stops at a zero byte and skips all characters outside of the alphabet.
std::string decodeTextBase64(std::string_view text);

} // namespace mb
