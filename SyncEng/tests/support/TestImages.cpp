#include "TestImages.h"

#include "bitmap.h"
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <vector>

namespace mbtest {
namespace {

using platform::BitmapLayout;

int ramp(unsigned at, unsigned length) { return length < 2 ? 0 : static_cast<int>(255 * at / (length - 1)); }

Colour patternAt(unsigned x, unsigned y, unsigned width, unsigned height)
{
    return {ramp(x, width), ramp(y, height), 255 - ramp(x, width)};
}

void fillTable(std::uint8_t* table, unsigned bits, bool colours)
{
    const int last = (1 << bits) - 1;
    for (int i = 0; i <= last; ++i) {
        const auto level = static_cast<std::uint8_t>(255 * i / last);
        table[4 * i] = table[4 * i + 1] = level;
        table[4 * i + 2] = colours ? static_cast<std::uint8_t>(255 - level) : level;
    }
}

} // namespace

std::u16string makePicture(unsigned width, unsigned height, unsigned bits, bool colours)
{
    BitmapLayout layout;
    layout.width = width;
    layout.height = height;
    layout.bits = bits;
    std::u16string bitmap = platform::makeBitmap(layout);
    auto* bytes = reinterpret_cast<std::uint8_t*>(bitmap.data());
    if (bits < 9) fillTable(bytes + platform::bitmapHeaderSize, bits, colours);
    for (unsigned y = 0; y < height; ++y) {
        std::uint8_t* row = bytes + layout.rowAt(y);
        for (unsigned x = 0; x < width; ++x) {
            const Colour c = patternAt(x, y, width, height);
            if (bits < 9) {
                const unsigned index = static_cast<unsigned>((c.red + c.green) / 2) >> (8 - bits);
                row[x * bits / 8] |= static_cast<std::uint8_t>(index << (8 - bits - x * bits % 8));
            } else if (bits == 16) {
                const int pixel = c.red / 8 << 10 | c.green / 8 << 5 | c.blue / 8;
                row[2 * x] = static_cast<std::uint8_t>(pixel);
                row[2 * x + 1] = static_cast<std::uint8_t>(pixel >> 8);
            } else {
                std::uint8_t* pixel = row + x * bits / 8;
                pixel[0] = static_cast<std::uint8_t>(c.blue);
                pixel[1] = static_cast<std::uint8_t>(c.green);
                pixel[2] = static_cast<std::uint8_t>(c.red);
            }
        }
    }
    return bitmap;
}

void writeBmp(const std::filesystem::path& file, unsigned width, unsigned height, unsigned bits)
{
    const std::u16string bitmap = makePicture(width, height, bits);
    const auto header = platform::fileHeaderOf(*platform::layoutOf(platform::bytesOf(bitmap)));
    writeBytes(file, std::string(header.begin(), header.end()) +
                         std::string(reinterpret_cast<const char*>(bitmap.data()), bitmap.size() * sizeof(char16_t)));
}

void writeBytes(const std::filesystem::path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

Colour colourAt(std::u16string_view bitmap, unsigned x, unsigned y)
{
    const platform::Bytes bytes = platform::bytesOf(bitmap);
    const BitmapLayout layout = platform::layoutOf(bytes).value();
    std::vector<std::uint8_t> row(3 * layout.width);
    platform::readRow(bytes, layout, y, row.data());
    return {row[3 * x + 2], row[3 * x + 1], row[3 * x]};
}

int difference(std::u16string_view a, std::u16string_view b)
{
    const platform::Bytes bytesA = platform::bytesOf(a), bytesB = platform::bytesOf(b);
    const auto layoutA = platform::layoutOf(bytesA), layoutB = platform::layoutOf(bytesB);
    if (!layoutA || !layoutB || layoutA->width != layoutB->width || layoutA->height != layoutB->height) return 256;
    std::vector<std::uint8_t> rowA(3 * layoutA->width), rowB(rowA.size());
    int most = 0;
    for (std::size_t y = 0; y < layoutA->height; ++y) {
        platform::readRow(bytesA, *layoutA, y, rowA.data());
        platform::readRow(bytesB, *layoutB, y, rowB.data());
        for (std::size_t i = 0; i < rowA.size(); ++i) most = std::max(most, std::abs(rowA[i] - rowB[i]));
    }
    return most;
}

} // namespace mbtest
