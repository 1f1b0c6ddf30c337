// JPEG files that other programs write and our own writer does not.
#include "image.h"

#include "JpegFiles.h"
#include "MemoryPeak.h"
#include "TestFolder.h"
#include "TestImages.h"
#include <gtest/gtest.h>
#include <random>

using mbtest::difference;
using mbtest::JpegKind;
using mbtest::makePicture;
using mbtest::memoryPeak;
using platform::loadImage;

namespace {

constexpr int loss = 20;

class JpegTest : public testing::Test {
protected:
    std::u16string load(const JpegKind& kind)
    {
        mbtest::writeJpeg(file, kind);
        return loadImage(file);
    }
    // Sets the size that the file's frame header claims.
    void claim(std::uint16_t width, std::uint16_t height)
    {
        std::string bytes = folder.read(file);
        const std::size_t frame = std::min(bytes.find("\xFF\xC0"), bytes.find("\xFF\xC2"));
        ASSERT_NE(frame, bytes.npos);
        bytes[frame + 5] = static_cast<char>(height >> 8);
        bytes[frame + 6] = static_cast<char>(height);
        bytes[frame + 7] = static_cast<char>(width >> 8);
        bytes[frame + 8] = static_cast<char>(width);
        mbtest::writeBytes(file, bytes);
    }
    mbtest::TestFolder folder;
    std::filesystem::path file = folder.path() / "a.jpg";
};

} // namespace

TEST_F(JpegTest, AProgressivePictureIsRead) { EXPECT_LE(difference(load({.progressive = true}), makePicture(80, 60)), loss); }

TEST_F(JpegTest, AGreyPictureBecomesABitmapOfGreys)
{
    const std::u16string bitmap = load({.grey = true});
    EXPECT_EQ(bitmap.size() * 2, 40u + 1024u + 80u * 60u);
    EXPECT_LE(difference(bitmap, makePicture(80, 60, 8)), loss);
}

TEST_F(JpegTest, CmykIsConvertedToRgb)
{
    EXPECT_LE(difference(load({.inks = true}), makePicture(80, 60)), loss);
    EXPECT_LE(difference(load({.inks = true, .adobe = true}), makePicture(80, 60)), loss);
}

TEST_F(JpegTest, AHugeSizeClaimedByATinyFileAllocatesNoMemory)
{
    for (const bool progressive : {false, true}) {
        mbtest::writeJpeg(file, {.progressive = progressive});
        for (const std::uint16_t side : {std::uint16_t{5000}, std::uint16_t{8000}, std::uint16_t{30000}}) {
            ASSERT_NO_FATAL_FAILURE(claim(side, side));
            const long before = memoryPeak();
            EXPECT_TRUE(loadImage(file).empty());
            EXPECT_LT(memoryPeak() - before, 16 * 1024) << "kilobytes";
        }
    }
}

TEST_F(JpegTest, ATruncatedProgressivePictureDoesNotLoad)
{
    mbtest::writeJpeg(file, {.progressive = true});
    const std::string bytes = folder.read(file);
    for (std::size_t length = 2; length < bytes.size() - 2; length += 17) {
        mbtest::writeBytes(file, std::string_view(bytes).substr(0, length));
        EXPECT_TRUE(loadImage(file).empty()) << length;
    }
}

// A damaged file loads as a picture of the size in its header, or not at all.
TEST_F(JpegTest, ADamagedFileLoadsInItsSizeOrNotAtAll)
{
    std::mt19937 random(7);
    for (const JpegKind& kind :
         {JpegKind{}, JpegKind{.progressive = true}, JpegKind{.inks = true, .adobe = true}, JpegKind{.grey = true}}) {
        mbtest::writeJpeg(file, kind);
        const std::string whole = folder.read(file);
        for (int round = 0; round < 100; ++round) {
            std::string bytes = whole;
            for (int n = 0; n < 3; ++n) bytes[2 + random() % (bytes.size() - 2)] = static_cast<char>(random());
            mbtest::writeBytes(file, bytes);
            const std::u16string bitmap = loadImage(file);
            if (bitmap.empty()) continue;
            EXPECT_EQ(difference(bitmap, bitmap), 0);
            EXPECT_LE(bitmap.size() * 2, platform::maxBitmapBytes);
        }
    }
}

TEST_F(JpegTest, AFileWithTooManyScansDoesNotLoad)
{
    mbtest::writeJpeg(file, {.progressive = true});
    const std::string bytes = folder.read(file);
    const std::size_t scan = bytes.rfind("\xFF\xDA");
    ASSERT_NE(scan, bytes.npos);
    std::string many = bytes.substr(0, bytes.size() - 2);
    for (int i = 0; i < 1000; ++i) many += bytes.substr(scan, bytes.size() - 2 - scan);
    mbtest::writeBytes(file, many + "\xFF\xD9");
    EXPECT_TRUE(loadImage(file).empty());
}
