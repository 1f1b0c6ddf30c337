// Images in files and in memory. In memory an image is a device-independent bitmap: a header of 40 bytes, a full colour table if a pixel
// has fewer than 9 bits, and rows padded to 4 bytes. A file that is damaged, truncated or needs more than maxBitmapBytes in memory is not
// loaded. No size that a file claims is trusted before it is checked.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

inline constexpr std::uint64_t maxBitmapBytes = 192u << 20;

enum class ImageFormat { Bmp, Jpeg };

// Returns the bitmap of a BMP or JPEG file, recognised by its content; empty on failure. The bitmap's size is an even number of bytes.
std::u16string loadImage(const std::filesystem::path& file) noexcept;
// Writes the file in the best quality of its format. Returns false, and leaves no file, if the bitmap is invalid or the file cannot be
// written.
bool saveImage(std::u16string_view bitmap, const std::filesystem::path& file, ImageFormat format) noexcept;

} // namespace platform
