// JPEG files of the kinds that other programs write and ours does not. Where a library can write them they are made, elsewhere they are
// copies of files that were.
#pragma once
#include <filesystem>

namespace mbtest {

struct JpegKind {
    bool grey = false, progressive = false;
    bool inks = false, adobe = false; // four inks; as Adobe's programs write them, with the marker that says so
};

inline constexpr unsigned jpegWidth = 80, jpegHeight = 60;

// The pattern of makePicture.
void writeJpeg(const std::filesystem::path& file, JpegKind kind = {});

// The file of that kind among the test's data.
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
