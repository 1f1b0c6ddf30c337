// The properties that a JPEG file claims, found by walking its markers, so that a file can be rejected before it is decoded.
#pragma once
#include "bitmap.h"

namespace platform {

struct JpegOutline {
    std::uint32_t width = 0, height = 0;
    unsigned components = 0; // per pixel: 1 means grey, 4 means inks (CMYK)
    unsigned scans = 0;      // passes over the picture
};

// Returns nullopt if the file is truncated, lacks its end mark, or does not have exactly one frame with at least one scan.
std::optional<JpegOutline> outlineOf(Bytes file) noexcept;

} // namespace platform
