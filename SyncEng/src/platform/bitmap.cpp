#include "bitmap.h"

#include "image.h"
#include <algorithm>
#include <bit>
#include <cstring>

namespace platform {
namespace {

constexpr std::uint32_t plain = 0, masked = 3; // kinds of compression whose pixels are not compressed

std::uint32_t number(Bytes bytes, std::size_t at, std::size_t length = 4) noexcept
{
    std::uint32_t n = 0;
    for (std::size_t i = 0; i < length; ++i) n |= std::uint32_t{bytes[at + i]} << (8 * i);
    return n;
}

void put(std::uint8_t* at, std::uint32_t n, std::size_t length = 4) noexcept
{
    for (std::size_t i = 0; i < length; ++i) at[i] = static_cast<std::uint8_t>(n >> (8 * i));
}

bool isDepth(unsigned bits) noexcept { return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32; }

void setHeight(BitmapLayout& layout, std::uint32_t claimed) noexcept
{
    layout.topDown = (claimed & 0x8000'0000u) != 0;
    layout.height = layout.topDown ? 0u - claimed : claimed;
}

// Extracts one colour from a pixel of 16 or 32 bits, scaled to 8 bits.
class Channel {
public:
    explicit Channel(std::uint32_t mask) noexcept
        : mask_(mask), shift_(mask ? std::countr_zero(mask) : 0), highest_(mask ? mask >> std::countr_zero(mask) : 1)
    {
    }
    [[nodiscard]] std::uint8_t of(std::uint32_t pixel) const noexcept
    {
        return static_cast<std::uint8_t>(std::uint64_t{(pixel & mask_) >> shift_} * 255 / highest_);
    }

private:
    std::uint32_t mask_;
    int shift_;
    std::uint32_t highest_;
};

struct Channels {
    Channel red, green, blue;
    void put(std::uint32_t pixel, std::uint8_t* bgr) const noexcept
    {
        bgr[0] = blue.of(pixel);
        bgr[1] = green.of(pixel);
        bgr[2] = red.of(pixel);
    }
};

const Channels& plain16() noexcept
{
    static const Channels channels{Channel(0x7C00), Channel(0x03E0), Channel(0x001F)};
    return channels;
}

// The contents of a BMP file's headers.
struct BmpFile {
    BitmapLayout layout;
    std::uint32_t headerSize = 0, compression = plain, colours = 0, masks[3] = {};
    std::size_t tableAt = 0, entrySize = 4, pixelsAt = 0;

    [[nodiscard]] bool keepsPixels() const noexcept
    {
        return layout.bits != 16 && (compression == plain || (masks[0] == 0xFF0000 && masks[1] == 0xFF00 && masks[2] == 0xFF));
    }
};

bool readInfo(Bytes file, BmpFile& bmp) noexcept
{
    constexpr std::size_t at = 14, maskBytes = 12;
    if (bmp.headerSize < bitmapHeaderSize || file.size() < at + bmp.headerSize) return false;
    bmp.layout.width = number(file, at + 4);
    setHeight(bmp.layout, number(file, at + 8));
    bmp.layout.bits = number(file, at + 14, 2);
    bmp.compression = number(file, at + 16);
    bmp.colours = number(file, at + 32);
    bmp.tableAt = at + bmp.headerSize;
    if (bmp.compression == plain) return true;
    if (bmp.compression != masked || (bmp.layout.bits != 16 && bmp.layout.bits != 32) || file.size() < at + bitmapHeaderSize + maskBytes)
        return false;
    for (std::size_t i = 0; i < 3; ++i) bmp.masks[i] = number(file, at + bitmapHeaderSize + 4 * i);
    if (bmp.headerSize == bitmapHeaderSize) bmp.tableAt += maskBytes;
    return true;
}

bool readHeaders(Bytes file, BmpFile& bmp) noexcept
{
    constexpr std::size_t coreHeader = 12;
    if (file.size() < 14 + coreHeader || file[0] != 'B' || file[1] != 'M') return false;
    bmp.pixelsAt = number(file, 10);
    bmp.headerSize = number(file, 14);
    if (bmp.headerSize == coreHeader) {
        bmp.layout.width = number(file, 18, 2);
        bmp.layout.height = number(file, 20, 2);
        bmp.layout.bits = number(file, 24, 2);
        bmp.tableAt = 14 + coreHeader;
        bmp.entrySize = 3;
    } else if (!readInfo(file, bmp)) {
        return false;
    }
    if (!isDepth(bmp.layout.bits) || !bmp.layout.isSane()) return false;
    const std::size_t most = bmp.layout.colours();
    if (bmp.colours == 0 || bmp.colours > most) bmp.colours = static_cast<std::uint32_t>(most);
    const std::size_t tableEnd = bmp.tableAt + bmp.colours * bmp.entrySize;
    return bmp.pixelsAt >= tableEnd && bmp.pixelsAt <= file.size() &&
           file.size() - bmp.pixelsAt >= bmp.layout.rowBytes() * bmp.layout.height;
}

} // namespace

bool BitmapLayout::isSane() const noexcept
{
    if (width == 0 || height == 0 || width > INT32_MAX || height > INT32_MAX) return false;
    return std::uint64_t{rowBytes()} <= maxBitmapBytes / height && size() <= maxBitmapBytes;
}

std::optional<BitmapLayout> layoutOf(Bytes bitmap) noexcept
{
    if (bitmap.size() < bitmapHeaderSize || number(bitmap, 0) != bitmapHeaderSize || number(bitmap, 16) != plain) return std::nullopt;
    BitmapLayout layout;
    layout.width = number(bitmap, 4);
    setHeight(layout, number(bitmap, 8));
    layout.bits = number(bitmap, 14, 2);
    if (!isDepth(layout.bits) || !layout.isSane() || bitmap.size() < layout.size()) return std::nullopt;
    return layout;
}

std::u16string makeBitmap(const BitmapLayout& layout)
{
    std::u16string bitmap(layout.size() / 2, u'\0');
    auto* header = reinterpret_cast<std::uint8_t*>(bitmap.data());
    put(header, bitmapHeaderSize);
    put(header + 4, layout.width);
    put(header + 8, layout.height);
    put(header + 12, 1, 2); // planes
    put(header + 14, layout.bits, 2);
    put(header + 20, static_cast<std::uint32_t>(layout.rowBytes() * layout.height));
    return bitmap;
}

void readRow(Bytes bitmap, const BitmapLayout& layout, std::size_t y, std::uint8_t* bgr) noexcept
{
    const std::uint8_t *row = bitmap.data() + layout.rowAt(y), *table = bitmap.data() + bitmapHeaderSize;
    for (std::size_t x = 0; x < layout.width; ++x, bgr += 3) {
        switch (layout.bits) {
        case 16: plain16().put(std::uint32_t{row[2 * x]} | std::uint32_t{row[2 * x + 1]} << 8, bgr); break;
        case 24: std::memcpy(bgr, row + 3 * x, 3); break;
        case 32: std::memcpy(bgr, row + 4 * x, 3); break;
        default: {
            const std::size_t bit = x * layout.bits;
            const unsigned index = row[bit / 8] >> (8 - layout.bits - bit % 8) & ((1u << layout.bits) - 1);
            std::memcpy(bgr, table + std::size_t{4} * index, 3);
        }
        }
    }
}

bool isGrey(Bytes bitmap, const BitmapLayout& layout) noexcept
{
    for (std::size_t i = 0; i < layout.colours(); ++i) {
        const std::uint8_t* entry = bitmap.data() + bitmapHeaderSize + 4 * i;
        if (entry[0] != entry[1] || entry[1] != entry[2]) return false;
    }
    return layout.colours() != 0;
}

std::u16string bitmapOfFile(Bytes file)
{
    BmpFile bmp;
    if (!readHeaders(file, bmp)) return {};
    BitmapLayout layout = bmp.layout;
    layout.topDown = false;
    if (!bmp.keepsPixels()) layout.bits = 24;
    if (!layout.isSane()) return {};
    std::u16string bitmap = makeBitmap(layout);
    auto* out = reinterpret_cast<std::uint8_t*>(bitmap.data());
    for (std::size_t i = 0; i < bmp.colours; ++i)
        std::memcpy(out + bitmapHeaderSize + 4 * i, file.data() + bmp.tableAt + i * bmp.entrySize, 3);

    const std::size_t stride = bmp.layout.rowBytes(), pixelBytes = bmp.layout.bits / 8;
    const Channels channels =
        bmp.compression == masked ? Channels{Channel(bmp.masks[0]), Channel(bmp.masks[1]), Channel(bmp.masks[2])} : plain16();
    for (std::size_t y = 0; y < layout.height; ++y) {
        const std::size_t from = bmp.layout.topDown ? y : layout.height - 1 - y;
        const std::uint8_t* row = file.data() + bmp.pixelsAt + from * stride;
        std::uint8_t* to = out + layout.rowAt(y);
        if (bmp.keepsPixels()) {
            std::memcpy(to, row, stride);
            continue;
        }
        for (std::size_t x = 0; x < layout.width; ++x)
            channels.put(number(file, static_cast<std::size_t>(row - file.data()) + x * pixelBytes, pixelBytes), to + 3 * x);
    }
    return bitmap;
}

std::array<std::uint8_t, 14> fileHeaderOf(const BitmapLayout& layout) noexcept
{
    std::array<std::uint8_t, 14> header{'B', 'M'};
    put(header.data() + 2, static_cast<std::uint32_t>(header.size() + layout.size()));
    put(header.data() + 10, static_cast<std::uint32_t>(header.size() + layout.pixelsAt()));
    return header;
}

} // namespace platform
