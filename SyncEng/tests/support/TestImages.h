// Pictures for the tests: a smooth pattern, as a bitmap in memory or as a file.
#pragma once
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace mbtest {

// Returns a bitmap of a pattern in which all four edges differ. With up to 8 bits its colour table holds greys, or colours if `colours`.
std::u16string makePicture(unsigned width, unsigned height, unsigned bits = 24, bool colours = false);
// Writes the same pattern as a BMP file.
void writeBmp(const std::filesystem::path& file, unsigned width, unsigned height, unsigned bits = 24);
void writeBytes(const std::filesystem::path& file, std::string_view bytes);

// The colour of a pixel; (0, 0) is the top left corner.
struct Colour {
    int red, green, blue;
};
Colour colourAt(std::u16string_view bitmap, unsigned x, unsigned y);
// Returns the greatest difference of a colour value between two pictures; 256 if their sizes differ.
int difference(std::u16string_view a, std::u16string_view b);

} // namespace mbtest
