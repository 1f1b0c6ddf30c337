#include "JpegFiles.h"

#include "TestImages.h"
#include <cstdint>
#include <cstdio>
#include <jpeglib.h>
#include <vector>

namespace mbtest {

void writeJpeg(const std::filesystem::path& file, JpegKind kind)
{
    constexpr unsigned width = jpegWidth, height = jpegHeight;
    const std::u16string picture = makePicture(width, height);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    std::FILE* out = std::fopen(file.c_str(), "wb");
    jpeg_stdio_dest(&info, out);
    info.image_width = width;
    info.image_height = height;
    info.input_components = kind.inks ? 4 : kind.grey ? 1 : 3;
    info.in_color_space = kind.inks ? JCS_CMYK : kind.grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 95, TRUE);
    info.write_Adobe_marker = kind.adobe ? TRUE : FALSE;
    if (kind.progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    std::vector<std::uint8_t> row(std::size_t{4} * width);
    for (unsigned y = 0; y < height; ++y) {
        std::uint8_t* to = row.data();
        for (unsigned x = 0; x < width; ++x) {
            const Colour c = colourAt(picture, x, y);
            const std::uint8_t rgb[] = {static_cast<std::uint8_t>(c.red), static_cast<std::uint8_t>(c.green),
                                        static_cast<std::uint8_t>(c.blue)};
            if (kind.grey) {
                *to++ = static_cast<std::uint8_t>((c.red + c.green) / 2);
                continue;
            }
            const std::uint8_t invert = kind.inks && !kind.adobe ? 255 : 0; // Adobe writes CMYK values inverted
            for (const std::uint8_t light : rgb) *to++ = light ^ invert;
            if (kind.inks) *to++ = 255 ^ invert; // no black ink
        }
        JSAMPROW line = row.data();
        jpeg_write_scanlines(&info, &line, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::fclose(out);
}

} // namespace mbtest
