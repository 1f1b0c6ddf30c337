// JPEG files of kinds that other programs write but ours does not. On Linux a library writes them; on Windows they are copied from files
// in the source tree.
#pragma once
#include <filesystem>

namespace mbtest {

struct JpegKind {
    bool grey = false, progressive = false;
    bool inks = false, adobe = false; // CMYK; with Adobe's marker and inverted values
};

inline constexpr unsigned jpegWidth = 80, jpegHeight = 60;

// Writes the pattern of makePicture.
void writeJpeg(const std::filesystem::path& file, JpegKind kind = {});

// Returns the file of that kind in the source tree.
inline std::filesystem::path keptJpeg(JpegKind kind)
{
    const char* const name = kind.grey          ? "grey.jpg"
                             : kind.progressive ? "progressive.jpg"
                             : kind.adobe       ? "inks-adobe.jpg"
                             : kind.inks        ? "inks.jpg"
                                                : "plain.jpg";
    return std::filesystem::path(TEST_IMAGES) / name;
}

} // namespace mbtest
