// JPEG files to and from a bitmap: the part of image.h that each platform does with its own library.
#pragma once
#include "bitmap.h"
#include <filesystem>

namespace platform {

// Empty if the file is damaged, cut off, or claims more than it can hold.
std::u16string loadJpeg(const std::filesystem::path& file);
// False leaves a part of the file behind.
bool saveJpeg(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file);

} // namespace platform
