#include "image.h"

#include "JpegLoss.h"
#include "TestFolder.h"
#include "TestImages.h"
#include <gtest/gtest.h>

using mbtest::colourAt;
using mbtest::difference;
using mbtest::lossOfJpeg;
using mbtest::makePicture;
using platform::ImageFormat;
using platform::loadImage;
using platform::saveImage;

namespace {

class ImageTest : public testing::Test {
protected:
    std::filesystem::path path(const char* name) const { return folder.path() / name; }
    mbtest::TestFolder folder;
};

class DepthTest : public ImageTest, public testing::WithParamInterface<unsigned> {};

std::string header(std::uint32_t size, std::int32_t width, std::int32_t height, std::uint16_t bits, std::uint32_t compression = 0,
                   std::uint32_t colours = 0)
{
    std::string out;
    const auto put = [&](std::uint32_t n, int bytes) {
        for (int i = 0; i < bytes; ++i) out += static_cast<char>(n >> (8 * i));
    };
    put(size, 4);
    put(static_cast<std::uint32_t>(width), 4);
    put(static_cast<std::uint32_t>(height), 4);
    put(1, 2);
    put(bits, 2);
    put(compression, 4);
    out.append(12, '\0');
    put(colours, 4);
    put(0, 4);
    return out;
}

std::string bmpFile(const std::string& info, const std::string& pixels)
{
    const std::size_t at = 14 + info.size();
    std::string out = "BM" + std::string(8, '\0');
    for (int i = 0; i < 4; ++i) out += static_cast<char>(at >> (8 * i));
    return out + info + pixels;
}

} // namespace

TEST_P(DepthTest, ABitmapSurvivesABmpFile)
{
    const std::u16string picture = makePicture(37, 19, GetParam(), true);
    ASSERT_TRUE(saveImage(picture, path("a.bmp"), ImageFormat::Bmp));
    const std::u16string loaded = loadImage(path("a.bmp"));
    EXPECT_EQ(difference(loaded, picture), 0);
    if (GetParam() == 16) return; // loaded with 24 bits
    EXPECT_EQ(loaded, picture);
}

TEST_P(DepthTest, ABitmapSurvivesAJpegFileUpToItsCompressionLoss)
{
    const std::u16string picture = makePicture(64, 48, GetParam());
    ASSERT_TRUE(saveImage(picture, path("a.jpg"), ImageFormat::Jpeg));
    EXPECT_LE(difference(loadImage(path("a.jpg")), picture), lossOfJpeg);
}

INSTANTIATE_TEST_SUITE_P(Bits, DepthTest, testing::Values(1u, 4u, 8u, 16u, 24u, 32u));

TEST_F(ImageTest, ColourTableEntriesAreWrittenToAJpeg)
{
    const std::u16string picture = makePicture(64, 64, 8, true);
    ASSERT_TRUE(saveImage(picture, path("a.jpg"), ImageFormat::Jpeg));
    EXPECT_LE(difference(loadImage(path("a.jpg")), picture), lossOfJpeg);
}

TEST_F(ImageTest, ATopDownBmpFileIsFlipped)
{
    const std::string top(8, '\x10'), bottom(8, '\x20'); // rows of two pixels
    mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, 2, -2, 24), top + bottom));
    const std::u16string bitmap = loadImage(path("a.bmp"));
    ASSERT_FALSE(bitmap.empty());
    EXPECT_EQ(colourAt(bitmap, 0, 0).red, 0x10);
    EXPECT_EQ(colourAt(bitmap, 0, 1).red, 0x20);
}

TEST_F(ImageTest, AShortColourTableOfAFileIsFilledUp)
{
    const std::string table("\x01\x02\x03\x00\x11\x12\x13\x00", 8);
    mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, 2, 1, 8, 0, 2) + table, std::string("\x00\x01\x00\x00", 4)));
    const std::u16string bitmap = loadImage(path("a.bmp"));
    ASSERT_EQ(bitmap.size() * 2, 40u + 1024u + 4u);
    EXPECT_EQ(colourAt(bitmap, 0, 0).red, 3);
    EXPECT_EQ(colourAt(bitmap, 1, 0).blue, 0x11);
}

