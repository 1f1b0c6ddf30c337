// An image on its way from one translator to another. Its value holds the bytes of a bitmap (capDIBImage) or the path of a file
// (capBMPFile, capJPEGFile). A file that a translator gave belongs to its taker, who deletes it when done.
#pragma once
#include "com.h"
#include "interfaces.h"
#include <cstdint>
#include <filesystem>
#include <vector>

namespace mb {

inline constexpr ULONG imageCaps = capDIBImage | capBMPFile | capJPEGFile;
inline constexpr ULONG imageFileCaps = capBMPFile | capJPEGFile;

// Brings the value from the source's form into the target's. The result is the size in bytes of the image in its new form, 0 if there
// is nothing to report, -1 if nothing was to be done; with forceFlag the call also runs where the forms are equal, and tells the size
// of a file it wrote. A failed conversion leaves the empty text, which counts as no image.
std::int64_t ConvertImageValue(com::Variant& value, ULONG sourceCaps, ULONG targetCaps, bool forceFlag);

// Whether a value that was converted with forceFlag holds the path of a file, and not a bitmap's bytes.
bool NamesImageFile(ULONG sourceCaps, ULONG targetCaps) noexcept;

// Files of images that are done with when this object goes.
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
