// The layout of a device-independent bitmap, and its conversion from and to a BMP file. Every size is checked before memory is read or
// allocated.
#pragma once
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform {

using Bytes = std::span<const std::uint8_t>;

inline Bytes bytesOf(std::string_view text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }
inline Bytes bytesOf(std::u16string_view text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size() * 2}; }

inline constexpr std::size_t bitmapHeaderSize = 40;

struct BitmapLayout {
    std::uint32_t width = 0, height = 0;
    unsigned bits = 24; // per pixel: 1, 4, 8, 16, 24 or 32
    bool topDown = false;

    [[nodiscard]] std::size_t rowBytes() const noexcept { return (std::size_t{width} * bits + 31) / 32 * 4; }
    [[nodiscard]] std::size_t colours() const noexcept { return bits < 9 ? std::size_t{1} << bits : 0; }
    [[nodiscard]] std::size_t pixelsAt() const noexcept { return bitmapHeaderSize + 4 * colours(); }
    [[nodiscard]] std::size_t size() const noexcept { return pixelsAt() + rowBytes() * height; }
    // The offset at which row y begins; y is counted from the top of the picture.
    [[nodiscard]] std::size_t rowAt(std::size_t y) const noexcept { return pixelsAt() + rowBytes() * (topDown ? y : height - 1 - y); }
    [[nodiscard]] bool isSane() const noexcept; // the bitmap has pixels and takes at most maxBitmapBytes
};

// Returns the layout of a bitmap in memory; nullopt if its header is not supported or the bitmap is shorter than the header says.
std::optional<BitmapLayout> layoutOf(Bytes bitmap) noexcept;
// Returns a bitmap with its header; rows run from the bottom up, all pixels and colours are zero. Requires: layout.isSane().
std::u16string makeBitmap(const BitmapLayout& layout);
// Converts a row, counted from the top, to 3 bytes a pixel: blue, green, red.
void readRow(Bytes bitmap, const BitmapLayout& layout, std::size_t y, std::uint8_t* bgr) noexcept;
bool isGrey(Bytes bitmap, const BitmapLayout& layout) noexcept;

// Returns the bitmap of a BMP file: uncompressed, 1 to 32 bits a pixel, any version of the header. Empty for any other file.
std::u16string bitmapOfFile(Bytes file);
// Returns the file header that precedes the bitmap in a BMP file.
std::array<std::uint8_t, 14> fileHeaderOf(const BitmapLayout& layout) noexcept;

} // namespace platform
