#include "foundation/ImageValue.h"

#include "files.h"
#include "foundation/Paths.h"
#include "image.h"
#include <cstdlib>

namespace mb {
namespace {

std::int64_t fileSize(const std::filesystem::path& file) noexcept
{
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    return error ? 0 : static_cast<std::int64_t>(size);
}

void removeFile(const std::filesystem::path& file) noexcept
{
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
}

// Replaces the file's path by the bitmap and deletes the file. A file that cannot be read is kept.
std::int64_t takeFile(com::Variant& value)
{
    const auto file = platform::pathOf(value.text());
    const std::u16string bitmap = platform::loadImage(file);
    value = com::Variant(bitmap);
    if (!bitmap.empty()) removeFile(file);
    return static_cast<std::int64_t>(bitmap.size() * sizeof(char16_t));
}

std::filesystem::path newFile(const std::filesystem::path& folder, bool bmp)
{
    const auto file = folder / (std::to_string(std::rand()) + (bmp ? ".BMP" : ".JPG"));
    removeFile(file); // Quirk kept on purpose: a file of that name is replaced, not avoided.
    return file;
}

} // namespace

std::int64_t ConvertImageValue(com::Variant& value, ULONG sourceCaps, ULONG targetCaps, bool forceFlag)
{
    if (!forceFlag && (value.text().empty() || ((sourceCaps ^ targetCaps) & imageCaps) == 0)) return -1;
    if (value.text().empty()) return 0;
    const ULONG both = sourceCaps & targetCaps;
    if (both & capDIBImage) return static_cast<std::int64_t>(value.text().size() * sizeof(char16_t));
    if (both & imageFileCaps) return fileSize(platform::pathOf(value.text()));

    std::int64_t size = 0;
    if (sourceCaps & imageFileCaps) size = takeFile(value);
    if (value.text().empty() || !(targetCaps & imageFileCaps)) return size;
    std::filesystem::path folder;
    if (FAILED(GetUserDataFolder(folder))) return size;
    const bool bmp = (targetCaps & capBMPFile) != 0;
    const auto file = newFile(folder, bmp);
    if (!platform::saveImage(value.text(), file, bmp ? platform::ImageFormat::Bmp : platform::ImageFormat::Jpeg)) {
        value = com::Variant(u"");
        return size;
    }
    value = com::Variant(platform::textOf(file));
    return forceFlag ? fileSize(file) : size;
}

bool NamesImageFile(ULONG sourceCaps, ULONG targetCaps) noexcept
{
    return (targetCaps & imageFileCaps) != 0 && (sourceCaps & targetCaps & capDIBImage) == 0;
}

void ImageFiles::add(const com::Variant& path)
{
    if (!path.text().empty()) files_.push_back(platform::pathOf(path.text()));
}

ImageFiles::~ImageFiles()
{
    for (const auto& file : files_) removeFile(file);
}

} // namespace mb
