// Images as files and in memory. In memory an image is a device-independent bitmap as it travels in a value: a header of 40 bytes, a
// full colour table where a pixel has fewer than 9 bits, and rows padded to 4 bytes. A file that is damaged, cut off or larger than
// maxBitmapBytes in memory is no image; what it claims of itself is never believed before its size has been weighed.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

inline constexpr std::uint64_t maxBitmapBytes = 192u << 20;

enum class ImageFormat { Bmp, Jpeg };

// The bitmap of a BMP or JPEG file, whatever its name ends in; empty if it has none. A bitmap's bytes are an even number.
std::u16string loadImage(const std::filesystem::path& file) noexcept;
// Writes the file in the best quality of its format. False if the bitmap is none or the file cannot be written: then there is no file.
bool saveImage(std::u16string_view bitmap, const std::filesystem::path& file, ImageFormat format) noexcept;

} // namespace platform
