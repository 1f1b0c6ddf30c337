// JPEG with libjpeg-turbo, and the JPEG files that the other platform is tested with.
#include "JpegFiles.h"

#include "image.h"
#include "TestFolder.h"
#include "TestImages.h"
#include <gtest/gtest.h>

using mbtest::difference;
using mbtest::JpegKind;
using mbtest::makePicture;

namespace {

constexpr int loss = 20;

std::string withoutEndMark(const mbtest::TestFolder& folder, const std::filesystem::path& file)
{
    const std::string bytes = folder.read(file);
    return bytes.substr(0, bytes.size() - 2);
}

} // namespace

TEST(JpegFileTest, APictureWithoutItsEndMarkLoads)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "a.jpg";
    mbtest::writeJpeg(file);
    mbtest::writeBytes(file, withoutEndMark(folder, file));
    EXPECT_LE(difference(platform::loadImage(file), makePicture(mbtest::jpegWidth, mbtest::jpegHeight)), loss);
}

TEST(JpegFileTest, TheSampleFilesShowThePattern)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "a.jpg";
    for (const JpegKind& kind : {JpegKind{}, JpegKind{.progressive = true}, JpegKind{.inks = true}, JpegKind{.inks = true, .adobe = true},
                                 JpegKind{.grey = true}}) {
        mbtest::writeJpeg(file, kind);
        EXPECT_EQ(platform::loadImage(mbtest::keptJpeg(kind)), platform::loadImage(file)) << mbtest::keptJpeg(kind);
    }
}
