// JPEG files of the kinds that other programs write and ours does not.
#pragma once
#include <filesystem>

namespace mbtest {

struct JpegKind {
    bool grey = false, progressive = false;
    bool inks = false, adobe = false; // four inks; as Adobe's programs write them, with the marker that says so
};
// The pattern of makePicture.
void writeJpeg(const std::filesystem::path& file, unsigned width, unsigned height, JpegKind kind = {});

} // namespace mbtest
