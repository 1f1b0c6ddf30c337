#include "image.h"

#include "files.h"
#include "jpeg.h"
#include <fstream>

namespace platform {
namespace {

std::u16string load(const std::filesystem::path& file)
{
    char start[2] = {};
    std::ifstream(file, std::ios::binary).read(start, sizeof start);
    const std::string_view kind(start, sizeof start);
    if (kind == "\xFF\xD8") return loadJpeg(file);
    if (kind != "BM") return {};
    constexpr std::uint64_t headers = 4096;
    std::error_code error;
    const std::string bytes = readFile(file, error, maxBitmapBytes + headers);
    return error ? std::u16string() : bitmapOfFile(bytesOf(bytes));
}

bool saveBmp(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file)
{
    const auto header = fileHeaderOf(layout);
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(header.data()), static_cast<std::streamsize>(header.size()));
    out.write(reinterpret_cast<const char*>(bitmap.data()), static_cast<std::streamsize>(layout.size()));
    out.close();
    return out.good();
}

bool save(std::u16string_view bitmap, const std::filesystem::path& file, ImageFormat format)
{
    const Bytes bytes = bytesOf(bitmap);
    const auto layout = layoutOf(bytes);
    if (!layout) return false;
    return format == ImageFormat::Bmp ? saveBmp(bytes, *layout, file) : saveJpeg(bytes, *layout, file);
}

} // namespace

std::u16string loadImage(const std::filesystem::path& file) noexcept
{
    try {
        return load(file);
    } catch (const std::exception&) {
        return {};
    }
}

bool saveImage(std::u16string_view bitmap, const std::filesystem::path& file, ImageFormat format) noexcept
{
    try {
        if (save(bitmap, file, format)) return true;
    } catch (const std::exception&) {
        // Out of memory is handled like any other failure.
    }
    std::error_code ignored;
    std::filesystem::remove(file, ignored);
    return false;
}

} // namespace platform