TEST_F(ImageTest, AFileWithTheOldestHeaderIsRead)
{
    const std::string info("\x0C\x00\x00\x00\x02\x00\x01\x00\x01\x00\x01\x00\x01\x02\x03\x04\x05\x06", 18);
    mbtest::writeBytes(path("a.bmp"), bmpFile(info, std::string("\x40\x00\x00\x00", 4)));
    const std::u16string bitmap = loadImage(path("a.bmp"));
    ASSERT_FALSE(bitmap.empty());
    EXPECT_EQ(colourAt(bitmap, 0, 0).red, 3);
    EXPECT_EQ(colourAt(bitmap, 1, 0).red, 6);
}

TEST_F(ImageTest, MaskedPixelsAreScaledToColours)
{
    const std::string masks("\x00\xF8\x00\x00\xE0\x07\x00\x00\x1F\x00\x00\x00", 12);
    mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, 1, 1, 16, 3) + masks, std::string("\x00\xF8\x00\x00", 4)));
    const std::u16string bitmap = loadImage(path("a.bmp"));
    ASSERT_FALSE(bitmap.empty());
    EXPECT_EQ(colourAt(bitmap, 0, 0).red, 255);
    EXPECT_EQ(colourAt(bitmap, 0, 0).green, 0);
}

TEST_F(ImageTest, ATruncatedFileDoesNotLoadAndDoesNoHarm)
{
    mbtest::writeBmp(path("whole.bmp"), 9, 7, 8);
    ASSERT_TRUE(saveImage(makePicture(40, 40), path("whole.jpg"), ImageFormat::Jpeg));
    for (const char* name : {"whole.bmp", "whole.jpg"}) {
        const std::string bytes = folder.read(path(name));
        const std::size_t end = bytes.size() - (bytes[0] == 'B' ? 0 : 2); // a JPEG may lack its end mark
        for (std::size_t length = 0; length < end; length += 7) {
            mbtest::writeBytes(path("part"), std::string_view(bytes).substr(0, length));
            EXPECT_TRUE(loadImage(path("part")).empty()) << name << " cut at " << length;
        }
    }
}

TEST_F(ImageTest, ABmpFileThatClaimsMoreThanItHoldsDoesNotLoad)
{
    for (const auto& [width, height] :
         {std::pair{30000, 30000}, {1, 2}, {INT32_MAX, INT32_MAX}, {INT32_MAX, -1}, {-1, 1}, {1, INT32_MIN}}) {
        mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, width, height, 24), std::string(4, '\0')));
        EXPECT_TRUE(loadImage(path("a.bmp")).empty()) << width << " by " << height;
    }
}

TEST_F(ImageTest, AnInvalidHeaderDoesNotLoad)
{
    for (const int bits : {0, 2, 7, 48}) {
        mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, 1, 1, static_cast<std::uint16_t>(bits)), std::string(2048, '\0')));
        EXPECT_TRUE(loadImage(path("a.bmp")).empty()) << bits;
    }
    mbtest::writeBytes(path("a.bmp"), bmpFile(header(40, 1, 1, 8, 1), std::string(2048, '\0')));
    EXPECT_TRUE(loadImage(path("a.bmp")).empty()) << "compressed";
    mbtest::writeBytes(path("a.bmp"), bmpFile(header(0xFFFFFFF0, 1, 1, 8), std::string(2048, '\0')));
    EXPECT_TRUE(loadImage(path("a.bmp")).empty()) << "a header size beyond the file";
    mbtest::writeBytes(path("a.txt"), "no picture at all");
    EXPECT_TRUE(loadImage(path("a.txt")).empty());
    EXPECT_TRUE(loadImage(path("missing")).empty());
    EXPECT_TRUE(loadImage(folder.path()).empty());
}

TEST_F(ImageTest, AnInvalidBitmapMakesNoFile)
{
    const std::u16string picture = makePicture(8, 8);
    for (const std::u16string& bad : {std::u16string(), std::u16string(u"short"), picture.substr(0, picture.size() - 1)})
        for (const ImageFormat format : {ImageFormat::Bmp, ImageFormat::Jpeg}) {
            EXPECT_FALSE(saveImage(bad, path("a"), format));
            EXPECT_FALSE(std::filesystem::exists(path("a")));
        }
    EXPECT_FALSE(saveImage(picture, path("no folder") / "a", ImageFormat::Bmp));
    EXPECT_FALSE(saveImage(picture, path("no folder") / "a", ImageFormat::Jpeg));
}
