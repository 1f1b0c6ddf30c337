// The layout of a device-independent bitmap, and its form as a BMP file. Sizes are checked before anything is touched.
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
    unsigned bits = 24; // a pixel: 1, 4, 8, 16, 24 or 32
    bool topDown = false;

    [[nodiscard]] std::size_t rowBytes() const noexcept { return (std::size_t{width} * bits + 31) / 32 * 4; }
    [[nodiscard]] std::size_t colours() const noexcept { return bits < 9 ? std::size_t{1} << bits : 0; }
    [[nodiscard]] std::size_t pixelsAt() const noexcept { return bitmapHeaderSize + 4 * colours(); }
    [[nodiscard]] std::size_t size() const noexcept { return pixelsAt() + rowBytes() * height; }
    // Where row y, counted from the top of the picture, begins.
    [[nodiscard]] std::size_t rowAt(std::size_t y) const noexcept { return pixelsAt() + rowBytes() * (topDown ? y : height - 1 - y); }
    [[nodiscard]] bool isSane() const noexcept; // has pixels, and fits into maxBitmapBytes
};

// The layout of a bitmap in memory; none if its header is not one of ours or it is shorter than that tells.
std::optional<BitmapLayout> layoutOf(Bytes bitmap) noexcept;
// A bitmap with its header, its rows from the bottom up and all else zero.
std::u16string makeBitmap(const BitmapLayout& layout);
// A row, counted from the top, as pixels of blue, green, red, one byte each.
void readRow(Bytes bitmap, const BitmapLayout& layout, std::size_t y, std::uint8_t* bgr) noexcept;
// Whether the colour table holds nothing but greys.
bool isGrey(Bytes bitmap, const BitmapLayout& layout) noexcept;

// The bitmap of a BMP file: plain ones of 1 to 32 bits a pixel, in the headers of all its ages. Packed ones are not read.
std::u16string bitmapOfFile(Bytes file);
// What stands in front of a bitmap in a BMP file.
std::array<std::uint8_t, 14> fileHeaderOf(const BitmapLayout& layout) noexcept;

} // namespace platform
