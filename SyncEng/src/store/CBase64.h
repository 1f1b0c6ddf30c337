// The codec of names and values in a store file: Base64 of the text in the ANSI code page. It keeps the XML free of characters that
// would need escaping and out of casual sight; it is no protection.
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
    // Blanks and the bytes 7 to 13 are passed over. Bad input yields bad bytes and no error. The plain text ends at its first zero.
    void Decode(std::u16string_view text);
    [[nodiscard]] std::u16string EncodedText() const;
    [[nodiscard]] std::u16string PlainText() const;
    // In bytes; 0 as long as nothing had to be held.
    [[nodiscard]] std::size_t PlainCapacity() const noexcept { return plain_.capacity; }
    [[nodiscard]] std::size_t EncodedCapacity() const noexcept { return encoded_.capacity; }

private:
    // Grows in steps, and drops its content when it does.
    struct Buffer {
        std::unique_ptr<char[]> bytes;
        std::size_t capacity = 0, used = 0;
        void assign(std::string_view content, std::size_t request);
        [[nodiscard]] std::string_view view() const noexcept { return {bytes.get(), used}; }
    };
    Buffer plain_, encoded_;
};

// The same on the bytes of a store file.
std::string encodeBase64(std::u16string_view text);
std::u16string decodeBase64(std::string_view encoded);

} // namespace mb
