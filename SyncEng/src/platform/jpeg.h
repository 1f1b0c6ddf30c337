// Converts JPEG files from and to a bitmap; each platform uses its own library for it.
#pragma once
#include "bitmap.h"
#include <filesystem>

namespace platform {

// Returns an empty bitmap if the file is damaged, truncated, or claims more pixels than it can hold.
std::u16string loadJpeg(const std::filesystem::path& file);
// Returns false on failure; a partly written file may remain.
bool saveJpeg(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file);

} // namespace platform
