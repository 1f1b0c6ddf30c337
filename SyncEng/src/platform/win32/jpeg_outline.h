// What a JPEG file claims of itself, found by walking its markers: before a decoder that believes everything sees it.
#pragma once
#include "bitmap.h"

namespace platform {

struct JpegOutline {
    std::uint32_t width = 0, height = 0;
    unsigned components = 0; // of a pixel: 1 is grey, 4 are inks
    unsigned scans = 0;      // how often the picture is gone over
};

// None if the file is cut off, its end mark is missing, or it has not one frame with a scan.
std::optional<JpegOutline> outlineOf(Bytes file) noexcept;

} // namespace platform
