// The codec of names and values in a store file: Base64 of the text in the ANSI code page. It keeps the XML free of characters that
// would need escaping and out of casual sight; it is no protection.
#pragma once
#include <string>
#include <string_view>

namespace mb {

class CBase64 {
public:
    CBase64() = default;
    CBase64(std::u16string_view text, bool encode);
    virtual ~CBase64() = default;

    void Encode(std::u16string_view text);
    // Blanks and the bytes 7 to 13 are passed over. Bad input yields bad bytes and no error. The plain text ends at its first zero.
    void Decode(std::u16string_view text);
    [[nodiscard]] std::u16string EncodedText() const;
    [[nodiscard]] std::u16string PlainText() const;

private:
    std::string plain_, encoded_;
};

// The same on the bytes of a store file.
std::string encodeBase64(std::u16string_view text);
std::u16string decodeBase64(std::string_view encoded);

} // namespace mb
