// The Base64 of the exchange XML: lines of 76 characters, and a decoder that takes what it gets. (The store's own is CBase64.)
#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace mb {

enum TextBase64Flags : unsigned {
    base64NoPadding = 1,
    base64NoLineBreaks = 2,
};

// The length of what encodeTextBase64 gives; E_FAIL is thrown if that exceeds a signed 32-bit number.
std::size_t encodedTextBase64Length(std::size_t byteCount, unsigned flags = 0);
std::string encodeTextBase64(std::string_view bytes, unsigned flags = 0);

// Ends at a zero byte; every character outside of the alphabet is passed over.
std::string decodeTextBase64(std::string_view text);

} // namespace mb
