// Pictures that the tests make: a smooth pattern, as a bitmap in memory or as a file.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace mbtest {

// A bitmap of a pattern that has every edge of the picture differ; below 9 bits in greys, or with colours in its table.
std::u16string makePicture(unsigned width, unsigned height, unsigned bits = 24, bool colours = false);
// The same as a BMP file.
void writeBmp(const std::filesystem::path& file, unsigned width, unsigned height, unsigned bits = 24);
void writeBytes(const std::filesystem::path& file, std::string_view bytes);

// The colour of a pixel, counted from the top left corner.
struct Colour {
    int red, green, blue;
};
Colour colourAt(std::u16string_view bitmap, unsigned x, unsigned y);
// The greatest difference of any colour of two pictures; 256 if their measures differ.
int difference(std::u16string_view a, std::u16string_view b);

} // namespace mbtest
