// Converts images between the forms of two translators. A value holds a bitmap's bytes (capDIBImage) or a file's path (capBMPFile,
// capJPEGFile). The receiver of a file owns it and deletes it after use.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <cstdint>
#include <filesystem>
#include <vector>

namespace mb {

inline constexpr ULONG imageCaps = capDIBImage | capBMPFile | capJPEGFile;
inline constexpr ULONG imageFileCaps = capBMPFile | capJPEGFile;

// Converts the value from the source's form into the target's. Returns the size of the new image in bytes, 0 if it is unknown or there is
// no image, or -1 if there is nothing to do. forceFlag runs the call for equal forms too, and makes it return the size of a file that it
// wrote. A failed conversion sets the empty text, which means no image.
std::int64_t ConvertImageValue(com::Variant& value, ULONG sourceCaps, ULONG targetCaps, bool forceFlag);

// Returns whether a value converted with forceFlag holds the path of a file rather than a bitmap.
bool NamesImageFile(ULONG sourceCaps, ULONG targetCaps) noexcept;

// Deletes its image files on destruction.
class ImageFiles {
public:
    ImageFiles() noexcept = default;
    ImageFiles(const ImageFiles&) = delete;
    ImageFiles& operator=(const ImageFiles&) = delete;
    ~ImageFiles();
    void add(const com::Variant& path);

private:
    std::vector<std::filesystem::path> files_;
};

} // namespace mb
