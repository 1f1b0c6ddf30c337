// The codec of names and values in a store file: Base64 of the text in the ANSI code page. It avoids characters that XML must escape; it is
// no encryption. The store calls the two functions below, which need no conversion for ASCII text; the class is the same codec with its
// buffers, and part of the documented interface.
#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace mb {

class CBase64 {
public:
    CBase64() = default;
    CBase64(std::u16string_view text, bool encode);
    virtual ~CBase64() = default;

    void Encode(std::u16string_view text);
    // The plain text ends at its first zero. Quirk kept on purpose: blanks and the bytes 7 to 13 are skipped, and other invalid input gives
    // invalid bytes, not an error; stores that other versions wrote are read so.
    void Decode(std::u16string_view text);
    [[nodiscard]] std::u16string EncodedText() const;
    [[nodiscard]] std::u16string PlainText() const;
    // Buffer sizes in bytes; 0 until the buffer is used.
    [[nodiscard]] std::size_t PlainCapacity() const noexcept { return plain_.capacity; }
    [[nodiscard]] std::size_t EncodedCapacity() const noexcept { return encoded_.capacity; }

private:
    // Grows in steps of 4096 bytes and does not keep its content when it grows.
    struct Buffer {
        std::unique_ptr<char[]> bytes;
        std::size_t capacity = 0, used = 0;
        void assign(std::string_view content, std::size_t request);
        [[nodiscard]] std::string_view view() const noexcept { return {bytes.get(), used}; }
    };
    Buffer plain_, encoded_;
};

// The same codec for the bytes of a store file.
std::string encodeBase64(std::u16string_view text);
std::u16string decodeBase64(std::string_view encoded);

} // namespace mb
