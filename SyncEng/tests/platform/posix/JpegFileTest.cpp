// What our own library for JPEG files can tell, and the files that other platforms are tested with.
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

TEST(JpegFileTest, APictureWithoutItsEndMarkIsWhole)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "a.jpg";
    mbtest::writeJpeg(file);
    mbtest::writeBytes(file, withoutEndMark(folder, file));
    EXPECT_LE(difference(platform::loadImage(file), makePicture(mbtest::jpegWidth, mbtest::jpegHeight)), loss);
}

TEST(JpegFileTest, TheKeptFilesShowThePatternInTheirKind)
{
    const mbtest::TestFolder folder;
    const auto file = folder.path() / "a.jpg";
    for (const JpegKind& kind : {JpegKind{}, JpegKind{.progressive = true}, JpegKind{.inks = true}, JpegKind{.inks = true, .adobe = true},
                                 JpegKind{.grey = true}}) {
        mbtest::writeJpeg(file, kind);
        EXPECT_EQ(platform::loadImage(mbtest::keptJpeg(kind)), platform::loadImage(file)) << mbtest::keptJpeg(kind);
    }
}
