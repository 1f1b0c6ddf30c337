#include "SamplePicture.h"

#include "bitmap.h"
#include "image.h"
#include "OpenStore.h"
#include <cmath>
#include <filesystem>
#include <functional>

namespace mbsamples {

void drawPicture(const std::string& file, const std::string& word)
{
    constexpr std::uint32_t side = 160;
    platform::BitmapLayout layout;
    layout.width = layout.height = side;
    std::u16string bitmap = platform::makeBitmap(layout);
    auto* bytes = reinterpret_cast<std::uint8_t*>(bitmap.data());
    const std::size_t seed = std::hash<std::string>{}(word);
    for (std::size_t y = 0; y < side; ++y)
        for (std::size_t x = 0; x < side; ++x) {
            const double distance = std::hypot(static_cast<double>(x) - side / 2.0, static_cast<double>(y) - side / 2.0);
            std::uint8_t* pixel = bytes + layout.rowAt(y) + 3 * x;
            for (int c = 0; c < 3; ++c) {
                const double width = 5 + static_cast<double>(seed >> (8 * c) & 15);
                pixel[c] = static_cast<std::uint8_t>(128 + 120 * std::sin(distance / width));
            }
        }
    if (!platform::saveImage(bitmap, std::filesystem::path(file), platform::ImageFormat::Jpeg))
        throw Problem("The picture \"" + file + "\" cannot be written.");
}

} // namespace mbsamples
